// Text from scenarios, logs and files as it may be shown: display names, file names and log lines
// may hold anything. Used by everything that writes a report.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace simulator::report {

/// UTF-8 as code points; bytes that are not UTF-8 become U+FFFD.
std::u32string codePoints(std::string_view text);
std::string utf8(std::u32string_view text);

/// `text` with nothing left that would control a terminal or a page: control characters become
/// their pictures (U+2400 and on) or U+FFFD, and characters that turn the direction of writing or
/// stand for no character become U+FFFD. Line ends and tabs stay.
std::string harmless(std::string_view text);

/// harmless(), and on one line.
std::string oneLine(std::string_view text);

/// harmless(), with the characters that HTML and SVG give a meaning to written as references, so
/// that it stands for itself both as content and as an attribute's value in quotes.
std::string escaped(std::string_view text);

/// How many columns of a terminal the text takes.
int columns(std::u32string_view text);

/// A value as JSON on one line; a string among them in quotes.
std::string compact(const nlohmann::json& value);
/// The elements of a list as compact(), separated by ", ".
std::string compactList(const nlohmann::json& list);

/// A number in the shortest form, whatever the host's locale. JSON has no other numbers.
std::string number(double value);
/// A number with two digits after the point at most, for coordinates in pictures.
std::string coordinate(double value);
/// Seconds with three digits after the point.
std::string seconds(double value);

/// "1 file", "2 files".
std::string counted(std::size_t count, const std::string& one, const std::string& many);
std::string joined(const std::vector<std::string>& parts, const std::string& separator);
std::vector<std::string> lines(std::string_view text);

}  // namespace simulator::report
