// The engine: start-up, and a request from its text to its image. The rules that give segments
// their clips are in pinyin.cpp and english.cpp.
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string_view>

#include "clip_guard.h"
#include "codes.h"
#include "engine_start.h"
#include "file_descriptor.h"
#include "ini_ptr.h"
#include "rules.h"
#include "speech_report.h"
#include "text_file.h"
#include "tts_log.h"
#include "tts_util.h"

#ifndef TTS_VERSION
#define TTS_VERSION "unknown"  // a build that knows it defines it
#endif
const char *tts_version() {
    return TTS_VERSION;
}

// ==== clips and their memory ====

int malloc_count = 0;
int free_count = 0;
size_t total_mem = 0;

// The counters are all that engines in several threads share. They run for as long as the device
// does: past INT_MAX they wrap around, which is defined for the atomic builtins.
static void count_up(int &counter) {
    __atomic_fetch_add(&counter, 1, __ATOMIC_RELAXED);
}

static unsigned counted(const int &counter) {
    return static_cast<unsigned>(__atomic_load_n(&counter, __ATOMIC_RELAXED));
}

// Weak, so that a pair of the host's own takes their place for the calls of all units, whatever the
// compiler makes of calls within one.
__attribute__((weak)) void *my_malloc(int size) {
    count_up(malloc_count);
    return malloc(static_cast<size_t>(size));
}

__attribute__((weak)) void my_free(void *p) {
    count_up(free_count);
    free(p);
}

// The size of a clip of up to a second; 0 for whatever else was opened. lseek() takes less time
// than fstat(), but does not report what kind of file it is: no directory may get here.
static int short_clip_size(const file_descriptor &file) {
    constexpr off_t kMostBytes = 32768;
    const off_t size = lseek(file.get(), 0, SEEK_END);
    return size > 0 && size <= kMostBytes ? static_cast<int>(size) : 0;
}

// Reads up to `size` bytes; returns what it got, or -1 with errno set when that is an error. One
// call of pread() may stop anywhere, on a network or FUSE mount even inside a page: only the size
// that the file system gave, or a read of nothing, proves the end of the file.
static int read_up_to(const file_descriptor &file, char *to, int size) {
    int got = 0;
    while (got < size) {
        const ssize_t n = file.read_at(got, to + got, static_cast<size_t>(size - got));
        if (n < 0) return -1;
        if (n == 0) break;
        got += static_cast<int>(n);
    }
    return got;
}

rawData_t read_raw_data(const char *fileName) {
    TTS_TRACE(89);
    const auto unreadable = [fileName] {
        TTS_ERROR("ERROR! open %s fail! error = %d\n", fileName, errno);
        return rawData_t{};
    };
    const file_descriptor file(fileName);
    if (file.get() < 0) return unreadable();
    const size_t name_length = strlen(fileName);
    const bool directory = name_length > 0 && fileName[name_length - 1] == '/';
    int flen = directory ? 0 : short_clip_size(file);
    if (flen == 0) flen = static_cast<int>(file.regular_size(INT_MAX));
    if (flen < 0) return unreadable();

    rawData_t rawData;
    rawData.addr = clip_buffer(flen);
    if (rawData.addr == nullptr) return unreadable();
    rawData.length = read_up_to(file, reinterpret_cast<char *>(rawData.addr), flen);
    if (rawData.length < 0) {
        const int read_error = errno;
        my_free(rawData.addr);
        errno = read_error;
        return unreadable();
    }
    return rawData;
}

void free_rawData(rawData_t data) {
    TTS_TRACE(118);
    if (data.length != 0) my_free(data.addr);
}

void free_rawDatas(std::vector<split_rawData> datas) {
    TTS_TRACE(128);
    for (split_rawData &data : datas) {
        if (data.type < kGreeting && data.rawData.addr != nullptr) {
            my_free(data.rawData.addr);
            data.rawData = {};
        }
    }
}

// ==== start-up ====

constexpr int kGreetingSlots = 64;

namespace {

// What a configuration holds. iniparser answers each question by a walk over all keys; this takes
// one walk for all of them.
struct ini_index {
    explicit ini_index(const dictionary &ini) {
        for (ssize_t i = 0; i < ini.size; ++i) {
            const char *const key = ini.key[i];
            if (key == nullptr) continue;
            if (strchr(key, ':') == nullptr) sections.push_back(key);
            // A section may be named like a key: the library then has that key, without a value.
            if (ini.val[i] != nullptr) values.emplace(key, ini.val[i]);
        }
    }
    std::vector<const char *> sections;                         // in file order
    std::unordered_map<std::string_view, const char *> values;  // by "section:key"
};

// An engine that does not get finished gives its greeting clips back.
struct engine_deleter {
    void operator()(tts_engine_t *engine) const {
        for (auto *slots : {engine->greetingData_ch, engine->greetingData_eng}) {
            std::for_each(slots, slots + kGreetingSlots, [](split_rawData &slot) {
                if (slot.rawData.addr != nullptr) my_free(slot.rawData.addr);
            });
        }
        delete engine;
    }
};
using engine_ptr = std::unique_ptr<tts_engine_t, engine_deleter>;

}  // namespace

