#include "report/audio.h"

#include <sndfile.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <utility>

#include "common/files.h"

namespace tts_voice {

using namespace tts_tools;

namespace {

// A file in memory. libsndfile goes back to its start to write how much padding players are to
// leave out, without which a short clip would be a quarter longer.
struct memory_file {
    std::string bytes;
    size_t place = 0;
};

memory_file &file_of(void *user) {
    return *static_cast<memory_file *>(user);
}

sf_count_t length_of(void *user) {
    return static_cast<sf_count_t>(file_of(user).bytes.size());
}

sf_count_t seek_in(sf_count_t offset, int whence, void *user) {
    memory_file &file = file_of(user);
    sf_count_t from = 0;
    if (whence == SEEK_CUR) from = static_cast<sf_count_t>(file.place);
    if (whence == SEEK_END) from = length_of(user);
    file.place = static_cast<size_t>(std::clamp<sf_count_t>(from + offset, 0, length_of(user)));
    return static_cast<sf_count_t>(file.place);
}

sf_count_t read_from(void *target, sf_count_t count, void *user) {
    memory_file &file = file_of(user);
    const size_t got =
        file.bytes.copy(static_cast<char *>(target), static_cast<size_t>(count), file.place);
    file.place += got;
    return static_cast<sf_count_t>(got);
}

sf_count_t write_to(const void *source, sf_count_t count, void *user) {
    memory_file &file = file_of(user);
    const auto size = static_cast<size_t>(count);
    file.bytes.replace(file.place, size, static_cast<const char *>(source), size);
    file.place += size;
    return count;
}

sf_count_t place_in(void *user) {
    return static_cast<sf_count_t>(file_of(user).place);
}

}  // namespace

std::string to_mp3(const samples &clip) {
    SF_VIRTUAL_IO functions = {length_of, seek_in, read_from, write_to, place_in};
    memory_file mp3;
    SF_INFO info{};
    info.samplerate = kClipRateHz;
    info.channels = 1;
    info.format = SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III;
    std::unique_ptr<SNDFILE, int (*)(SNDFILE *)> file(
        sf_open_virtual(&functions, SFM_WRITE, &info, &mp3), sf_close);
    if (!file) {
        throw failure(std::string("libsndfile cannot write MP3: ") + sf_strerror(nullptr));
    }
    double compression = 0.9;
    sf_command(file.get(), SFC_SET_COMPRESSION_LEVEL, &compression, sizeof compression);
    const auto count = static_cast<sf_count_t>(clip.size());
    if (sf_write_float(file.get(), clip.data(), count) != count) {
        throw failure(std::string("cannot encode a clip: ") + sf_strerror(file.get()));
    }
    file.reset();  // writes what is left
    return std::move(mp3.bytes);
}

std::string to_base64(std::string_view bytes) {
    static constexpr char kDigits[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t count = std::min<size_t>(3, bytes.size() - i);
        unsigned group = 0;
        for (size_t k = 0; k < 3; ++k) {
            group = group << 8 | (k < count ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        }
        for (size_t k = 0; k < 4; ++k) {
            text += k <= count ? kDigits[group >> (18 - 6 * k) & 63] : '=';
        }
    }
    return text;
}

}  // namespace tts_voice
