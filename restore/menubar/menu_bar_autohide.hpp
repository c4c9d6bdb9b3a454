// The menu bar's auto-hide: reads and changes it, keeps the user's settings in a snapshot, and puts
// them back. The main application uses all of it; the helper loads, restores, keeps and deletes the
// snapshot that a crashed main application has left.
//
// A helper may be restoring from the snapshot when the main application starts. A snapshot that is
// saved meanwhile stays, whatever the helper does with the one it has loaded. So the main
// application uses the snapshot in the file if there is one, rather than the Mac's present
// settings, and saves it again, even unchanged, before it changes anything.
//
// Nothing here throws, except std::bad_alloc if memory runs out; the file is then as it was and
// still holds what was not put back. Main thread only.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "restore/menubar/menu_bar_snapshot.hpp"

namespace tolvaran::MenuBarAutohide {

// The menu bar of each display. On a Mac that lacks the private function it needs, each of these
// returns none or false; the first one called then logs what PerDisplayMenuBarAPI logs.

/// Whether overrides of single displays can be read and set on this Mac.
bool supportsPerDisplayVisibility();

/// The display's override, true for visible; none unless supportsPerDisplayVisibility().
std::optional<bool> visibilityOverride(CGDirectDisplayID displayID);

/// Sets the display's override, which shows in visibilityOverride() only some time later. If the
/// window server refuses, logs through RestoreLog.warn "SLSSetMenuBarVisibilityOverrideOnDisplay
/// returned " + code + " for display " + ID.
/// @return whether it was accepted
bool setVisibilityOverride(bool enabled, CGDirectDisplayID displayID);

/// Whether the menu bar hides itself at present, whatever the preferences say; none if that is
/// unknown. A refusal is logged through RestoreLog.warn as "SLSGetMenuBarAutohideEnabled returned "
/// + code.
std::optional<bool> runtimeAutohideEnabled();

/// The port UUID, in upper or lower case, of the display that carries the active menu bar; none if
/// that is unknown.
std::optional<std::string> activeMenuBarDisplayIdentifier();

/// Whether the display shows a full-screen space; none if that is unknown.
std::optional<bool> currentSpaceIsFullscreen(CGDirectDisplayID displayID);

// The snapshot file.

/// "menubar-state.json" in the state directory.
std::string defaultSnapshotPath();

/// The snapshot in the file; none if there is no readable file or, after logging "menu bar snapshot
/// at " + path + " failed to decode: " + error through RestoreLog.warn, if it holds no snapshot.
std::optional<MenuBarAutohideSnapshot> loadSnapshot(const std::string& path);

/// Writes the snapshot, even an empty one, creating the directory. On failure the file is left as
/// it was, and RestoreLog.warn gets "Failed to encode menu bar snapshot", "Failed to create menu
/// bar snapshot directory: " + error, or "Failed to write menu bar snapshot: " + error.
/// @return whether it was written
bool saveSnapshot(const MenuBarAutohideSnapshot& snapshot, const std::string& path);

/// Removes the file. On failure logs through RestoreLog.warn "menu bar snapshot at " + path +
/// " could not be deleted: " + error.
/// @return whether there is no file now, even if there was none before
bool deleteSnapshot(const std::string& path);

// The two global preferences.

/// The distributed notifications that inform running programs of a change, in posting order.
inline const std::array<std::string, 2> changeNotificationNames = {
    "AppleInterfaceMenuBarHidingChangedNotification",
    "AppleInterfaceFullScreenMenuBarVisibilityChangedNotification"};

/// The global preferences as they are now, each 0, 1 or absent; no records, no flags.
MenuBarAutohideSnapshot readCurrent();

/// The global preferences and one record for each of the displays, in the given order; none unless
/// supportsPerDisplayVisibility(), which may be the first here to log "Per-display menu bar API is
/// unavailable on this macOS build".
std::optional<MenuBarAutohideSnapshot> readCurrent(
    const std::vector<MenuBarDisplayIdentity>& displays);

/// Stores the snapshot's two preferences, without applying them. If they cannot be synchronised,
/// logs "CFPreferencesSynchronize returned false for stored menu bar prefs" through
/// RestoreLog.warn.
/// @return whether they were synchronised
bool writeStoredPreference(const MenuBarAutohideSnapshot& snapshot);

/// Hides the menu bar everywhere, even in full screen: stores 1 and 0, switches auto-hide on and
/// posts the change notifications. Logs through RestoreLog.warn "CFPreferencesSynchronize returned
/// false for menu bar prefs" and "CGSSetMenuBarAutohideEnabled returned " + code.
/// @return whether the preferences and the switch both succeeded
bool writeAlways();

/// Whether this system posted the change notification itself.
/// @param userInfo the notification's user info; null if it has none
bool isTolvaranPolicyNotification(CFDictionaryRef userInfo);

// Putting a snapshot back.

/// Puts back the global preferences, unless an earlier attempt has done so, and the override of
/// every record whose display is connected. Waits up to 175 ms for each override to take effect.
/// Logs what writeAlways() logs and, if there are records, in this order: "Per-display menu bar API
/// is unavailable on this macOS build" if not logged before, what AliasMap::load() logs, what
/// displayUUID() logs about identical monitors, and what setVisibilityOverride() logs.
MenuBarRestoreOutcome restoreDetailed(const MenuBarAutohideSnapshot& snapshot);

/// Restores and logs as restoreDetailed() does; true if nothing at all is left to restore.
bool restore(const MenuBarAutohideSnapshot& snapshot);

/// Those of the displays, in the same order, that have no record: the snapshot does not say what
/// they were like.
std::vector<MenuBarDisplayIdentity> displaysWithoutBaseline(
    const std::vector<MenuBarDisplayIdentity>& displays,
    const std::vector<MenuBarDisplayVisibilityOverride>& records);

}  // namespace tolvaran::MenuBarAutohide
