// Reading the four hot corners, switching them off and putting them back. Preferences alone do not
// reach the running Dock, and the Dock's live state does not reach the next login, so both are
// written. Used by the leases, which decide when.
//
// Every operation takes the preference domain; production code passes dockAppID. In any other
// domain only preferences are read and written, since there is but one running Dock.
#pragma once

#include <cstdint>
#include <string>

#include "restore/dock/dock_hot_corner_snapshot.hpp"

namespace tolvaran::DockHotCornerOverride {

inline constexpr const char* dockAppID = "com.apple.dock";

/// The action that means no action; suppression gives it to every corner.
inline constexpr std::int64_t disabledActionCode = 1;

/// Whether this Mac has both private functions for the Dock's live corners.
bool nativeAPIAvailable();

/// The corners as they are: the live lists where the Dock can be asked, and the preferences without
/// synchronising them first.
DockHotCornerSnapshot readCurrent(const std::string& appID);

/// Switches every corner off: writes the four actions to the preferences, leaving the modifiers
/// alone, synchronises them, posts "com.apple.dock.prefchanged" and
/// "com.apple.dock.hotcorner.updated", and then tells the Dock and reads back what it made of it.
/// Logs through RestoreLog.warn "hot-corner disable failed because required CoreDock functions are
/// unavailable".
/// @return whether the corners are off for sure; the preferences may be written nevertheless
bool writeDisabled(const std::string& appID);

/// writeDisabled(), unless preferences and Dock show every corner off already.
bool ensureDisabled(const std::string& appID);

/// Puts a snapshot back: writes its preferences and removes those that it has not, synchronises and
/// posts like writeDisabled(), and then gives the Dock the snapshot's effective actions and
/// modifiers and reads them back. Nothing is written from a snapshot that is not valid.
/// Logs through RestoreLog.warn "hot-corner restore rejected an out-of-range snapshot value",
/// "hot-corner restore found the CoreDock setter unavailable and restored raw preferences only",
/// "hot-corner restore could not convert a snapshot value" or "hot-corner restore could not be
/// verified because the CoreDock getter is unavailable".
/// @return whether the corners are the snapshot's for sure, and the snapshot may be forgotten
bool restore(const DockHotCornerSnapshot& snapshot, const std::string& appID);

}  // namespace tolvaran::DockHotCornerOverride
