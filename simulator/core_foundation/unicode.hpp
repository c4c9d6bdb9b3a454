// Strict UTF-8 and UTF-16: no overlong forms, nothing above U+10FFFF, no encoded surrogates.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace simulator::cf {

/// None if the bytes are not valid UTF-8.
std::optional<std::u16string> utf16(std::string_view utf8);

/// The code point that begins at `at`, and how many units it takes; none for a lone surrogate.
struct CodePoint {
    char32_t value;
    std::size_t units;
};
std::optional<CodePoint> codePoint(std::u16string_view text, std::size_t at);

/// A code point's UTF-8 form.
std::string utf8(char32_t codePoint);

}  // namespace simulator::cf