// iniparser 4.1 checks none of its calls of calloc, and a key that strdup has no memory for is left
// out without a word. So take what it may need at most for such a file, in pieces like its own, and
// give it back: if that throws std::bad_alloc, nothing is read.
static void find_memory_for_ini(const text_file &file) {
    constexpr size_t kLongestLine = 1024;  // longer ones are refused
    constexpr size_t kPiece = 4096;
    size_t section = 0;  // bytes of the longest name; each key has that of its section in front
    size_t bytes = 4 * kPiece;  // for what is open while it reads
    file.for_each_line([&](std::string_view line) {
        if (line.find('[') != std::string_view::npos) section = std::max(section, line.size());
        if (line.find('\\') != std::string_view::npos) section = kLongestLine;  // may go on
        // Key and value at most, each with what malloc adds.
        bytes += std::min(section, kLongestLine) +
                 2 * (std::min(line.size(), kLongestLine) + 4 * sizeof(void *));
    });
    std::vector<std::unique_ptr<char[]>> held;
    const auto hold = [&held](size_t size) {
        held.push_back(std::unique_ptr<char[]>(new char[size]));
    };
    // Its tables double in size; those that it has outgrown may remain between its keys.
    for (size_t size = 128; size / 2 < file.line_count(); size *= 2) {
        for (const size_t item : {sizeof(char *), sizeof(char *), sizeof(unsigned)}) {
            hold(size * item);
        }
    }
    for (; bytes > 0; bytes -= std::min(bytes, kPiece)) hold(kPiece);
}

// Null when the file cannot be loaded. iniparser itself would wait for the writer of a pipe and for
// the end of a device.
static ini_ptr load_ini(const std::string &path) {
    {
        const text_file file(path, kMostIniBytes);
        if (file.refused()) return nullptr;
        find_memory_for_ini(file);
    }
    return ini_ptr(iniparser_load(path.c_str()));
}

// A value of the configuration; null when it is missing.
static const char *ini_value(const ini_index &ini, const std::string &key) {
    constexpr size_t kLongestKey = 1024;  // iniparser cuts what it looks for
    const auto value = ini.values.find(std::string_view(key).substr(0, kLongestKey));
    return value != ini.values.end() ? value->second : nullptr;
}

static int ini_number(const ini_index &ini, const std::string &key, int missing) {
    const char *const value = ini_value(ini, key);
    return value != nullptr ? static_cast<int>(strtol(value, nullptr, 0)) : missing;
}

// Copies a clip name into its field. One that does not fit would name another clip: the greeting
// stays silent.
template <size_t N>
static void copy_name(char (&field)[N], const char *name, const char *section) {
    const size_t length = strlen(name);
    if (length >= N) {
        TTS_ERROR("ERROR! greeting %s: clip name of %zu bytes, at most %zu fit\n", section, length,
                  N - 1);
        return;
    }
    memcpy(field, name, length + 1);
}

static greeting_info read_greeting(const ini_index &ini, int i) {
    const char *const name = ini.sections[static_cast<size_t>(i)];
    TTS_INFO("item[%d] name : %s \n", i, name);
    const auto text = [&](const char *key) {
        const char *const value = ini_value(ini, std::string(name) + key);
        return value != nullptr ? value : "";
    };
    greeting_info info;
    info.greet_id = ini_number(ini, std::string(name) + ":id", -1);
    TTS_INFO("item[%d] id : %d \n", i, info.greet_id);
    const char *const ch_name = text(":ch_name");
    TTS_INFO("item[%d] ch_name : %s \n", i, ch_name);
    TTS_INFO("item[%d] ch_content : %s \n", i, text(":ch_content"));
    const char *const eng_name = text(":eng_name");
    TTS_INFO("item[%d] eng_name : %s \n", i, eng_name);
    TTS_INFO("item[%d] eng_content : %s \n", i, text(":eng_content"));
    copy_name(info.ch_name, ch_name, name);
    copy_name(info.eng_name, eng_name, name);
    return info;
}

greetings_info create_group_from(const std::string &iniPath) {
    const ini_ptr loaded = load_ini(iniPath);
    if (!loaded) {
        TTS_INFO("Failed to iniparser load");
        exit(0);
    }
    const ini_index ini(*loaded);
    greetings_info group;
    group.gConfig.default_language = ini_number(ini, "default_config:default_language", 0);
    group.gConfig.default_num = ini_number(ini, "default_config:default_num", 0);
    // "defaule_pos": the spelling that configuration files have.
    group.gConfig.default_pos = ini_number(ini, "default_config:defaule_pos", -1);
    group.gConfig.default_id = ini_number(ini, "default_config:default_id", 0);
    group.gConfig.language_tmp = ini_number(ini, "default_config:temperature_language", 0);
    group.count = static_cast<int>(ini.sections.size()) - 1;
    TTS_INFO("greeting count %d \n", group.count);
    for (int i = 1; i <= group.count; ++i) group.greetings.push_back(read_greeting(ini, i));
    return group;
}

greetings_info create_group() {
    return create_group_from(std::string(kFixedRoot) + "greetingRaw/greetings.ini");
}

static void assign_paths(tts_engine_t &engine, const std::string &root) {
    engine.engDictPath = root + "eng_dict.txt";
    engine.pinyinDictPath = root + "pinyin_dict.txt";
    engine.pinyinSinglePath = root + "surname_pinyin_single.txt";
    engine.pinyinDuralPath = root + "surname_pinyin_dural.txt";
    engine.phoneDictPath = root + "yinsu.txt";
    engine.pinyinRawPath = root + "pinyinRaw/";
    engine.engRawPath = root + "engRaw/";
    engine.greetingRawPath = root + "greetingRaw/";
    engine.pinyinTempPath = root + "dst_temperature.txt";
    engine.tempRawPath = root + "pinyinRaw/";  // phrase clips are among the syllables
}

