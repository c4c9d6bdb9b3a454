#include "tools/describe/base64.hpp"

#include <algorithm>
#include <cstdint>

namespace tolvaran::describe {
namespace {

constexpr std::string_view digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Up to three bytes as four characters.
std::string group(std::string_view bytes) {
    std::uint32_t bits = 0;
    for (std::size_t index = 0; index < 3; ++index) {
        const auto byte = index < bytes.size() ? static_cast<unsigned char>(bytes[index]) : 0U;
        bits = bits << 8U | byte;
    }
    std::string text = "====";
    for (std::size_t index = 0; index <= bytes.size(); ++index) {
        text[index] = digits[bits >> (18U - 6U * index) & 0x3FU];
    }
    return text;
}

}  // namespace

std::string base64(std::string_view bytes) {
    std::string text;
    for (std::size_t start = 0; start < bytes.size(); start += 3) {
        text += group(bytes.substr(start, 3));
    }
    return text;
}

std::string base64Decoded(std::string_view text) {
    std::string bytes;
    std::uint32_t bits = 0;
    unsigned count = 0;  // of bits that are not in `bytes` yet
    for (const char digit : text.substr(0, text.find('='))) {
        bits = bits << 6U | static_cast<std::uint32_t>(digits.find(digit));
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> count & 0xFFU);
        }
    }
    return bytes;
}

}  // namespace tolvaran::describe
