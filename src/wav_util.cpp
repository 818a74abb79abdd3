// The WAV image: a 44-byte header and the clips of all segments, byte for byte.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "tts_log.h"
#include "tts_util.h"

namespace {

constexpr int64_t kHeaderBytes = sizeof(Wav);

// The length in the header: the sum of all lengths as they are, negative ones included.
int64_t sound_bytes(const std::vector<split_rawData> &rawDatas) {
    int64_t total_len = 0;
    for (const split_rawData &segment : rawDatas) total_len += segment.rawData.length;
    return total_len;
}

bool has_sound(const split_rawData &segment) {
    return segment.rawData.length >= 1;
}

// The bytes that are written after the header. More than sound_bytes when a length is negative.
int64_t written_bytes(const std::vector<split_rawData> &rawDatas) {
    int64_t bytes = 0;
    for (const split_rawData &segment : rawDatas)
        bytes += has_sound(segment) ? segment.rawData.length : 0;
    return bytes;
}

Wav wav_header(int64_t total_len) {
    const auto length = static_cast<uint32_t>(total_len);
    Wav wav = {};
    memcpy(wav.riff.FLAG, "RIFF", 4);
    wav.riff.resource_length = length + 36;
    memcpy(wav.riff.WAVE_FLAG, "WAVE", 4);
    memcpy(wav.format_flag, "fmt ", 4);
    wav.pcm_header_len = 16;
    wav.format_tag = 1;
    wav.channel_count = 1;
    wav.sample_rate = 16000;
    wav.bytespersec = 32000;
    wav.block_align = 2;
    wav.bits_per_sample = 16;
    memcpy(wav.data.data_flag, "data", 4);
    wav.data.length = length;
    return wav;
}

struct file_closer {
    void operator()(FILE *file) const { fclose(file); }
};
using file_ptr = std::unique_ptr<FILE, file_closer>;

}  // namespace

int rawData2WavDram(const std::vector<split_rawData> &rawDatas, void *dst, int dst_cap) {
    TTS_TRACE(61);
    const int64_t total_len = sound_bytes(rawDatas);
    if (dst_cap <= total_len + kHeaderBytes - 1 ||
        dst_cap < kHeaderBytes + written_bytes(rawDatas)) {
        TTS_INFO("!!!!warnning wav size will outof space\n");
        return 0;
    }
    char *to = static_cast<char *>(dst);
    const Wav wav = wav_header(total_len);
    memcpy(to, &wav, sizeof(wav));
    to += sizeof(wav);
    TTS_TRACE(100);
    for (const split_rawData &segment : rawDatas) {
        if (!has_sound(segment)) continue;
        const auto bytes = static_cast<size_t>(segment.rawData.length);
        memcpy(to, segment.rawData.addr, bytes);
        to += bytes;
    }
    TTS_TRACE(110);
    return static_cast<int>(total_len + kHeaderBytes);
}

void rawData2Wavfile(const std::vector<split_rawData> &rawDatas, const std::string &resultPath) {
    file_ptr file(fopen(resultPath.c_str(), "wbe"));
    if (!file) {
        printf("open %sfail\n", resultPath.c_str());
        return;
    }
    const Wav wav = wav_header(sound_bytes(rawDatas));
    bool written = fwrite(&wav, sizeof(wav), 1, file.get()) == 1;
    for (const split_rawData &segment : rawDatas) {
        if (!has_sound(segment)) continue;
        const auto bytes = static_cast<size_t>(segment.rawData.length);
        written = fwrite(segment.rawData.addr, 1, bytes, file.get()) == bytes && written;
    }
    written = fclose(file.release()) == 0 && written;
    if (!written) TTS_ERROR("ERROR! write %s fail! error = %d\n", resultPath.c_str(), errno);
}