// Loads all six lexicons, also when an earlier one failed.
static void load_lexicons(tts_engine_t &engine) {
    const int sizes[] = {
        load_eng_dict(engine.engDictPath, engine.dict_english),
        load_pinyin_dict(engine.pinyinDictPath, engine.dict_pinyin),
        load_pinyin_dict(engine.pinyinSinglePath, engine.dict_single),
        load_pinyin_dict(engine.pinyinDuralPath, engine.dict_dural),
        load_all_phone(engine.phoneDictPath, engine.dict_phone),
        load_pinyin_dict(engine.pinyinTempPath, engine.dict_temp),
    };
    size_t sum = 0;
    for (const int size : sizes) {
        if (size == -1) {
            TTS_ERROR("ERROR! open tts dict file failed. \n");
            exit(-1);
        }
        sum += static_cast<size_t>(size);
    }
    __atomic_store_n(&total_mem, sum, __ATOMIC_RELAXED);
    engine.index_phone = index_phones(engine.dict_phone);
}

static void load_greeting(split_rawData &slot, const char *name, const std::string &directory) {
    slot.str = name;
    slot.type = kGreeting;
    slot.index = kGreetingIndex;
    // Without a name it is the directory itself that cannot be read, and the log says so.
    slot.rawData = read_raw_data((directory + name).c_str());
}

static void load_greetings(tts_engine_t &engine, const greetings_info &group) {
    engine.greet_count = group.count;
    int greets_cnt = group.count;
    if (greets_cnt > kGreetingSlots) {
        TTS_INFO("loaded greeting count exceed default cnt(64). only load the first 64 greets.\n");
        greets_cnt = kGreetingSlots;
    }
    for (int i = 0; i < greets_cnt; ++i) {
        const greeting_info &info = group.greetings.at(static_cast<size_t>(i));
        load_greeting(engine.greetingData_ch[i], info.ch_name, engine.greetingRawPath);
        load_greeting(engine.greetingData_eng[i], info.eng_name, engine.greetingRawPath);
    }
}

void *tts_init_root(const std::string &root) {
    const std::string base = root.empty() || root.back() == '/' ? root : root + "/";
    engine_ptr engine(new tts_engine_t);
    const greetings_info greets_all = create_group_from(base + "greetingRaw/greetings.ini");
    engine->default_config = greets_all.gConfig;
    engine->default_config.language_tmp = 0;
    // The configured temperature language is not carried over: phrase clips are read plain.
    engine->temp_language = CHINESE;
    assign_paths(*engine, base);
    load_lexicons(*engine);
    load_greetings(*engine, greets_all);
    TTS_INFO("tts init succee! \n");
    return engine.release();
}

void *tts_init() {
    return tts_init_root(kFixedRoot);
}

// ==== a request: its numbers ====

// A number character's class is its place here; '9' is the last digit of the list and '.' follows
// it.
constexpr std::string_view kDigitList = "-0123456789.";
constexpr size_t kNotFound = std::string_view::npos;
constexpr size_t kMinus = 0;
constexpr size_t kPoint = 11;

constexpr const char *kNumerals[] = {"零", "一", "二", "三", "四", "五", "六", "七", "八", "九"};
constexpr const char *kUnits[] = {"",   "十", "百", "千", "万", "十", "百", "千", "亿", "十", "百",
                                  "千", "万", "十", "百", "千", "兆", "十", "百", "千", "万", "十",
                                  "百", "千", "亿", "十", "百", "千", "万", "十", "百", "千", ""};
constexpr int kNumeralBytes = 30;
constexpr int kUnitBytes = 96;
constexpr int kMostDigits = 33;  // the last place that has a unit, or none, is the 33rd

static size_t digit_class(char c) {
    return kDigitList.find(c);
}

static bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

static const char *numeral(char digit) {
    return kNumerals[digit - '0'];
}

namespace {

// A scan for numbers. The look-aheads keep their value between steps: the last byte uses the
// previous one.
struct number_scan {
    const std::string &str;
    size_t sec_index = kNotFound;     // class of the byte after the start of a run
    size_t second_index = kNotFound;  // class of the byte after the current one
    std::vector<std::string> digits;
};

}  // namespace

constexpr const char *kNumberScan = "getNumStrArray";

static void trace_class(const number_scan &scan, int number, size_t at, size_t dig_index) {
    TTS_TRACEF_AS(kNumberScan, number, "i=%d str_data=%c dig_index=%d \n", static_cast<int>(at),
                  scan.str[at], static_cast<int>(dig_index));
}

// Takes the run that begins at `start`; returns the byte that ended it.
static size_t take_run(number_scan &scan, size_t start) {
    const std::string &str = scan.str;
    for (size_t n = start;; ++n) {
        const bool last = n + 1 == str.size();
        const size_t dig_index = digit_class(str[n]);
        trace_class(scan, 415, n, dig_index);
        if (!last) scan.second_index = digit_class(str[n + 1]);
        if (dig_index == kPoint && scan.second_index == kPoint) {
            scan.digits.push_back(str.substr(start, n - start));
            return n;
        }
        const bool inside = dig_index > kMinus && dig_index <= kPoint;
        if (inside && !last) continue;
        // Classes 1 to 9 are '0' to '8': a '9' that ends the text is left in the text.
        if (last && dig_index >= 1 && dig_index <= 9) {
            scan.digits.push_back(str.substr(start, n - start + 1));
        } else {
            TTS_TRACEF_AS(kNumberScan, 436, "pos=%d size=%d n=%d \n", static_cast<int>(start),
                          static_cast<int>(str.size()), static_cast<int>(n - start));
            scan.digits.push_back(str.substr(start, n - start));
        }
        TTS_TRACE_AS(kNumberScan, 439);
        return n;
    }
}

