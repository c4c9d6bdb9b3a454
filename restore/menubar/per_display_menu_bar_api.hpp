// The private window-server functions that show or hide the menu bar display by display. They are
// missing on some macOS versions, so they are looked up at run time; MenuBarAutohide wraps each of
// them for everybody else.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/private_interfaces.hpp"
#include "restore/support/dynamic_library.hpp"

namespace tolvaran {

/// The functions as this Mac offers them. A function that it lacks is null.
class PerDisplayMenuBarAPI {
    using MainConnection = CGSConnectionID();
    using GetAutohide = std::int32_t(CGSConnectionID, Boolean* enabled);
    using GetOverride = Boolean(CGSConnectionID, CGDirectDisplayID);
    using SetOverride = std::int32_t(CGSConnectionID, CGDirectDisplayID, Boolean enabled);
    using CopyActiveDisplay = CFStringRef(CGSConnectionID);
    using CopyManagedDisplaySpaces = CFArrayRef(CGSConnectionID);

  public:
    /// Opens SkyLight and looks the functions up. Logs through RestoreLog.warn "Per-display menu
    /// bar API is unavailable on this macOS build" when the interface is not complete.
    PerDisplayMenuBarAPI();

    /// The one instance of this process, made on first use.
    static const PerDisplayMenuBarAPI& shared();

    /// Whether everything is there that hiding and restoring need. copyActiveDisplay is not part of
    /// it: without that one, only the question which display shows the menu bar stays open.
    bool isComplete() const;

    // Declared, and so looked up, in this order.

    /// SkyLight, which stays open as long as this lives. Without it every function is null.
    DynamicLibrary handle;
    /// The names of those functions that are null.
    std::vector<std::string> missing;
    /// This process's connection to the window server, which every other function takes first.
    MainConnection* mainConnection;
    /// Stores whether the menu bar hides itself at present; returns an error code, 0 for success.
    GetAutohide* getAutohide;
    /// The visibility override of a display.
    GetOverride* getOverride;
    /// Sets it; returns an error code, 0 for success. It shows in getOverride only some time later.
    SetOverride* setOverride;
    /// The port UUID of the display that carries the active menu bar, owned by the caller; may be
    /// null.
    CopyActiveDisplay* copyActiveDisplay;
    /// One dictionary for each display, telling its spaces, owned by the caller; may be null.
    CopyManagedDisplaySpaces* copyManagedDisplaySpaces;
};

}  // namespace tolvaran
