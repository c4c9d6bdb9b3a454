// The six restore steps. Each puts back one kind of thing that the main application changes while
// it runs, unless an instance of it lives, and leaves what it cannot put back to the next run.
//
// All take what triggered the run ("cold-start", "safety-tick", "display-reconfig" or "proc-exit")
// and, for "proc-exit", the instance that has just exited, which does not count as running. Their
// log lines begin with the step's name and the trigger in brackets.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace tolvaran {

/// The steps' names as their log lines show them.
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
/// saved for them and others, else into a plain row. Removes the set marks of these displays once
/// they stand well; a native-mirrored mark outlives every repair but the exact one. Reads
/// everything afresh on every run, and tries nothing twice in one.
void checkInvariant(const std::string& tag, std::optional<pid_t> exitedPID);

/// Puts back the display modes recorded in ".resolution-originals", and logs how many if any.
/// Without records nothing is done or logged, not even that the main application is running: the
/// records are looked at first.
void restoreResolutions(const std::string& tag, std::optional<pid_t> exitedPID);

/// Puts back the menu bar's auto-hide and every display's visibility override from
/// "menubar-state.json", and keeps there what could not be settled. Without that file nothing is
/// done or logged after the running test.
void restoreMenuBar(const std::string& tag, std::optional<pid_t> exitedPID);

/// Ends a screen-saver hold recorded in "hot-corner-screen-saver-hold", then puts back the corners
/// saved in "hot-corners-snapshot.json". Without either file nothing is done or logged after the
/// running test.
void restoreHotCorners(const std::string& tag, std::optional<pid_t> exitedPID);

/// Forces the Dock back to the auto-hide value in "dock-autohide-pending.json" and removes that
/// marker. Without a marker nothing is done or logged after the running test.
void restoreDockAutoHide(const std::string& tag, std::optional<pid_t> exitedPID);

/// Associates the cursor with the mouse. There is no record of its state, so this happens, and logs
/// one line, on every run while the main application is not running.
void restoreCursorAssociation(const std::string& tag, std::optional<pid_t> exitedPID);

}  // namespace tolvaran