static void scan_numbers(number_scan &scan) {
    const std::string &str = scan.str;
    for (size_t start = 0; start < str.size();) {
        const bool last = start + 1 == str.size();
        const size_t dig_index = digit_class(str[start]);
        trace_class(scan, 397, start, dig_index);
        if (!last) scan.sec_index = digit_class(str[start + 1]);
        if (dig_index >= kPoint) {  // a point, or not a number character
            ++start;
            continue;
        }
        TTS_TRACE_AS(kNumberScan, 404);
        const bool before_digit = scan.sec_index > kMinus && scan.sec_index < kPoint;
        if (dig_index == kMinus && !before_digit) {
            TTS_TRACE_AS(kNumberScan, 406);
            ++start;
            continue;
        }
        TTS_TRACE_AS(kNumberScan, 410);
        start = take_run(scan, start) + 1;
    }
}

std::vector<std::string> getNumStrArray(const std::string &str) {
    TTS_TRACEF(387, "str=%s \n", str.c_str());
    number_scan scan = {str, kNotFound, kNotFound, {}};
    scan_numbers(scan);
    for (std::string &digit : scan.digits) {
        if (!digit.empty() && digit.back() == '.') digit.pop_back();
    }
    TTS_TRACE(456);
    return std::move(scan.digits);
}

std::string num_str(const std::string &digit) {
    TTS_TRACE(248);
    std::string output;
    const char *word = "";  // an unknown byte repeats the word before it
    for (const char c : digit) {
        if (is_digit(c)) {
            word = numeral(c);
        } else if (c == '.') {
            word = "点";
        } else if (c == '-') {
            word = "负";
        }
        output += word;
    }
    TTS_TRACEF(266, "%s \n", output.c_str());
    return output;
}

constexpr const char *kIntegerPart = "digit2hanzi";

static void trace_piece(int number, size_t pos, size_t size, size_t n) {
    TTS_TRACEF_AS(kIntegerPart, number, "pos=%d size=%d n=%d \n", static_cast<int>(pos),
                  static_cast<int>(size), static_cast<int>(n));
}

// The last character of a reading, which a number of zeros may not have yet.
static std::string last_character(const std::string &output) {
    if (output.empty()) throw std::out_of_range("a quantity of zeros only, or of no digit");
    return output.substr(output.size() - kCharacter, kCharacter);
}

// Reads digits with their units. A zero at place 4, 8, 12... swallows the digit after it, and
// every later digit is read one place higher than its own: the place counter does not skip.
static std::string read_places(const std::string &str) {
    std::string output;
    int p = static_cast<int>(str.size()) - 1;
    for (size_t i = 0, k = 1; i < str.size(); ++i, ++k, --p) {
        const int d = str[i] - '0';
        const auto place = static_cast<size_t>(p);
        TTS_TRACEF_AS(kIntegerPart, 179, "pos=%d \n", d);
        if (d != 0) {
            trace_piece(182, 3 * static_cast<size_t>(d), kNumeralBytes, kCharacter);
            output += numeral(str[i]);
            if (p == 0) continue;
            trace_piece(186, 3 * place, kUnitBytes, kCharacter);
            output += kUnits[place];
            continue;
        }
        if (p % 4 == 0) {
            trace_piece(195, 0, kNumeralBytes, kCharacter);
            output += kNumerals[0];
            if (i == 0 && p != 0) {
                trace_piece(199, 3 * place, kUnitBytes, kCharacter);
                output += kUnits[place];
            }
            ++i;
        }
        if (k == 1) continue;
        trace_piece(207, output.size(), output.size(), kCharacter);
        if (last_character(output) != kNumerals[0]) {
            trace_piece(210, 0, kNumeralBytes, kCharacter);
            output += kNumerals[0];
        }
    }
    return output;
}

// Contracts pairs of characters until none is left: 一十 to 十, 零万 to 万 and so on.
static void replace_pairs(std::string &output) {
    static constexpr struct {
        std::string_view key, value;
    } kReplaceMap[] = {{"一十", "十"}, {"零零", "零"}, {"零亿", "亿"},
                       {"零万", "万"}, {"零兆", "兆"}, {"壹拾", "拾"}};
    for (size_t i = 0; i < output.size();) {
        trace_piece(219, i, output.size(), kCharacter);
        const std::string_view double_an = std::string_view(output).substr(i, 2 * kCharacter);
        const auto *pair = std::find_if(std::begin(kReplaceMap), std::end(kReplaceMap),
                                        [&](const auto &row) { return row.key == double_an; });
        if (pair == std::end(kReplaceMap)) {
            i += kCharacter;
        } else {
            output.replace(i, 2 * kCharacter, pair->value);
        }
    }
}

