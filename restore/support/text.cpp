#include "restore/support/text.hpp"

#include <algorithm>
#include <array>
#include <iomanip>
#include <locale>
#include <sstream>

namespace tolvaran::text {
namespace {

// Every blank and line end that Unicode knows, in UTF-8: what Foundation trims as whitespace and
// newlines.
constexpr std::array<std::string_view, 25> whitespace{
    "\t",           "\n",           "\v",           "\f",           "\r",           " ",
    "\xC2\x85",     "\xC2\xA0",     "\xE1\x9A\x80", "\xE2\x80\x80", "\xE2\x80\x81", "\xE2\x80\x82",
    "\xE2\x80\x83", "\xE2\x80\x84", "\xE2\x80\x85", "\xE2\x80\x86", "\xE2\x80\x87", "\xE2\x80\x88",
    "\xE2\x80\x89", "\xE2\x80\x8A", "\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x80\xAF", "\xE2\x81\x9F",
    "\xE3\x80\x80",
};

/// The length of the blank of which `has` says that the text has it; 0 when it has none.
template <typename Has>
std::size_t blank(Has has) {
    const auto found = std::ranges::find_if(whitespace, has);
    return found == whitespace.end() ? 0 : found->size();
}

}  // namespace

std::string fixed(double value, int decimals, int width) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << std::fixed << std::setprecision(decimals) << std::setw(width) << value;
    return out.str();
}

std::string describe(const std::map<std::string, std::string>& mapping) {
    std::string entries;
    for (const auto& [key, value] : mapping) {
        entries += (entries.empty() ? "\"" : ", \"") + key + "\": \"" + value + "\"";
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
