// What the fuzz targets share: checks, bytes read as numbers and files, and a whole checked
// request.
#ifndef FUZZ_HARNESS_H
#define FUZZ_HARNESS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engine_start.h"
#include "lexicon_types.h"
#include "speech_report.h"
#include "support/minimal_tree.h"
#include "tts_util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

// Ends the process, so that the fuzzer keeps the input and the replay fails.
[[noreturn]] void check_failed(const char *file, int line, const char *what);
#define CHECK(condition) ((condition) ? void() : check_failed(__FILE__, __LINE__, #condition))

// The bytes of an input from front to back. A small number is one character, counted from '0', so
// that seeds can be written by hand; a missing one is 0.
class input {
  public:
    input(const uint8_t *data, size_t size) : left_(reinterpret_cast<const char *>(data), size) {}
    int number();
    std::string piece(char end);  // up to `end`, which is taken too, or to the end of the input
    std::string rest() { return std::string(left_); }

  private:
    std::string_view left_;
};

// Whether `part` is in `whole` at `at`.
inline bool occurs_at(std::string_view whole, size_t at, std::string_view part) {
    return at <= whole.size() && whole.substr(at, part.size()) == part;
}

// Pieces that each end with the separator, which the last piece may lack.
std::vector<std::string> pieces_of(const std::string &bytes, char separator);

// The name of a file of these bytes; good until the next call.
const char *file_of(const std::string &bytes);

// The minimal tree with its pauses, the leading one of kPause bytes. The target writes what it
// wants.
class resource_tree : public minimal_tree {
  public:
    static constexpr int kPause = 6;
    resource_tree();
    // Writes a clip: `bytes` samples of sound, none of them 0. A name that no file can have does
    // nothing. Empty clips are left out: by the rule for lengths their buffers are never released.
    bool clip(const std::string &name, size_t bytes) const;
};

// Releases an engine and its greetings, which the library never does.
struct engine_owner {
    void operator()(tts_engine_t *engine) const;
};

struct request_limits {
    int capacity = 1 << 14;             // bytes of the buffer
    int pause = resource_tree::kPause;  // bytes of the leading pause
    bool may_leak = false;              // an empty clip is there, whose buffer is never released
};

// Speaks what the rest of the input asks for: '1' for the configured greetings, language, number of
// greetings, position, three ids, spare capacity, then the text. Checks the image, the counters and
// the report.
void check_request(tts_engine_t &engine, input &bytes, const request_limits &limits = {});

// The result of a request: the image fitted if its size is not 0.
struct outcome {
    int size = -1;
    bool threw = false;
    std::string buffer;
};

// A request with `buf_size` bytes of a buffer of the limits' capacity. Checks the counters and that
// nothing was written outside the image.
outcome speak(tts_engine_t &engine, std::string text, greet_param_t *greeting, int buf_size,
              const request_limits &limits, speech_report *report);

// While it exists, memory that is not released is not a leak to the sanitizer.
class leak_permission {
  public:
    explicit leak_permission(bool granted);
    leak_permission(const leak_permission &) = delete;
    leak_permission &operator=(const leak_permission &) = delete;
    ~leak_permission();

  private:
    const bool granted_;
};

#endif