std::string digit2hanzi(std::string &str, const std::string & /*mode*/) {
    const size_t zeros = str.find_first_not_of('0');
    if (zeros != std::string::npos) {
        str.erase(0, zeros);
        trace_piece(164, zeros, str.size(), str.size());
    }
    if (str.size() > kUnitBytes) {
        TTS_ERROR("ERROR! out of data range, now support %d bytes! \n", kUnitBytes);
    }
    if (str.size() > kMostDigits || !std::all_of(str.begin(), str.end(), is_digit)) {
        return num_str(str);
    }
    std::string output = read_places(str);
    if (output.size() > kCharacter) replace_pairs(output);
    trace_piece(235, output.size() - kCharacter, output.size(), kCharacter);
    if (last_character(output) == kNumerals[0]) {
        trace_piece(238, output.size() - kCharacter, output.size(), kCharacter);
        output.resize(output.size() - kCharacter);
    }
    return output.empty() ? kNumerals[0] : output;
}

std::string digit2hanzi(std::string &str, std::string &mode) {
    return digit2hanzi(str, const_cast<const std::string &>(mode));
}

std::vector<std::string> stringSplit(const std::string &s, char delimiter) {
    TTS_TRACE(144);
    std::vector<std::string> pieces;
    for (size_t start = 0; start < s.size();) {
        const size_t end = std::min(s.find(delimiter, start), s.size());
        pieces.push_back(s.substr(start, end - start));
        start = end + 1;
    }
    return pieces;
}

// Reports, on standard output, the bytes before the first number character.
static void warn_of_foreign_bytes(const std::string &digit) {
    for (const char c : digit) {
        if (digit_class(c) != kNotFound) return;
        printf("输入的数据不在转化范围内 ：%c\n", c);
    }
}

// Quantities are short, or longer and directly before "度"; eleven digits are a telephone number.
static bool reads_digit_by_digit(const std::string &digit, const std::string &words) {
    if (digit.size() == 11) return true;
    const auto points = std::count(digit.begin(), digit.end(), '.');
    if (digit.size() <= 3 && points <= 1) return false;
    if (words.find("度") == std::string::npos) return true;
    const size_t last_digit_index = words.find(digit) + digit.size();
    return last_digit_index + 2 > words.size() - 1 ||
           words.compare(last_digit_index, kCharacter, "度") != 0;
}

std::string an_2_cn(const std::string &digit, const std::string &mode) {
    TTS_TRACE(272);
    if (digit == " ") return "";
    if (mode != "low" && mode != "up" && mode != "rmb") {
        TTS_ERROR("ERROR! mode not support! \n");
        return "";
    }
    warn_of_foreign_bytes(digit);
    std::string all_digits = digit;
    std::string negtive;
    if (!digit.empty() && digit.front() == '-') {
        all_digits.erase(0, 1);
        const int rest = static_cast<int>(all_digits.size());
        TTS_TRACEF(302, "pos=%d size=%d n=%d \n", 1, rest, rest);
        negtive = "负";
    }
    std::vector<std::string> split_result = stringSplit(all_digits, '.');
    if (split_result.size() == 1) return negtive + digit2hanzi(split_result[0], mode);
    if (split_result.size() == 2) {
        const std::string int_data = digit2hanzi(split_result[0], mode);
        return negtive + int_data + "点" + num_str(split_result[1]);
    }
    TTS_ERROR("ERROR! input format error! \n");
    return "";
}

std::string num2cn(const std::vector<std::string> &digits, const std::string &word) {
    TTS_TRACE(334);
    std::string words = word;
    for (const std::string &digit : digits) {
        std::string num2str;
        if (reads_digit_by_digit(digit, words)) {
            num2str = num_str(digit);
            TTS_TRACEF(369, "%s \n", num2str.c_str());
        } else {
            num2str = an_2_cn(digit, "low");
            TTS_TRACEF(375, "%s \n", num2str.c_str());
        }
        words.replace(words.find(digit), digit.size(), num2str);
        TTS_TRACEF(379, "%s \n", words.c_str());
    }
    return words;
}

// ==== a request: its segments ====

static bool is_lower_letter(char c) {
    return c >= 'a' && c <= 'z';
}

static bool has_top_bit(char c) {
    return (static_cast<unsigned char>(c) & 0x80U) != 0;
}

static void lower_ascii(std::string &s) {
    for (char &c : s) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
}

int count_eng_word(const std::string &s, int start, int end) {
    TTS_TRACE(465);
    if (start >= end || !is_lower_letter(s.at(static_cast<size_t>(start)))) return 0;
    int stop = start + 1;
    while (stop < end && is_lower_letter(s.at(static_cast<size_t>(stop)))) ++stop;
    return stop - start;
}

std::vector<split_rawData> split_ch_eng(std::string &s) {
    lower_ascii(s);
    std::vector<split_rawData> segments;
    const int len = static_cast<int>(s.size());
    const auto at = [&s](int i) { return s[static_cast<size_t>(i)]; };
    const auto append = [&](int i, int bytes, int type) {
        const int index = static_cast<int>(segments.size());
        segments.push_back(
            {s.substr(static_cast<size_t>(i), static_cast<size_t>(bytes)), type, index, {}});
    };
    for (int i = 0; i < len;) {
        if (has_top_bit(at(i)) && len - i > 2 && has_top_bit(at(i + 1)) && has_top_bit(at(i + 2))) {
            const bool two_bytes = (static_cast<unsigned char>(at(i)) & 0x20U) == 0;
            if (two_bytes) {
                i += 2;
                continue;
            }
            // A four-byte sequence gives its first three bytes as well.
            append(i, 3, kChineseCharacter);
            TTS_TRACEF(521, "pos=%d size=%d ch=%s n=%d \n", i, len, segments.back().str.c_str(), 3);
            i += 3;
            continue;
        }
        const int cnt = is_lower_letter(at(i)) ? count_eng_word(s, i, len) : 0;
        if (cnt < 1) {
            ++i;
            continue;
        }
        append(i, cnt, kEnglishWord);
        TTS_TRACEF(545, "pos=%d size=%d str=%s n=%d \n", i, len, segments.back().str.c_str(), cnt);
        i += cnt;
    }
    return segments;
}

