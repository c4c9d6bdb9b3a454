// How the menu bar's global settings are stored and changed, for the other parts of MenuBarAutohide
// and for tolvaran_describe. Main thread only.
#pragma once

#include "restore/menubar/menu_bar_snapshot.hpp"

namespace tolvaran::MenuBarAutohide {

// The preferences, which are in the domain of every application.
inline constexpr const char* hideKey = "_HIHideMenuBar";
inline constexpr const char* visibleInFullscreenKey = "AppleMenuBarVisibleInFullscreen";

/// Stores the snapshot's two preferences, switches the menu bar's auto-hide accordingly and posts
/// the change notifications, marked as this system's own. A failed part does not stop the others.
/// Logs through RestoreLog.warn "CFPreferencesSynchronize returned false for menu bar prefs" and
/// "CGSSetMenuBarAutohideEnabled returned " + code.
/// @return whether the preferences and the switch both succeeded
bool applyGlobal(const MenuBarAutohideSnapshot& snapshot);

}  // namespace tolvaran::MenuBarAutohide
