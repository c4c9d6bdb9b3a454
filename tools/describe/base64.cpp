#include "tools/describe/base64.hpp"

#include <algorithm>
#include <cstdint>

namespace tolvaran::describe {
namespace {

/// Up to three bytes as four characters.
std::string group(std::string_view bytes) {
    constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
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

}  // namespace tolvaran::describe