// ==== a request: the clips of its segments ====

namespace {

struct request_t {
    explicit request_t(const tts_engine_t &e) : engine(e), aids{{e.dict_phone, e.index_phone}} {}
    request_t(const request_t &) = delete;
    request_t &operator=(const request_t &) = delete;
    // What is still held here is held because an exception is on its way.
    ~request_t() {
        for (const split_rawData &segment : splits_str) {
            if (segment.type < kGreeting && segment.rawData.addr != nullptr) {
                my_free(segment.rawData.addr);
            }
        }
    }

    const tts_engine_t &engine;
    rule_aids aids;
    std::vector<split_rawData> splits_str;
    int encrypted = 0;     // 1: phrase clips are scrambled
    int vstr_size = 0;     // segments of the text
    int len = 0;           // segments of the temperature phrase; 0: none
    int index = 0;         // its first segment
    int pinyin_index = 0;  // Chinese segments reached
    int ret = 1;           // what the last rule returned
    int is_last = kInside;

    // For the report, when one is asked for.
    speech_report *report = nullptr;
    std::vector<std::string> played;               // clips of the rule that speaks now
    speech_rule spoken_by = speech_rule::english;  // the rule that spoke last

    split_rawData &at(int i) { return splits_str.at(static_cast<size_t>(i)); }
    bool has(int i) const { return i < vstr_size; }
    int position_of(int i, int last) const { return i == 0 ? kFirst : i == last ? kLast : kInside; }
};

// The greetings of a request, from the caller or from the configured defaults.
struct greetings_t {
    int language_type;
    int greets_num;
    int position;
    const int *greets_id;
};

}  // namespace

// What a step below did: the number of segments that are done, or one of these.
constexpr int kNone = 0;      // the next rule is tried
constexpr int kDropped = -1;  // the speech of the request is dropped

constexpr const char *kRequest = "tts_getWavData";  // whose trace lines the steps write

// The text of a segment as "%s" prints it: a reading may hold a NUL.
static std::string printable(const split_rawData &segment) {
    return segment.str.substr(0, segment.str.find('\0'));
}

// Drops the speech; what is around it is still spoken.
static int drop_speech(request_t &r, const std::string &message) {
    TTS_INFO("%s", message.c_str());
    if (r.report != nullptr) *r.report = {{}, message};
    free_rawDatas(r.splits_str);
    r.splits_str.clear();
    return kDropped;
}

static int drop_unlisted_phone(request_t &r, int i) {
    return drop_speech(
        r, "error: have found " + printable(r.at(i)) +
               " in eng_ dict & pinyin_dict,but not found in phone_dict, clear inputs! \n");
}

// Interprets what the English or the syllable rule returned, a code or a byte count: 0 and 3 always
// count as codes.
static int result_of_clip(request_t &r, int i) {
    if (r.ret == kNothingFound) {
        return drop_speech(r, "error: not found " + printable(r.at(i)) +
                                  " in eng_ dict & pinyin_dict, clear inputs! \n");
    }
    if (r.ret == kPhoneUnlisted) return drop_unlisted_phone(r, i);
    return 1;
}

static int speak_english(request_t &r, int i) {
    TTS_TRACE_AS(kRequest, 883);
    r.spoken_by = speech_rule::english;
    r.ret = english_rule(r.at(i), r.engine.dict_english, r.engine.engRawPath, r.aids);
    TTS_TRACEF_AS(kRequest, 885, "i=%d index=%d str=%s ret=%d \n", i, r.at(i).index,
                  r.at(i).str.c_str(), r.ret);
    return result_of_clip(r, i);
}

static int speak_surname_pair(request_t &r, int i) {
    TTS_TRACEF_AS(kRequest, 895, "i=%d index=%d str=%s \n", i, r.at(i).index, r.at(i).str.c_str());
    const int surname = surname_pair_rule(r.at(i), r.at(i + 1), r.engine.pinyinRawPath,
                                          r.engine.dict_dural, r.aids);
    TTS_TRACE_AS(kRequest, 897);
    if (surname > 0) {
        TTS_TRACEF_AS(kRequest, 905, "i=%d \n", i + 1);
        r.spoken_by = speech_rule::surname_pair;
        return 2;
    }
    if (surname == kNothingFound) {
        TTS_TRACEF_AS(kRequest, 910, "i=%d \n", i);
        return drop_speech(r,
                           "error: poly_surname found in dict but not found sound in "
                           "pinyinRawData, clear inputs! \n");
    }
    return kNone;
}

static int speak_surname(request_t &r, int i) {
    TTS_TRACEF_AS(kRequest, 919, "i=%d \n", i);
    const int surname = surname_rule(r.at(i), r.engine.pinyinRawPath, r.engine.dict_single, r.aids);
    TTS_TRACEF_AS(kRequest, 921, "i=%d index=%d str=%s surname=%d \n", i, r.at(i).index,
                  r.at(i).str.c_str(), surname);
    if (surname > 0) {
        TTS_TRACEF_AS(kRequest, 924, "i=%d \n", i);
        r.spoken_by = speech_rule::surname;
        return 1;
    }
    if (surname == kNothingFound) {
        return drop_speech(
            r, "error: single_surname " + printable(r.at(i)) +
                   " found in dict but not found sound in pinyinRawData, clear inputs! \n");
    }
    return kNone;
}

