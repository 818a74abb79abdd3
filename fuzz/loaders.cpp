// Each loader on a file of any bytes, compared with what its lines say. The first byte selects the
// loader.
#include <algorithm>
#include <cstring>

#include "harness.h"
#include "rules.h"

namespace {

void store(dict_map &dict, const std::string &line) {
    const size_t equals = line.find('=');
    if (equals == std::string::npos) {
        dict[line] = line;
    } else {
        dict[line.substr(0, equals)] = line.substr(equals + 1);
    }
}

void check_pinyin(const std::string &bytes) {
    dict_map dict, expected;
    size_t sum = 0;
    for (const std::string &line : pieces_of(bytes, '\n')) {
        store(expected, line);
        sum += line.size() + 48;
    }
    CHECK(load_pinyin_dict(file_of(bytes), dict) == static_cast<int>(sum));
    CHECK(dict == expected);
    // Any three bytes are a character.
    if (bytes.size() < 3) return;
    const std::string reading = hanzi2pinyin(bytes, dict);
    CHECK(reading == "error" || std::any_of(dict.begin(), dict.end(),
                                            [&](auto &entry) { return entry.second == reading; }));
}

void check_english(const std::string &bytes) {
    dict_map dict, expected;
    size_t sum = 0;
    const std::vector<std::string> lines = pieces_of(bytes, '\n');
    for (size_t i = 0; i < lines.size(); ++i) {
        if (i % 2 == 1 && expected.count(lines[i - 1]) == 0) expected[lines[i - 1]] = lines[i];
        sum += lines[i].size() + 24;
    }
    CHECK(load_eng_dict(file_of(bytes), dict) == static_cast<int>(sum));
    CHECK(dict == expected);
}

// A toned reading stays; without a tone it stays, vanishes or gets a "1".
void check_tone(const std::string &reading, const phone_list &list, const phone_view &indexed) {
    const std::string toned = soft_tone(reading, list);
    CHECK(toned == complete_tone(reading, indexed));
    if (toned.empty() || toned == reading) return;
    CHECK(reading.find_first_of("1234") == std::string::npos);
    const size_t mark = toned.find('1');
    CHECK(mark != std::string::npos && mark > 0);
    CHECK(strchr("aoeiuv", toned[mark - 1]) != nullptr);
    CHECK(toned.substr(0, mark) + toned.substr(mark + 1) == reading);
}

void check_phones(const std::string &bytes) {
    const phone_list expected = pieces_of(bytes, '\n');
    size_t sum = 0;
    for (const std::string &name : expected) sum += name.size();
    phone_list list;
    CHECK(load_all_phone(file_of(bytes), list) == static_cast<int>(sum));
    CHECK(list == expected);

    const phone_index index = index_phones(list);
    const phone_view scanned(list), indexed(list, index);
    std::vector<std::string> names(
        list.begin(), list.begin() + std::min<long>(20, std::distance(list.begin(), list.end())));
    names.insert(names.end(), {"", "ma", "ma1"});
    for (const std::string &name : names) {
        CHECK(indexed.lists(name) == scanned.lists(name));
        if (list.empty()) continue;
        CHECK(indexed.is_phone(name) == scanned.is_phone(name));
        CHECK(indexed.last_names_before(name) == scanned.last_names_before(name));
        check_tone(name, list, indexed);
    }
}

void check_scrambled(const std::string &bytes) {
    // The input is the plain text, so that the fuzzer sees what it writes.
    std::string scrambled = bytes;
    CHECK(de_encrypt(static_cast<int>(bytes.size()), bytes.data(), scrambled.data()) == 0);
    dict_map dict, expected;
    size_t sum = 0;
    const std::string text = bytes.substr(0, bytes.find('\0'));
    for (size_t at = 0, end = 0; (end = text.find("du4", at)) != std::string::npos;) {
        const std::string record = text.substr(at, end + 3 - at);
        at = std::min(end + 4, text.size());
        if (record.size() > 128) continue;
        store(expected, record);
        sum += record.size() + 48;
    }
    CHECK(load_temp_dict(file_of(scrambled), dict) == static_cast<int>(sum));
    CHECK(dict == expected);
    de_encrypt(static_cast<int>(scrambled.size()), scrambled.data(), scrambled.data());
    CHECK(scrambled == bytes);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static constexpr void (*kLoaders[])(const std::string &) = {check_pinyin, check_phones,
                                                                check_english, check_scrambled};
    input bytes(data, size);
    const auto loader = static_cast<unsigned>(bytes.number()) % 4U;
    kLoaders[loader](bytes.rest());
    return 0;
}
