// Clip files, their accounting, and the WAV image.
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <thread>

#include "support/tiny_voice.h"

class Clip : public TinyVoice {};

TEST_F(Clip, IsReadWhole) {
    // A page, and what is read with one call, are boundaries.
    for (const int size : {1, 999, 4096, 4097, 32767, 32768, 32769, 40000}) {
        std::string bytes(static_cast<size_t>(size), '\0');
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i / 7);
        file("whole", bytes);
        log_lines.clear();
        const rawData_t clip = read_raw_data((root + "whole").c_str());
        ASSERT_EQ(clip.length, size);
        EXPECT_TRUE(memcmp(clip.addr, bytes.data(), bytes.size()) == 0) << size;
        EXPECT_EQ(malloc_count, free_count + 1);
        free_rawData(clip);
        EXPECT_EQ(malloc_count, free_count);
        EXPECT_EQ(whole_log(), "I/read_raw_data 89 \nI/free_rawData 118 \n");
    }

    file("empty", "");
    rawData_t clip = read_raw_data((root + "empty").c_str());
    EXPECT_NE(clip.addr, nullptr);
    EXPECT_EQ(clip.length, 0);
    free_rawData(clip);  // goes by the length: the buffer stays
    EXPECT_EQ(malloc_count, free_count + 1);
    std::free(clip.addr);

    ASSERT_EQ(mkfifo((root + "fifo").c_str(), 0600), 0);
    // The last one as for a greeting without a name: the directory itself is not read.
    const std::pair<const char *, int> rows[] = {
        {"missing", ENOENT}, {"engRaw", EISDIR}, {"fifo", EINVAL}, {"greetingRaw/", EISDIR}};
    for (const auto &[name, error] : rows) {
        log_lines.clear();
        alarm(20);  // a fifo without writer must not be waited for
        clip = read_raw_data((root + name).c_str());
        alarm(0);
        EXPECT_TRUE(clip.addr == nullptr && clip.length == 0) << name;
        EXPECT_EQ(log_with("E/"), "E/ERROR! open " + root + name +
                                      " fail! error = " + std::to_string(error) + "\n");
    }
    EXPECT_EQ(malloc_count, free_count + 1);
}

TEST_F(Clip, ReleaseGoesByTypeAndAddress) {
    std::vector<split_rawData> list(4);
    const int types[] = {0, 2, -1, 1};
    for (size_t i = 0; i < list.size(); ++i) {
        list[i].type = types[i];
        list[i].rawData = {static_cast<int16_t *>(my_malloc(2)), i == 3 ? 0 : 2};
    }
    free_rawDatas(list);
    EXPECT_EQ(malloc_count, 4);
    EXPECT_EQ(free_count, 3);
    EXPECT_EQ(list[0].rawData.length, 2);  // a copy was cleared, not the caller's list
    EXPECT_EQ(whole_log(), "I/free_rawDatas 128 \n");
    free_rawData(rawData_t{});
    EXPECT_EQ(free_count, 3);
    my_free(list[1].rawData.addr);
    my_free(nullptr);
    EXPECT_EQ(free_count, 5);
}

TEST_F(Clip, ImageFitsOrIsNotWritten) {
    constexpr int kTooLong = INT_MAX - 43;
    // Lengths of clips, the capacity and the size of the image.
    static const std::tuple<const char *, std::vector<int>, int, int, const char *> rows[] = {
        {"size of the image wraps", {kTooLong}, INT_MAX, 0, ""},
        {"sum of the lengths wraps", {kTooLong, kTooLong, kTooLong}, INT_MAX, 0, ""},
        {"off by one in the fit test", {4}, 48, 48, "aaaa"},
        {"writes past a buffer one byte short", {4}, 47, 0, ""},
        {"smallest capacity wraps", {4}, INT_MIN, 0, ""},
        {"odd length padded, or a clip left out", {4, 6, 3}, 96, 57, "aaaabbbbbbccc"},
        {"negative length left out of the sum", {8, -2}, 60, 50, "aaaaaaaa"},
        {"negative length hides that the image does not fit", {8, -8}, 44, 0, ""},
    };
    for (const auto &[fault, lengths, capacity, size, sound] : rows) {
        SCOPED_TRACE(fault);
        std::string sounds[] = {"aaaaaaaa", "bbbbbbbb", "cccccccc"};
        std::vector<split_rawData> list(lengths.size());
        for (size_t i = 0; i < list.size(); ++i) {
            list[i].type = static_cast<int>(i) - 1;
            list[i].rawData = {reinterpret_cast<int16_t *>(sounds[i].data()), lengths[i]};
        }
        log_lines.clear();
        std::string buffer(128, '#');
        EXPECT_EQ(rawData2WavDram(list, buffer.data(), capacity), size);
        std::string expected = size == 0 ? "" : buffer.substr(0, 44) + sound;
        expected.resize(buffer.size(), '#');
        EXPECT_EQ(buffer, expected);
        EXPECT_EQ(log_with("warnning"),
                  size == 0 ? "I/!!!!warnning wav size will outof space\n" : "");
    }
}

TEST_F(Clip, ImageHasItsHeader) {
    std::vector<split_rawData> list(2);
    int16_t sound[3] = {1, 2, 3};
    list[0].rawData = {sound, 4};
    list[1].rawData = {sound + 2, 2};
    using namespace std::string_literals;
    const std::string expected =
        "RIFF\x2a\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x80\x3e\0\0\0\x7d\0\0\2\0\x10\0data\6\0\0\0"s
        "\1\0\2\0\3\0"s;
    std::string written(50, '#');
    EXPECT_EQ(rawData2WavDram(list, written.data(), 50), 50);
    EXPECT_EQ(written, expected);
    EXPECT_EQ(whole_log(),
              "I/rawData2WavDram 61 \nI/rawData2WavDram 100 \nI/rawData2WavDram 110 \n");

    file("out.wav", std::string(100, '#'));
    rawData2Wavfile(list, root + "out.wav");
    std::ifstream in(root + "out.wav", std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), expected);
    EXPECT_EQ(printed([&] { rawData2Wavfile(list, root + "no/x"); }),
              "open " + root + "no/xfail\n");
    rawData2Wavfile(list, "/dev/full");
    EXPECT_EQ(log_with("E/"), "E/ERROR! write /dev/full fail! error = 28\n");
}

// Each thread of a host may have its own engine: the counters are all that they share.
TEST(Counters, LoseNothingBetweenTwoThreads) {
    constexpr int kBuffers = 500000;
    const int allocated = malloc_count, freed = free_count;
    std::atomic<int> missing{2};
    const auto use_buffers = [&missing] {
        for (missing--; missing > 0;) std::this_thread::yield();
        for (int i = 0; i < kBuffers; i++) my_free(my_malloc(1));
    };
    std::thread other(use_buffers);
    use_buffers();
    other.join();
    EXPECT_EQ(malloc_count - allocated, 2 * kBuffers);
    EXPECT_EQ(free_count - freed, 2 * kBuffers);
}
