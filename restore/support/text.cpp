#include "restore/support/text.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <locale>
#include <sstream>
#include <utility>

namespace tolvaran::text {
namespace {

// Every character with Unicode's White_Space property, line ends included, in UTF-8.
constexpr std::array<std::string_view, 25> whitespace{
    "\t",           "\n",           "\v",           "\f",           "\r",           " ",
    "\xC2\x85",     "\xC2\xA0",     "\xE1\x9A\x80", "\xE2\x80\x80", "\xE2\x80\x81", "\xE2\x80\x82",
    "\xE2\x80\x83", "\xE2\x80\x84", "\xE2\x80\x85", "\xE2\x80\x86", "\xE2\x80\x87", "\xE2\x80\x88",
    "\xE2\x80\x89", "\xE2\x80\x8A", "\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x80\xAF", "\xE2\x81\x9F",
    "\xE3\x80\x80",
};

/// The length of the blank for which `has` is true; 0 if there is none.
template <typename Has>
std::size_t blank(Has has) {
    const auto found = std::ranges::find_if(whitespace, has);
    return found == whitespace.end() ? 0 : found->size();
}

/// What is escaped in quoted text, and how. This includes line ends that are not ASCII, because a
/// reader of the log may break lines at them.
constexpr std::array<std::pair<std::string_view, std::string_view>, 8> escapes{{
    {"\"", "\\\""},
    {"\\", "\\\\"},
    {"\n", "\\n"},
    {"\r", "\\r"},
    {"\t", "\\t"},
    {"\xC2\x85", "\\u{85}"},
    {"\xE2\x80\xA8", "\\u{2028}"},
    {"\xE2\x80\xA9", "\\u{2029}"},
}};

/// `value` between quotation marks.
std::string inQuotes(std::string_view value) {
    constexpr std::string_view hexadecimal = "0123456789ABCDEF";
    std::string result = "\"";
    while (!value.empty()) {
        const auto escape = std::ranges::find_if(
            escapes, [&](const auto& one) { return value.starts_with(one.first); });
        const auto byte = static_cast<unsigned char>(value.front());
        std::size_t length = 1;
        if (escape != escapes.end()) {
            result += escape->second;
            length = escape->first.size();
        } else if (byte < 0x20 || byte == 0x7F) {
            result += {'\\', 'u', '{', hexadecimal[byte / 16U], hexadecimal[byte % 16U], '}'};
        } else {
            result += value.front();
        }
        value.remove_prefix(length);
    }
    return result + "\"";
}

/// How many bytes follow a first byte between `first` and `last` in UTF-8, and the range of the
/// second byte. The others lie between 0x80 and 0xBF.
struct Sequence {
    unsigned char first;
    unsigned char last;
    std::size_t following;
    unsigned char least = 0x80;
    unsigned char greatest = 0xBF;
};
constexpr std::array<Sequence, 8> sequences{{
    {0xC2, 0xDF, 1},
    {0xE0, 0xE0, 2, 0xA0, 0xBF},  // not what fits in two bytes
    {0xE1, 0xEC, 2},
    {0xED, 0xED, 2, 0x80, 0x9F},  // not a surrogate
    {0xEE, 0xEF, 2},
    {0xF0, 0xF0, 3, 0x90, 0xBF},  // not what fits in three bytes
    {0xF1, 0xF3, 3},
    {0xF4, 0xF4, 3, 0x80, 0x8F},  // not beyond U+10FFFF
}};

/// The end of the ASCII characters that begin at `start`.
std::size_t endOfASCII(std::string_view bytes, std::size_t start) {
    constexpr std::uint64_t highBits = 0x8080808080808080;
    std::uint64_t eight = 0;
    std::size_t at = start;
    for (; at + sizeof eight <= bytes.size(); at += sizeof eight) {
        std::memcpy(&eight, bytes.data() + at, sizeof eight);
        if ((eight & highBits) != 0) {
            break;
        }
    }
    while (at < bytes.size() && static_cast<unsigned char>(bytes[at]) < 0x80) {
        ++at;
    }
    return at;
}

}  // namespace

std::size_t findInvalidUTF8(std::string_view bytes) {
    std::size_t at = endOfASCII(bytes, 0);
    while (at < bytes.size()) {
        const auto lead = static_cast<unsigned char>(bytes[at]);
        const auto sequence = std::ranges::find_if(
            sequences, [&](const Sequence& one) { return one.first <= lead && lead <= one.last; });
        if (sequence == sequences.end()) {
            return at;
        }
        unsigned char least = sequence->least;
        unsigned char greatest = sequence->greatest;
        for (std::size_t left = sequence->following; left > 0; --left) {
            ++at;
            const auto byte = at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
            if (byte < least || byte > greatest) {
                return at;
            }
            least = 0x80;
            greatest = 0xBF;
        }
        at = endOfASCII(bytes, at + 1);
    }
    return std::string_view::npos;
}

std::string fixed(double value, int decimals, int width) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << std::fixed << std::setprecision(decimals) << std::setw(width) << value;
    return out.str();
}

std::string describe(const std::map<std::string, std::string>& mapping) {
    std::string entries;
    for (const auto& [key, value] : mapping) {
        entries += (entries.empty() ? "" : ", ") + inQuotes(key) + ": " + inQuotes(value);
    }
    return entries.empty() ? "[:]" : "[" + entries + "]";
}

std::string_view trimmed(std::string_view value) {
    const auto atStart = [&](std::string_view space) { return value.starts_with(space); };
    const auto atEnd = [&](std::string_view space) { return value.ends_with(space); };
    while (const std::size_t length = blank(atStart)) {
        value.remove_prefix(length);
    }
    while (const std::size_t length = blank(atEnd)) {
        value.remove_suffix(length);
    }
    return value;
}

std::string lowercased(std::string value) {
    std::transform(value.begin(), value.end(), value.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return value;
}

std::string uppercased(std::string value) {
    std::transform(value.begin(), value.end(), value.begin(), [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    return value;
}

}  // namespace tolvaran::text
