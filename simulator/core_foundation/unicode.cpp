#include "simulator/core_foundation/unicode.hpp"

#include <array>

namespace simulator::cf {
namespace {

// How a sequence of this many bytes begins, and the least code point that needs that many.
struct Form {
    unsigned char mask;
    unsigned char lead;
    char32_t least;
};
constexpr std::array<Form, 4> forms{{
    {0x80, 0x00, 0x0},
    {0xE0, 0xC0, 0x80},
    {0xF0, 0xE0, 0x800},
    {0xF8, 0xF0, 0x10000},
}};

// Core Foundation refuses bytes that are not UTF-8, with one exception for old applications: the
// copyright sign in other encodings.
constexpr unsigned char strayCopyrightSign = 0xA9;
constexpr char32_t replacementCharacter = 0xFFFD;

constexpr bool isSurrogate(char32_t value) {
    return value >= 0xD800 && value <= 0xDFFF;
}

/// Removes the first code point from `bytes` and returns it.
std::optional<char32_t> take(std::string_view& bytes) {
    const auto lead = static_cast<unsigned char>(bytes.front());
    if (lead == strayCopyrightSign) {
        bytes.remove_prefix(1);
        return replacementCharacter;
    }
    std::size_t length = 0;
    while (length < forms.size() && (lead & forms[length].mask) != forms[length].lead) {
        ++length;
    }
    if (length == forms.size() || bytes.size() <= length) {
        return std::nullopt;
    }
    char32_t value = lead & static_cast<unsigned char>(~forms[length].mask);
    for (std::size_t i = 1; i <= length; ++i) {
        const auto next = static_cast<unsigned char>(bytes[i]);
        if ((next & 0xC0) != 0x80) {
            return std::nullopt;
        }
        value = (value << 6) | (next & 0x3F);
    }
    if (value < forms[length].least || value > 0x10FFFF || isSurrogate(value)) {
        return std::nullopt;
    }
    bytes.remove_prefix(length + 1);
    return value;
}

}  // namespace

std::optional<std::u16string> utf16(std::string_view utf8) {
    std::u16string text;
    text.reserve(utf8.size());
    while (!utf8.empty()) {
        if (static_cast<unsigned char>(utf8.front()) <= 0x7F) {
            text.push_back(static_cast<char16_t>(utf8.front()));
            utf8.remove_prefix(1);
            continue;
        }
        const std::optional<char32_t> value = take(utf8);
        if (!value) {
            return std::nullopt;
        }
        if (*value < 0x10000) {
            text.push_back(static_cast<char16_t>(*value));
        } else {
            text.push_back(static_cast<char16_t>(0xD7C0 + (*value >> 10)));
            text.push_back(static_cast<char16_t>(0xDC00 + (*value & 0x3FF)));
        }
    }
    return text;
}

std::optional<CodePoint> codePoint(std::u16string_view text, std::size_t at) {
    const char32_t first = text[at];
    if (!isSurrogate(first)) {
        return CodePoint{first, 1};
    }
    if (first >= 0xDC00 || at + 1 == text.size()) {
        return std::nullopt;
    }
    const char32_t second = text[at + 1];
    if (second < 0xDC00 || second > 0xDFFF) {
        return std::nullopt;
    }
    return CodePoint{((first - 0xD7C0) << 10) + (second - 0xDC00), 2};
}

std::string utf8(char32_t codePoint) {
    std::size_t length = 0;
    while (length + 1 < forms.size() && codePoint >= forms[length + 1].least) {
        ++length;
    }
    std::string bytes(length + 1, '\0');
    for (std::size_t i = length; i > 0; --i) {
        bytes[i] = static_cast<char>(0x80 | (codePoint & 0x3F));
        codePoint >>= 6;
    }
    bytes[0] = static_cast<char>(forms[length].lead | codePoint);
    return bytes;
}

}  // namespace simulator::cf
