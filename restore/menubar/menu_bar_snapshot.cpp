#include "restore/menubar/menu_bar_snapshot.hpp"

#include <utility>

namespace tolvaran {
namespace {

/// A flag as the file holds it: true or absent.
std::optional<bool> flag(bool value) {
    return value ? std::optional(true) : std::nullopt;
}

}  // namespace

MenuBarDisplayIdentity::MenuBarDisplayIdentity(CGDirectDisplayID display, std::string canonical,
                                               const std::optional<std::string>& hardware,
                                               std::string port)
    : displayID(display),
      canonicalID(std::move(canonical)),
      hardwareID(hardware.value_or(canonicalID)),
      portUUID(std::move(port)) {}

MenuBarAutohideSnapshot MenuBarAutohideSnapshot::replacingGlobalPreference(
    const MenuBarAutohideSnapshot& other) const {
    MenuBarAutohideSnapshot result = *this;
    result.hideMenuBar = other.hideMenuBar;
    result.visibleInFullscreen = other.visibleInFullscreen;
    return result;
}

MenuBarAutohideSnapshot MenuBarAutohideSnapshot::reopeningLease(
    const MenuBarAutohideSnapshot& other) const {
    MenuBarAutohideSnapshot result = replacingGlobalPreference(other);
    result.globalRestored.reset();
    result.pendingOnly.reset();
    return result;
}

bool MenuBarAutohideSnapshot::wantsMenuBarVisible(bool isFullscreen) const {
    return isFullscreen ? visibleInFullscreen.value_or(0) != 0 : hideMenuBar.value_or(0) == 0;
}

std::optional<MenuBarAutohideSnapshot> MenuBarAutohideSnapshot::settled(
    const MenuBarRestoreOutcome& outcome) const {
    if (outcome.unsettled.empty() && outcome.globalRestored) {
        return std::nullopt;
    }
    MenuBarAutohideSnapshot result = *this;
    result.globalRestored = flag(outcome.globalRestored);
    result.pendingOnly = flag(outcome.succeeded());
    return result;
}

}  // namespace tolvaran
