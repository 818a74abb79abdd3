// The library as it ships: its symbols, C hosts, and the fixed tree under a private mount.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "tiny_voice.h"

namespace {

// Paths come from the build: TTS_HOST header_is_c, TTS_LIBRARY, TTS_README, TTS_COMPILE the C
// compiler with what it needs to build and link a host, TTS_NM.
std::string read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// Commands run in a directory of their own, beside the tree.
class Library : public TinyVoice {
  protected:
    Library() { std::filesystem::create_directory(root + "work"); }
    int run(const std::string &command) {
        const int status =
            std::system(("cd " + root + "work && { " + command + " ; } >out 2>err").c_str());
        output = read_file(root + "work/out");
        std::ifstream err(root + "work/err");
        log_lines.clear();
        for (std::string line; std::getline(err, line);) log_lines.push_back(line);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    // Builds the host that the README prints, as ./host.
    void build_readme_host() {
        ASSERT_EQ(run("sed -n '/^```c$/,/^```$/{/^```/!p;/^```$/q}' " TTS_README), 0);
        ASSERT_NE(output.find("int main("), std::string::npos) << "no host in " TTS_README;
        file("work/host.c", output);
        ASSERT_EQ(run(TTS_COMPILE), 0) << read_file(root + "work/err");
    }
};

// Commands that see the tree at its fixed place.
class FixedTree : public Library {
  protected:
    void SetUp() override {
        if (run_there("true") != 0) GTEST_SKIP() << "no private mount: " << log_lines.at(0);
        file("pinyin_dict.txt", "你=ni3\n好=hao3\n");
        phones("ni2_1 ni3 hao3");
    }
    int run_there(const std::string &command) {
        return run("exec bwrap --dev-bind / / --tmpfs /usr/share --ro-bind " + root +
                   " /usr/share/tts --chdir " + root + "work " + command);
    }
};

}  // namespace

TEST_F(Library, ExportsItsFunctionsAndLeavesTheLogToTheProgram) {
    const std::string functions =
        "my_malloc my_free read_raw_data free_rawData free_rawDatas create_group tts_init_root "
        "split_ch_eng count_eng_word getNumStrArray stringSplit num_str digit2hanzi an_2_cn num2cn "
        "load_pinyin_dict load_all_phone hanzi2pinyin find_loc soft_tone pinyin2raw redupli_words "
        "de_encrypt load_temp_dict check_temp_exist transfer_temp_word temp_function double_poly "
        "single_surname load_eng_dict engWord2raw delete_digit rawData2WavDram rawData2Wavfile";
    ASSERT_EQ(run(TTS_NM " -D " TTS_LIBRARY " && " TTS_NM " -DC --defined-only " TTS_LIBRARY), 0);
    strings symbols = {"U __android_log_print\n", "T tts_init\n",   "T tts_getWavData\n",
                       "B malloc_count\n",        "B free_count\n", "B total_mem\n"};
    for (const auto &name : words_of(functions)) symbols.push_back("T " + name + "(");
    for (const auto &symbol : symbols) {
        EXPECT_NE(output.find(" " + symbol), std::string::npos) << symbol;
    }
}

TEST_F(Library, ReadmeHostCompiles) {
    build_readme_host();
}

TEST_F(FixedTree, Speaks) {
    greetings(1);
    ASSERT_EQ(run_there(TTS_HOST " 你好"), 0);
    const size_t wav = output.find("RIFF");
    ASSERT_NE(wav, std::string::npos);
    EXPECT_EQ(heard(output.substr(wav)), "ch0 pau_beg ni2_1 hao3");
    EXPECT_EQ(log_lines.back(), "4/TTS_ENGINE/tts finished ");
}

TEST_F(FixedTree, ReadmeHostSpeaks) {
    build_readme_host();
    ASSERT_EQ(run_there("env ASAN_OPTIONS=detect_leaks=0 ./host 你好"), 0)
        << read_file(root + "work/err");
    EXPECT_EQ(heard(read_file(root + "work/hello.wav")), "pau_beg ni2_1 hao3");
}

TEST_F(FixedTree, MissingFilesEndTheProcess) {
    for (const char *name : {"eng_dict", "pinyin_dict", "surname_pinyin_single",
                             "surname_pinyin_dural", "yinsu", "dst_temperature"}) {
        const std::string path = root + name + ".txt";
        std::filesystem::rename(path, root + "away");
        EXPECT_EQ(run_there(TTS_HOST), 255) << name;
        EXPECT_EQ(log_lines, (strings{"4/TTS_ENGINE/greeting count 0 ",
                                      "6/TTS_ENGINE/ERROR! open tts dict file failed. "}));
        std::filesystem::rename(root + "away", path);
    }
    std::filesystem::remove(root + "yinsu.txt");  // the configuration is missed before it
    const std::string long_line = "[default_config]\n[a]\nch_name=" + std::string(4000, 'n');
    file("greetingRaw/greetings.ini", long_line);  // more than the parser takes
    for (const char *fault : {"line too long", "missing"}) {
        EXPECT_EQ(run_there(TTS_HOST), 0) << fault;
        ASSERT_FALSE(log_lines.empty());
        EXPECT_EQ(log_lines.back(), "4/TTS_ENGINE/Failed to iniparser load") << fault;
        std::filesystem::remove(root + "greetingRaw/greetings.ini");
    }
}
