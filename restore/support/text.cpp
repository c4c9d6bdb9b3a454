#include "restore/support/text.hpp"

#include <algorithm>
#include <iomanip>
#include <locale>
#include <sstream>

namespace tolvaran::text {
namespace {

// Space, tab, line feed, vertical tab, form feed, carriage return.
constexpr std::string_view whitespace = " \t\n\v\f\r";

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
    const auto first = value.find_first_not_of(whitespace);
    if (first == std::string_view::npos) {
        return {};
    }
    return value.substr(first, value.find_last_not_of(whitespace) - first + 1);
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
