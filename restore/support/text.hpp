// Text that must come out the same on every Mac, whatever its language and region. Any thread may
// use it.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace tolvaran::text {

/// `value` with `decimals` places and a decimal point, at least `width` characters wide (padded
/// with blanks on the left).
std::string fixed(double value, int decimals, int width = 0);

/// The position of the first byte that makes `bytes` invalid as UTF-8, or the end if the last
/// character is cut off; npos if all of it is valid.
std::size_t findInvalidUTF8(std::string_view bytes);
inline bool isUTF8(std::string_view bytes) {
    return findInvalidUTF8(bytes) == std::string_view::npos;
}

/// `mapping` as log lines show it, in key order: ["old": "new", "older": "new"], or [:] if it is
/// empty. Quotation marks, backslashes, line ends and control characters are escaped, as \", \\, \n
/// or \u{2028}.
std::string describe(const std::map<std::string, std::string>& mapping);

/// `value` without white space and line ends at either end.
std::string_view trimmed(std::string_view value);

/// `value` with its ASCII letters in lower or upper case; other bytes stay.
std::string lowercased(std::string value);
std::string uppercased(std::string value);

}  // namespace tolvaran::text
