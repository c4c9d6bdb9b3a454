// What the lines of the helper's log say: their parts, and the steps of a restore run. Used by the
// timeline, by the comparison of two logs, by the player, and by tolvaran_describe.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace simulator::report {

/// One line of the helper's log file: "[time] [elapsed] [helper] [level] message".
struct LogLine {
    std::string time;     // local, "2026-11-22 07:20:01.123"
    std::string elapsed;  // seconds since the helper's first line
    std::string level;
    std::string message;

    bool operator==(const LogLine&) const = default;
};

/// None for text that does not have the form.
std::optional<LogLine> readLogLine(std::string_view line);

/// The steps of a restore run, in order.
struct Step {
    std::string_view name;                  // in the log
    const char* title;                      // for people
    std::array<std::string_view, 2> calls;  // how the names of its own calls begin; may be empty
};
inline constexpr std::array<Step, 6> steps{{
    {"checkInvariant", "Arrangement", {"CGConfigureDisplayOrigin"}},
    {"restoreResolutions", "Display modes", {"CGSConfigureDisplayMode"}},
    {"restoreMenuBar", "Menu bar", {"CGSSetMenuBar", "SLS"}},
    {"restoreHotCorners", "Hot corners", {"CoreDockGetExpose", "CoreDockSetExpose"}},
    {"restoreDockAutoHide", "Dock", {"CoreDockGetAutoHide", "CoreDockSetAutoHide"}},
    {"restoreCursorAssociation", "Cursor", {"CGAssociateMouse"}},
}};

/// A message of the form "STEP [TAG]: TEXT".
struct StepLine {
    std::size_t step;  // its index in `steps`
    std::string tag;
    std::string text;

    /// Whether the line belongs to the last step, which logs a single line in every run.
    bool endsRun() const { return step + 1 == steps.size(); }
};

/// None for a message of another form.
std::optional<StepLine> readStepLine(const std::string& message);

/// Whether the helper says this about itself or about Tolvaran's process, outside any run.
bool isAboutProcesses(std::string_view message);

}  // namespace simulator::report
