#include "simulator/core_foundation/base64.hpp"

#include <cstdint>
#include <stdexcept>

namespace simulator::cf {
namespace {

constexpr std::string_view digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string base64Encoded(std::string_view bytes) {
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::string_view group = bytes.substr(at, 3);
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            bits = bits << 8 | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0U);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            text += i <= group.size() ? digits[bits >> (18 - 6 * i) & 63] : '=';
        }
    }
    return text;
}

std::string base64Decoded(std::string_view text) {
    const std::size_t padding = text.size() - text.substr(0, text.find_last_not_of('=') + 1).size();
    if (text.size() % 4 != 0 || padding > 2) {
        throw std::invalid_argument("is not base64");
    }
    std::string bytes;
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isPadding = i >= text.size() - padding;
        const std::size_t digit = isPadding ? 0 : digits.find(text[i]);
        if (digit == std::string_view::npos) {
            throw std::invalid_argument("is not base64");
        }
        bits = bits << 6 | static_cast<std::uint32_t>(digit);
        if (i % 4 == 3) {
            for (int shift = 16; shift >= 0; shift -= 8) {
                bytes += static_cast<char>(bits >> shift & 0xFF);
            }
        }
    }
    bytes.resize(bytes.size() - padding);
    return bytes;
}

}  // namespace simulator::cf