// The temperature phrase, when it starts here.
static int speak_phrase(request_t &r, int i) {
    if (r.len == 0 || r.index != i) return kNone;
    r.ret = phrase_rule(r.splits_str, r.engine.dict_temp, r.engine.tempRawPath, r.len, r.index,
                        r.encrypted, r.aids);
    if (r.ret != kPhraseSpoken) return kNone;
    // A phrase with more clip names than characters left clips in segments whose own turn is still
    // to come.
    for (int j = i + r.len; r.has(j); ++j) {
        rawData_t &surplus = r.at(j).rawData;
        if (surplus.addr != nullptr) my_free(surplus.addr);
        surplus = {};
    }
    r.played.resize(std::min(r.played.size(), static_cast<size_t>(r.len)));
    r.spoken_by = speech_rule::phrase;
    return r.len;
}

static int speak_pair(request_t &r, int i) {
    TTS_TRACE_AS(kRequest, 971);
    r.is_last = r.position_of(i, r.vstr_size - 2);
    TTS_TRACEF_AS(kRequest, 979, "i=%d start=%d \n", i, r.is_last);
    r.ret = pair_rule(r.at(i), r.at(i + 1), r.engine.dict_pinyin, r.engine.pinyinRawPath, r.is_last,
                      r.aids);
    r.spoken_by = r.ret == kPairSpoken ? speech_rule::double_clip : speech_rule::third_tone;
    if (r.ret == kPairSpoken) return 2;
    if (r.ret == kFirstSpoken) return 1;
    return kNone;
}

static int speak_syllable(request_t &r, int i) {
    r.is_last = r.position_of(i, r.vstr_size - 1);
    TTS_TRACEF_AS(kRequest, 998, "i=%d is_last=%d \n", i, r.is_last);
    r.ret = syllable_rule(r.at(i), r.engine.dict_pinyin, r.engine.pinyinRawPath, r.is_last, r.aids);
    TTS_TRACEF_AS(kRequest, 1000, "i=%d index=%d str=%s ret=%d \n", i, r.at(i).index,
                  r.at(i).str.c_str(), r.ret);
    r.spoken_by = r.at(i).str == "error" ? speech_rule::pause : speech_rule::syllable;
    return result_of_clip(r, i);
}

static int speak_chinese(request_t &r, int i) {
    TTS_TRACE_AS(kRequest, 888);
    const bool before_chinese = r.has(i + 1) && r.at(i + 1).type == kChineseCharacter;
    if (++r.pinyin_index == 1) {
        TTS_TRACE_AS(kRequest, 892);
        if (before_chinese) {
            if (const int done = speak_surname_pair(r, i)) return done;
        }
        if (const int done = speak_surname(r, i)) return done;
    }
    if (const int done = speak_phrase(r, i)) return done;
    TTS_TRACE_AS(kRequest, 969);
    if (before_chinese) {
        if (const int done = speak_pair(r, i)) return done;
    }
    if (r.ret == kPhoneUnlisted) return drop_unlisted_phone(r, i);
    return speak_syllable(r, i);
}

// `text` is that of the first segment before its rule changed it; rules change no other.
static void report_run(request_t &r, const std::string &text, int first, int count) {
    if (r.report == nullptr) return;
    spoken_run run = {r.spoken_by, text, std::move(r.played), r.at(first).rawData.length};
    for (int i = first + 1; i < first + count; ++i) {
        run.text += r.at(i).str;
        run.length += r.at(i).rawData.length;
    }
    r.report->spoken.push_back(std::move(run));
    r.played.clear();
}

static void speak_segments(request_t &r) {
    if (r.report != nullptr) r.aids.played = &r.played;
    r.vstr_size = static_cast<int>(r.splits_str.size());
    for (int i = 0; i < r.vstr_size;) {
        const split_rawData &segment = r.at(i);
        TTS_INFO("input elem [%d] info : str=%s, index=%d, type=%d \n", i, segment.str.c_str(),
                 segment.index, segment.type);
        const std::string text = r.report != nullptr ? segment.str : "";
        const int done = segment.type == kEnglishWord ? speak_english(r, i) : speak_chinese(r, i);
        if (done == kDropped) break;
        report_run(r, text, i, done);
        i += done;
    }
}

// ==== a request: the pause, the greetings, the image ====

// The report of a clip that no rule chose, at a place from the front, or at the end when that is
// -1: its text is its name.
static void report_clip(request_t &r, speech_rule rule, const split_rawData &clip, int place) {
    if (r.report == nullptr) return;
    std::vector<spoken_run> &spoken = r.report->spoken;
    std::vector<std::string> clips;
    if (!clip.str.empty()) clips.push_back(clip.str);
    spoken.insert(place < 0 ? spoken.end() : spoken.begin() + place,
                  {rule, clip.str, std::move(clips), clip.rawData.length});
}

static void put_leading_pause(request_t &r) {
    const auto pause =
        r.splits_str.insert(r.splits_str.begin(), {"pau_beg", kLeadingPause, kPauseIndex, {}});
    pause->rawData = read_raw_data((r.engine.greetingRawPath + pause->str).c_str());
    report_clip(r, speech_rule::leading_pause, *pause, 0);
    TTS_INFO("short pause inserted at the beginning.\n");
}

