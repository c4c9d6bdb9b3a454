// The menu bar: SkyLight's functions, found at run time, and the global auto-hide switch, which the
// product declares for itself and links directly. With their types:
//
//   CGSMainConnectionID                      () -> int32_t, in SkyLight and directly
//   CGSSetMenuBarAutohideEnabled             (int32_t, Boolean) -> CGError, directly
//   SLSGetMenuBarAutohideEnabled             (int32_t, Boolean*) -> int32_t
//   SLSGetMenuBarVisibilityOverrideOnDisplay (int32_t, CGDirectDisplayID) -> Boolean
//   SLSSetMenuBarVisibilityOverrideOnDisplay (int32_t, CGDirectDisplayID, Boolean) -> int32_t
//   SLSCopyActiveMenuBarDisplayIdentifier    (int32_t) -> CFStringRef
//   SLSCopyManagedDisplaySpaces              (int32_t) -> CFArrayRef
//
// A connection that CGSMainConnectionID() did not return is refused: with
// kCGErrorInvalidConnection, false or null.
#pragma once

#include <nlohmann/json.hpp>

namespace simulator::devices {

/// Makes SLSCopyManagedDisplaySpaces() return this value, of whatever shape (null: null), instead
/// of the list that the machine's displays give: for each display with a port UUID, a dictionary
/// of its "Display Identifier" and its "Current Space", whose "type" is the display's spaceType.
void replaceManagedDisplaySpaces(nlohmann::json value);

/// Forgets the replacement and the overrides that have yet to show.
void resetMenuBar();

/// Offers the SkyLight functions for look-up at run time.
void registerMenuBarSymbols();

}  // namespace simulator::devices
