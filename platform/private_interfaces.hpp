// The private functions of the window server and of the Dock that this system links directly.
// They stand in no public header; the prototypes here are the only ones in the system. Functions
// that may be missing on some macOS versions are looked up at run time instead, where they are
// used: in menubar/per_display_menu_bar_api and in dock/native_hot_corners.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>

namespace tolvaran {

/// The window server's number for one client's connection to it.
using CGSConnectionID = std::int32_t;

}  // namespace tolvaran

extern "C" {

/// Stores how many modes the display has.
CGError CGSGetNumberOfDisplayModes(CGDirectDisplayID display, std::int32_t* count);

/// Fills `record` with the mode record of one index (from 0); `length` is the record's size in
/// bytes as the caller knows it.
CGError CGSGetDisplayModeDescriptionOfLength(CGDirectDisplayID display, std::int32_t index,
                                             void* record, std::int32_t length);

/// Stores the number of the display's current mode; leaves `modeNumber` alone when it fails.
CGError CGSGetCurrentDisplayMode(CGDirectDisplayID display, std::int32_t* modeNumber);

/// Records a mode change in an open display configuration.
CGError CGSConfigureDisplayMode(CGDisplayConfigRef configuration, CGDirectDisplayID display,
                                std::int32_t modeNumber);

/// This process's connection to the window server.
tolvaran::CGSConnectionID CGSMainConnectionID(void);

/// Switches the menu bar's auto-hide, at once and for the whole session.
CGError CGSSetMenuBarAutohideEnabled(tolvaran::CGSConnectionID connection, Boolean enabled);

/// Whether the running Dock hides itself.
Boolean CoreDockGetAutoHideEnabled(void);

/// Makes the running Dock hide itself, or stay.
void CoreDockSetAutoHideEnabled(Boolean enabled);

}  // extern "C"
