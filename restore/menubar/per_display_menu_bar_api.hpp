// The private window-server functions that show or hide the menu bar display by display. Some macOS
// versions lack them, so they are looked up at run time. All other code uses them through
// MenuBarAutohide. Main thread only.
#pragma once

#include <string>
#include <vector>

#include "platform/private_interfaces.hpp"
#include "restore/support/dynamic_library.hpp"

namespace tolvaran {

/// The functions that this Mac has. One that it lacks is null.
class PerDisplayMenuBarAPI {
  public:
    /// Opens SkyLight and looks the functions up. Logs through RestoreLog.warn "Per-display menu
    /// bar API is unavailable on this macOS build" if the interface is not complete.
    PerDisplayMenuBarAPI();

    /// The one instance of this process, made on first use.
    static const PerDisplayMenuBarAPI& shared();

    /// Whether every function needed for hiding and restoring is available. copyActiveDisplay is
    /// not one of them: it only says which display shows the menu bar.
    bool isComplete() const;

    // Declared, and so looked up, in this order.

    /// SkyLight, open as long as this lives. Without it every function is null.
    DynamicLibrary handle;
    /// The names of the functions that are null.
    std::vector<std::string> missing;
    decltype(sky_light::mainConnection)::Pointer mainConnection;
    decltype(sky_light::getAutohide)::Pointer getAutohide;
    decltype(sky_light::getOverride)::Pointer getOverride;
    decltype(sky_light::setOverride)::Pointer setOverride;
    decltype(sky_light::copyActiveDisplay)::Pointer copyActiveDisplay;
    decltype(sky_light::copyManagedDisplaySpaces)::Pointer copyManagedDisplaySpaces;
};

}  // namespace tolvaran
