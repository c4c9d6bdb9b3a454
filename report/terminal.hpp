// Pictures and tables for the summary on a terminal.
#pragma once

#include <functional>
#include <nlohmann/json_fwd.hpp>
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
/// @param columns its width according to the system; 0 if unknown
/// @param variable returns an environment variable's value
Terminal terminalOf(bool isTerminal, int columns,
                    const std::function<std::optional<std::string>(const char*)>& variable);

/// Describes this process's standard output.
Terminal terminalOfStandardOutput();

/// The displays before and after, drawn to scale in characters, which are twice as high as wide;
/// side by side if there is room. Lines end with "\n".
std::string characterPicture(const nlohmann::json& result, const Terminal& terminal);

/// The displays before and after as text, in ASCII except for their names: for each its origin,
/// mode and menu bar on either side; "the same" if nothing changed.
std::string displayTable(const nlohmann::json& result);

}  // namespace simulator::report
