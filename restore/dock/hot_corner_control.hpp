// Reads the four hot corners, switches them off and puts them back. Preferences alone do not reach
// the running Dock, and the Dock's live state does not last until the next login, so both are
// written. Used by the leases, which decide when.
//
// Every operation takes the preference domain; production code passes dockAppID. In any other
// domain only preferences are read and written, since there is only one running Dock. Main thread
// only.
#pragma once

#include <cstdint>
#include <string>

#include "restore/dock/dock_hot_corner_snapshot.hpp"

namespace tolvaran::DockHotCornerOverride {

inline constexpr const char* dockAppID = "com.apple.dock";

/// The code for no action; suppression gives it to every corner.
inline constexpr std::int64_t disabledActionCode = 1;

/// Whether this Mac has both private functions for the Dock's live corners.
bool nativeAPIAvailable();

/// The present corners: the live lists if the Dock can be asked, and the preferences without
/// synchronising them first.
DockHotCornerSnapshot readCurrent(const std::string& appID);

/// Switches every corner off: writes the four actions to the preferences, leaving the modifiers
/// alone, synchronises them, posts "com.apple.dock.prefchanged" and
/// "com.apple.dock.hotcorner.updated", then tells the Dock and reads its live state back. Logs
/// through RestoreLog.warn "hot-corner disable failed because required CoreDock functions are
/// unavailable".
/// @return whether the corners are verified to be off; the preferences may be written even if not
bool writeDisabled(const std::string& appID);

/// Calls writeDisabled(), which may log, unless preferences and Dock show every corner off already.
/// @return whether the corners are verified to be off
bool ensureDisabled(const std::string& appID);

/// Puts a snapshot back: writes its preferences and removes those that it lacks, synchronises and
/// posts like writeDisabled(), then gives the Dock the snapshot's effective actions and modifiers
/// and reads them back. Writes nothing from an invalid snapshot. Logs through RestoreLog.warn
/// "hot-corner restore rejected an out-of-range snapshot value", "hot-corner restore found the
/// CoreDock setter unavailable and restored raw preferences only", "hot-corner restore could not
/// convert a snapshot value" or "hot-corner restore could not be verified because the CoreDock
/// getter is unavailable".
/// @return whether the corners are verified to be the snapshot's, so that it may be forgotten
bool restore(const DockHotCornerSnapshot& snapshot, const std::string& appID);

}  // namespace tolvaran::DockHotCornerOverride
