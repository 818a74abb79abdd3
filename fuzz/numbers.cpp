// Numbers found in any bytes, read, and put into the text.
#include <algorithm>
#include <stdexcept>

#include "harness.h"

namespace {

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_whole_characters(const std::string &reading) {
    return reading.size() % 3 == 0 &&
           std::all_of(reading.begin(), reading.end(), [](char c) { return (c & 0x80) != 0; });
}

// Calls a reading that may only end in std::out_of_range; false when it does.
template <class call>
bool readable(const call &read) {
    try {
        read();
        return true;
    } catch (const std::out_of_range &) {
        return false;
    }
}

bool is_quantity(const std::string &digit, const std::string &text, size_t after) {
    if (digit.size() == 11) return false;
    if (digit.size() <= 3 && std::count(digit.begin(), digit.end(), '.') <= 1) return true;
    return occurs_at(text, after, "度");
}

// All digits but a final '9' are in the numbers, in order; each is replaced in its place.
void check_text(const std::string &text) {
    const std::vector<std::string> numbers = getNumStrArray(text);
    std::string expected;
    std::string digits;
    size_t at = 0;
    const bool whole = readable([&] {
        for (const std::string &number : numbers) {
            CHECK(number.find_first_not_of("0123456789.") == std::string::npos);
            CHECK(number.empty() || (is_digit(number.front()) && number.back() != '.'));
            const size_t found = text.find(number, at);
            CHECK(found != std::string::npos);
            expected += text.substr(at, found - at);
            at = found + number.size();
            expected += is_quantity(number, text, at) ? an_2_cn(number, "low") : num_str(number);
        }
        expected += text.substr(at);
    });
    for (const std::string &number : numbers) digits += number;
    digits.erase(std::remove(digits.begin(), digits.end(), '.'), digits.end());
    std::string all;
    std::copy_if(text.begin(), text.end(), std::back_inserter(all), is_digit);
    if (!text.empty() && text.back() == '9') all.pop_back();
    CHECK(digits == all);

    std::string result;
    CHECK(readable([&] { result = num2cn(numbers, text); }) == whole);
    CHECK(!whole || result == expected);
}

// Any bytes as one number.
void check_number(const std::string &bytes, const char *mode) {
    CHECK(num_str(bytes).size() <= 3 * bytes.size() && is_whole_characters(num_str(bytes)));
    readable([&] { CHECK(is_whole_characters(an_2_cn(bytes, mode))); });
    readable([&] {
        std::string digits = bytes;
        CHECK(is_whole_characters(digit2hanzi(digits, mode)));
        CHECK(digits.size() <= bytes.size());
    });
    const std::vector<std::string> pieces = stringSplit(bytes, '.');
    std::string joined;
    for (const std::string &piece : pieces) joined += piece + ".";
    if (!joined.empty() && joined != bytes) joined.pop_back();
    CHECK(joined == bytes);
    std::string rest = bytes;
    delete_digit(rest);
    CHECK(std::none_of(rest.begin(), rest.end(), is_digit));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static constexpr const char *kModes[] = {"low", "up", "rmb", "none"};
    input bytes(data, size);
    const int mode = bytes.number();
    const std::string text = bytes.rest();
    check_text(text);
    if (mode > 0) check_number(text, kModes[mode % 4]);
    return 0;
}
