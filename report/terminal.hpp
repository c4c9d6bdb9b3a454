// Pictures and tables for the summary on a terminal.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace simulator::report {

/// What standard output is. A file or a pipe is not a terminal.
struct Terminal {
    bool isTerminal = false;
    bool hasColour = false;
    bool hasBoxDrawing = false;  // shows more than ASCII
    int columns = 80;

    bool operator==(const Terminal&) const = default;
};

/// Reads a terminal's abilities from the environment: COLUMNS, NO_COLOR (unless it is empty), TERM,
/// and the locale from the first of LC_ALL, LC_CTYPE and LANG that is set.
/// @param columns its width as the system tells it, 0 if it does not
/// @param variable gives an environment variable's value
Terminal terminalOf(bool isTerminal, int columns,
                    const std::function<std::optional<std::string>(const char*)>& variable);

/// What this process's standard output is.
Terminal terminalOfStandardOutput();

/// The displays before and after, drawn to scale in characters, which are twice as high as wide;
/// beside each other where there is room. Lines end with "\n".
std::string characterPicture(const nlohmann::json& result, const Terminal& terminal);

/// The displays before and after as text, in ASCII but for their names: for each its origin, mode
/// and menu bar on either side; "the same" where nothing changed.
std::string displayTable(const nlohmann::json& result);

}  // namespace simulator::report
