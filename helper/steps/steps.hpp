// The restore steps. Unless the main application is running, each puts back one kind of its
// changes, and leaves what it cannot put back to the next run. Main thread only.
//
// All take the trigger of the run ("cold-start", "safety-tick", "display-reconfig" or "proc-exit")
// and, for "proc-exit", the instance that has just exited, which does not count as running. Their
// log lines begin with the step's name and the trigger in brackets, which the docstrings leave out.
//
// If the main application is running, each logs at "debug" "Tolvaran running (pid 812), skipping".
// If another process has changed a step's record since the run began, the step logs at "debug" the
// record's name and " was changed by another process meanwhile; left to the next run". All also log
// what the library functions they call log.
#pragma once

#include <sys/types.h>

#include <array>
#include <optional>
#include <string>

namespace tolvaran {

/// The steps' names in the log.
namespace step_names {

inline constexpr const char* checkInvariant = "checkInvariant";
inline constexpr const char* restoreResolutions = "restoreResolutions";
inline constexpr const char* restoreMenuBar = "restoreMenuBar";
inline constexpr const char* restoreHotCorners = "restoreHotCorners";
inline constexpr const char* restoreDockAutoHide = "restoreDockAutoHide";
inline constexpr const char* restoreCursorAssociation = "restoreCursorAssociation";

}  // namespace step_names

/// Puts the displays back from a layout that only the main application makes: a zigzag, or one that
/// a side-pinned or native-mirrored mark describes. They go to the arrangement saved for them, else
/// to one saved for some of them, else, if the layout consists of corner touches alone, to one
/// saved for them and others, else into a plain row. Removes the displays' set marks once they are
/// in order; a native-mirrored mark outlives every repair except the exact one. Reads everything
/// afresh on every run, and tries nothing twice in a run.
///
/// Logs at "debug" "hardware not a Tolvaran layout, invariant holds" and then what
/// MainApplicationLayout::clearStaleMarks() logs, or what repairArrangement() logs.
void checkInvariant(const std::string& tag, std::optional<pid_t> exitedPID);

/// Puts back the display modes recorded in ".resolution-originals". Checks for records first:
/// without any, it does and logs nothing, not even that the main application is running. If it has
/// put any mode back, logs at "info" how many, as in "restored 2 display mode(s)".
void restoreResolutions(const std::string& tag, std::optional<pid_t> exitedPID);

/// Puts back the menu bar's auto-hide and every display's visibility override from
/// "menubar-state.json", and keeps there what could not be put back. Without that file nothing is
/// done or logged after the running test. Logs:
/// - at "info" "applying snapshot", unless only absent displays are still waited for
/// - at "warn" "CGS apply failed; snapshot kept", unless only records of absent displays are left
/// - if nothing is left, at "info" "snapshot deleted" or at "warn" "snapshot could not be deleted"
/// - if what is left has changed, at "info" "kept 2 unsettled display(s)" or at "warn" "pending
///   records could not be saved"
void restoreMenuBar(const std::string& tag, std::optional<pid_t> exitedPID);

/// Ends a screen-saver hold recorded in "hot-corner-screen-saver-hold", then puts back the corners
/// saved in "hot-corners-snapshot.json". Without either file nothing is done or logged after the
/// running test. Logs at "info" "screen saver hold released", if it was; with a snapshot "applying
/// snapshot" and, if that succeeded, "snapshot applied + deleted".
void restoreHotCorners(const std::string& tag, std::optional<pid_t> exitedPID);

/// Forces the Dock back to the auto-hide value in "dock-autohide-pending.json" and removes that
/// marker. Without a marker nothing is done or logged after the running test. Logs at "info"
/// "marker found, restoring" and, if the Dock had to be changed and the marker was removed,
/// "auto-hide restored + marker deleted".
void restoreDockAutoHide(const std::string& tag, std::optional<pid_t> exitedPID);

/// Associates the cursor with the mouse. There is no record of its state, so this happens on every
/// run while the main application is not running, and logs one line: at "info" "re-associated
/// cursor", or at "warn" "CGAssociateMouseAndMouseCursorPosition(1) returned " and the code.
void restoreCursorAssociation(const std::string& tag, std::optional<pid_t> exitedPID);

struct Step {
    const char* name;
    void (*run)(const std::string& tag, std::optional<pid_t> exitedPID);
};

/// The steps in the order of a run.
inline constexpr std::array<Step, 6> steps{{
    {step_names::checkInvariant, checkInvariant},
    {step_names::restoreResolutions, restoreResolutions},
    {step_names::restoreMenuBar, restoreMenuBar},
    {step_names::restoreHotCorners, restoreHotCorners},
    {step_names::restoreDockAutoHide, restoreDockAutoHide},
    {step_names::restoreCursorAssociation, restoreCursorAssociation},
}};

}  // namespace tolvaran