// A caller in C may have stored any number in the enumeration.
static int position_number(const greeting_positon_e &pos) {
    static_assert(sizeof(pos) == sizeof(int), "the enumeration has the size of int");
    int number = 0;
    memcpy(&number, &pos, sizeof(number));
    return number;
}

static void put_greetings(request_t &r, const greetings_t &greetings) {
    if (greetings.position == GREETING_CLOSE) TTS_INFO("tts without greetings! \n");
    if (greetings.position != GREETING_AHEAD && greetings.position != GREETING_END) return;

    const bool ahead = greetings.position == GREETING_AHEAD;
    const bool spoken_language = greetings.language_type == 0 || greetings.language_type == 1;
    if (!spoken_language) TTS_INFO("greetings only support english and chinese. \n");
    const split_rawData(&slots)[kGreetingSlots] =
        greetings.language_type == 1 ? r.engine.greetingData_eng : r.engine.greetingData_ch;
    const int gcounts = r.engine.greet_count;
    const int count = spoken_language && gcounts >= 1 ? greetings.greets_num : 0;
    for (int k = 0; k < count; ++k) {
        const int id = greetings.greets_id[k];
        // An id equal to the count passes: it names the empty slot after the loaded ones.
        if (id < 0 || id > gcounts) break;
        if (id >= kGreetingSlots) throw std::out_of_range("greeting id past the greeting slots");
        const split_rawData &slot = slots[id];
        r.splits_str.insert(ahead ? r.splits_str.begin() + k : r.splits_str.end(), slot);
        report_clip(r, speech_rule::greeting, slot, ahead ? k : -1);
    }
    if (ahead) {
        TTS_INFO("tts with greetings ahead \n");
    } else {
        TTS_INFO("tts with greetings at end \n");
    }
}

static void release_clips(request_t &r) {
    for (const split_rawData &segment : r.splits_str) {
        if (segment.type < kGreeting && segment.rawData.length > 0) free_rawData(segment.rawData);
    }
    r.splits_str.clear();
}

// Two clips per configured greeting are all that may stay alive.
static void check_leak(int gcounts) {
    const unsigned allocated = counted(malloc_count), freed = counted(free_count);
    if (allocated - freed != 2U * static_cast<unsigned>(gcounts)) {
        TTS_INFO("memory leak! malloc_count %d free_count %d \n", static_cast<int>(allocated),
                 static_cast<int>(freed));
    }
}

void tts_speak(void *hdl, char *str, char *out_buf, int *out_size, int buf_size,
               greet_param_t *pGreeting, speech_report *report) {
    TTS_TRACE_AS(kRequest, 810);
    const tts_engine_t &engine = *static_cast<const tts_engine_t *>(hdl);
    *out_size = 0;
    if (report != nullptr) *report = {};
    request_t request(engine);
    request.report = report;
    request.encrypted = engine.temp_language == JANPANESE || engine.temp_language == KOREAN;

    const greeting_config &defaults = engine.default_config;
    const int default_ids[] = {defaults.default_id, 0};
    const int no_ids[] = {0, 0};
    greetings_t greetings = {defaults.default_language, std::min(defaults.default_num, 1),
                             defaults.default_pos, default_ids};
    if (pGreeting != nullptr) {
        greetings = {pGreeting->language_type, pGreeting->greeting_num,
                     position_number(pGreeting->pos), pGreeting->greeting_id};
        if (greetings.greets_id == nullptr) greetings.greets_id = no_ids;
    }
    TTS_INFO("language:%d greets_num:%d position:%d id0:%d id1:%d \n", greetings.language_type,
             greetings.greets_num, greetings.position, greetings.greets_id[0],
             greetings.greets_id[1]);
    if (greetings.greets_id == no_ids) greetings.greets_num = 0;

    if (str == nullptr) throw std::logic_error("tts_getWavData: the text is null");
    const std::string words = str;
    std::string word_nodig = num2cn(getNumStrArray(words), words);
    TTS_INFO("tts input filted: %s \n", word_nodig.c_str());
    request.splits_str = split_ch_eng(word_nodig);

    request.len = check_temp_exist(request.splits_str, engine.dict_temp, request.index);
    TTS_INFO("%d check temp exist len len=%d index=%d\n", 863, request.len, request.index);
    TTS_INFO("vector size before=%d, capacity=%d \n", static_cast<int>(request.splits_str.size()),
             static_cast<int>(request.splits_str.capacity()));
    speak_segments(request);
    TTS_INFO("after  vector size:%d capacity=%d \n", static_cast<int>(request.splits_str.size()),
             static_cast<int>(request.splits_str.capacity()));
    put_leading_pause(request);
    put_greetings(request, greetings);
    TTS_INFO("new vector size:%d \n", static_cast<int>(request.splits_str.size()));
    *out_size = rawData2WavDram(request.splits_str, out_buf, buf_size);
    TTS_INFO("raw to wave finished \n");
    release_clips(request);
    check_leak(engine.greet_count);
    TTS_INFO("tts finished \n");
}

void tts_getWavData(void *hdl, char *str, char *out_buf, int *out_size, int buf_size,
                    greet_param_t *pGreeting) {
    tts_speak(hdl, str, out_buf, out_size, buf_size, pGreeting, nullptr);
}
