#include "report/text.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace simulator::report {
namespace {

constexpr char32_t replacement = 0xFFFD;

struct Range {
    char32_t first;
    char32_t last;
};

template <std::size_t size>
bool isIn(const std::array<Range, size>& ranges, char32_t c) {
    return std::any_of(ranges.begin(), ranges.end(),
                       [c](const Range& range) { return range.first <= c && c <= range.last; });
}

// These change how the text around them is read, or are not characters at all.
constexpr std::array<Range, 8> harmful{{{0x80, 0x9F},
                                        {0x061C, 0x061C},
                                        {0x200E, 0x200F},
                                        {0x2028, 0x202E},
                                        {0x2066, 0x2069},
                                        {0xFDD0, 0xFDEF},
                                        {0xFFF9, 0xFFFB},
                                        {0xE0000, 0xE007F}}};
// These take no column, or two.
constexpr std::array<Range, 3> combining{{{0x0300, 0x036F}, {0x200B, 0x200F}, {0xFE00, 0xFE0F}}};
constexpr std::array<Range, 8> wide{{{0x1100, 0x115F},
                                     {0x2E80, 0xA4CF},
                                     {0xAC00, 0xD7A3},
                                     {0xF900, 0xFAFF},
                                     {0xFE30, 0xFE6F},
                                     {0xFF00, 0xFF60},
                                     {0x1F300, 0x1FAFF},
                                     {0x20000, 0x3FFFD}}};

char32_t harmlessCharacter(char32_t c) {
    if (c == U'\n' || c == U'\t') {
        return c;
    }
    if (c < 0x20) {
        return 0x2400 + c;
    }
    if (c == 0x7F) {
        return 0x2421;
    }
    const bool isNone = (c & 0xFFFE) == 0xFFFE;
    return isNone || isIn(harmful, c) ? replacement : c;
}

/// The length of the sequence that begins with this byte; 0 if none does.
std::size_t sequenceLength(unsigned char lead) {
    constexpr std::array<std::size_t, 16> lengths{1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 2, 2, 3, 4};
    return lead >= 0xF8 ? 0 : lengths[lead >> 4U];
}

bool isScalar(char32_t c, std::size_t length) {
    constexpr std::array<char32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
    return c >= least[length] && c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF);
}

/// Removes and returns the next code point of `text`.
char32_t next(std::string_view& text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const std::size_t length = sequenceLength(byte(0));
    char32_t c = length < 2 ? byte(0) : byte(0) & (0xFFU >> (length + 1));
    bool good = length > 0 && length <= text.size();
    for (std::size_t i = 1; good && i < length; ++i) {
        good = (byte(i) & 0xC0U) == 0x80;
        c = (c << 6U) | (byte(i) & 0x3FU);
    }
    good = good && isScalar(c, length);
    text.remove_prefix(good ? length : 1);
    return good ? c : replacement;
}

std::string digits(std::int64_t scaled, std::int64_t unit, bool keepsZeros) {
    std::string fraction = std::to_string(unit + std::abs(scaled) % unit).substr(1);
    while (!keepsZeros && !fraction.empty() && fraction.back() == '0') {
        fraction.pop_back();
    }
    return (scaled < 0 ? "-" : "") + std::to_string(std::abs(scaled) / unit) +
           (fraction.empty() ? "" : "." + fraction);
}

/// A number that is too large for a picture is limited.
std::int64_t rounded(double value, double unit) {
    constexpr double limit = 9e15;
    return std::isfinite(value) ? std::llround(std::clamp(value * unit, -limit, limit)) : 0;
}

}  // namespace

std::u32string codePoints(std::string_view text) {
    std::u32string result;
    while (!text.empty()) {
        result += next(text);
    }
    return result;
}

std::string utf8(std::u32string_view text) {
    std::string bytes;
    const auto tail = [&](char32_t c, unsigned shift) {
        bytes += static_cast<char>(0x80U | ((c >> shift) & 0x3FU));
    };
    for (const char32_t c : text) {
        if (c < 0x80) {
            bytes += static_cast<char>(c);
        } else if (c < 0x800) {
            bytes += static_cast<char>(0xC0U | (c >> 6U));
            tail(c, 0);
        } else if (c < 0x10000) {
            bytes += static_cast<char>(0xE0U | (c >> 12U));
            tail(c, 6);
            tail(c, 0);
        } else {
            bytes += static_cast<char>(0xF0U | (c >> 18U));
            tail(c, 12);
            tail(c, 6);
            tail(c, 0);
        }
    }
    return bytes;
}

std::string harmless(std::string_view text) {
    std::u32string characters = codePoints(text);
    std::transform(characters.begin(), characters.end(), characters.begin(), harmlessCharacter);
    return utf8(characters);
}

std::string oneLine(std::string_view text) {
    std::string result = harmless(text);
    std::replace(result.begin(), result.end(), '\n', ' ');
    std::replace(result.begin(), result.end(), '\t', ' ');
    return result;
}

std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : harmless(text)) {
        switch (c) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            case '\'':
                result += "&#39;";
                break;
            default:
                result += c;
        }
    }
    return result;
}

int columns(std::u32string_view text) {
    int count = 0;
    for (const char32_t c : text) {
        if (!isIn(combining, c)) {
            count += isIn(wide, c) ? 2 : 1;
        }
    }
    return count;
}

std::string compact(const nlohmann::json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string compactList(const nlohmann::json& list) {
    std::vector<std::string> parts;
    std::transform(list.begin(), list.end(), std::back_inserter(parts), compact);
    return joined(parts, ", ");
}

std::string number(double value) {
    constexpr double exact = 9007199254740992.0;
    if (std::abs(value) < exact && value == std::trunc(value)) {
        return std::to_string(static_cast<std::int64_t>(value));
    }
    return compact(value);
}

std::string coordinate(double value) {
    return digits(rounded(value, 100), 100, false);
}

std::string seconds(double value) {
    return digits(rounded(value, 1000), 1000, true);
}

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string joined(const std::vector<std::string>& parts, const std::string& separator) {
    std::string result;
    for (const std::string& part : parts) {
        result += (result.empty() ? "" : separator) + part;
    }
    return result;
}

std::vector<std::string> lines(std::string_view text) {
    std::vector<std::string> result;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        result.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return result;
}

}  // namespace simulator::report
