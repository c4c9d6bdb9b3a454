// How the menu bar's global settings are stored and changed, for the other parts of MenuBarAutohide
// and for tolvaran_describe.
#pragma once

#include "restore/menubar/menu_bar_snapshot.hpp"

namespace tolvaran::MenuBarAutohide {

// The preferences, which stand in the domain of every application.
inline constexpr const char* hideKey = "_HIHideMenuBar";
inline constexpr const char* visibleInFullscreenKey = "AppleMenuBarVisibleInFullscreen";

/// Stores the snapshot's two preferences, switches the menu bar's auto-hide accordingly and posts
/// the change notifications, marked as this system's own. Every part is attempted whatever becomes
/// of the others. Logs through RestoreLog.warn "CFPreferencesSynchronize returned false for menu
/// bar prefs" and "CGSSetMenuBarAutohideEnabled returned " + code.
/// @return whether preferences and switch both took
bool applyGlobal(const MenuBarAutohideSnapshot& snapshot);

}  // namespace tolvaran::MenuBarAutohide
