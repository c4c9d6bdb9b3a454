// Makes text from scenarios, logs and files safe to show: display names, file names and log lines
// may contain anything. Used by everything that writes a report.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace simulator::report {

/// UTF-8 as code points; bytes that are not UTF-8 become U+FFFD.
std::u32string codePoints(std::string_view text);
std::string utf8(std::u32string_view text);

/// `text` without anything that could control a terminal or a page: control characters become their
/// pictures (from U+2400 on) or U+FFFD; characters that change the writing direction, and code
/// points that are not characters, become U+FFFD. Line ends and tabs stay.
std::string harmless(std::string_view text);

/// harmless() text on one line.
std::string oneLine(std::string_view text);

/// harmless() text with the special characters of HTML and SVG written as references, for use as
/// content or as an attribute's value in quotes.
std::string escaped(std::string_view text);

/// How many columns of a terminal the text takes.
int columns(std::u32string_view text);

/// A value as JSON on one line; a string is in quotes.
std::string compact(const nlohmann::json& value);
/// The elements of a list as compact(), separated by ", ".
std::string compactList(const nlohmann::json& list);

/// A finite number in its shortest form, whatever the host's locale.
std::string number(double value);
/// A number with at most two decimals, for coordinates in pictures.
std::string coordinate(double value);
/// Seconds with three decimals.
std::string seconds(double value);

/// "1 file", "2 files".
std::string counted(std::size_t count, const std::string& one, const std::string& many);
std::string joined(const std::vector<std::string>& parts, const std::string& separator);
std::vector<std::string> lines(std::string_view text);

}  // namespace simulator::report
