// Every private function of the window server and of the Dock that this system calls. No public
// header declares them; these are the only prototypes in the system, and the simulator implements
// the same ones.
//
// Functions that every macOS has had so far are linked. Those that some versions lack are looked up
// at run time, by menubar/per_display_menu_bar_api and dock/native_hot_corners. Main thread only.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>

namespace tolvaran {

/// The window server's number for one client's connection to it.
using CGSConnectionID = std::int32_t;

/// A function that is looked up at run time.
/// @tparam Function its type
template <typename Function>
struct RunTimeFunction {
    using Pointer = Function*;

    const char* name;  // the symbol
};

/// The menu bar of single displays: functions of the SkyLight framework. Each except the first
/// takes this process's connection; a returned std::int32_t is an error code, 0 for success.
namespace sky_light {

inline constexpr const char* path =
    "/System/Library/PrivateFrameworks/SkyLight.framework/Versions/A/SkyLight";

/// This process's connection to the window server.
inline constexpr RunTimeFunction<CGSConnectionID()> mainConnection{"CGSMainConnectionID"};
/// Stores whether the menu bar hides itself at present.
inline constexpr RunTimeFunction<std::int32_t(CGSConnectionID, Boolean* enabled)> getAutohide{
    "SLSGetMenuBarAutohideEnabled"};
/// The visibility override of a display: 1 for visible, 0 for hidden.
inline constexpr RunTimeFunction<Boolean(CGSConnectionID, CGDirectDisplayID)> getOverride{
    "SLSGetMenuBarVisibilityOverrideOnDisplay"};
/// Sets the override. It shows in getOverride only some time later.
inline constexpr RunTimeFunction<std::int32_t(CGSConnectionID, CGDirectDisplayID, Boolean enabled)>
    setOverride{"SLSSetMenuBarVisibilityOverrideOnDisplay"};
/// The port UUID of the display that carries the active menu bar, owned by the caller; may be null.
inline constexpr RunTimeFunction<CFStringRef(CGSConnectionID)> copyActiveDisplay{
    "SLSCopyActiveMenuBarDisplayIdentifier"};
/// One dictionary for each display with the spaces on it, owned by the caller; may be null.
inline constexpr RunTimeFunction<CFArrayRef(CGSConnectionID)> copyManagedDisplaySpaces{
    "SLSCopyManagedDisplaySpaces"};

}  // namespace sky_light

/// The running Dock's hot corners: functions of the HIServices framework. Corners are numbered 0
/// top-left, 1 top-right, 2 bottom-left, 3 bottom-right.
namespace hi_services {

inline constexpr const char* path =
    "/System/Library/Frameworks/ApplicationServices.framework/Frameworks/HIServices.framework/"
    "HIServices";

/// Fills two arrays of four, in corner order. Reports no failure: it leaves values that it could
/// not read as they were.
inline constexpr RunTimeFunction<void(std::int32_t* actions, std::int32_t* modifiers)>
    getCornerActions{"CoreDockGetExposeCornerActionsWithModifiers"};
/// Gives one corner its action and modifier. The result means nothing.
inline constexpr RunTimeFunction<std::int32_t(std::int32_t action, std::int32_t corner,
                                              std::int32_t modifier)>
    setCornerAction{"CoreDockSetExposeCornerActionWithModifier"};

}  // namespace hi_services
}  // namespace tolvaran

extern "C" {

/// Stores how many modes the display has.
CGError CGSGetNumberOfDisplayModes(CGDirectDisplayID display, std::int32_t* count);

/// Fills `record` with the mode record of one index (from 0); `length` is the record's size in
/// bytes as the caller knows it.
CGError CGSGetDisplayModeDescriptionOfLength(CGDirectDisplayID display, std::int32_t index,
                                             void* record, std::int32_t length);

/// Stores the number of the display's current mode; leaves `modeNumber` alone if it fails.
CGError CGSGetCurrentDisplayMode(CGDirectDisplayID display, std::int32_t* modeNumber);

/// Records a mode change in an open display configuration.
CGError CGSConfigureDisplayMode(CGDisplayConfigRef configuration, CGDirectDisplayID display,
                                std::int32_t modeNumber);

/// This process's connection to the window server.
tolvaran::CGSConnectionID CGSMainConnectionID(void);

/// Switches the menu bar's auto-hide, at once and for the whole session.
CGError CGSSetMenuBarAutohideEnabled(tolvaran::CGSConnectionID connection, Boolean enabled);

/// Whether the running Dock hides itself: 1 or 0.
Boolean CoreDockGetAutoHideEnabled(void);

/// Makes the running Dock hide itself, or stay.
void CoreDockSetAutoHideEnabled(Boolean enabled);

}  // extern "C"
