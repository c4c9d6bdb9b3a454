#include "restore/menubar/menu_bar_snapshot.hpp"

#include <utility>

namespace tolvaran {
namespace {

/// A flag as the file holds it: true, or left out.
std::optional<bool> flag(bool value) {
    return value ? std::optional(true) : std::nullopt;
}

}  // namespace

MenuBarDisplayVisibilityOverride MenuBarDisplayVisibilityOverride::fromJSON(
    const json::Value& value) {
    const json::Fields fields(value);
    return {.canonicalID = fields.required<std::string>("canonicalID"),
            .hardwareID = fields.optional<std::string>("hardwareID"),
            .portUUID = fields.required<std::string>("portUUID"),
            .enabled = fields.required<bool>("enabled")};
}

json::Value MenuBarDisplayVisibilityOverride::toJSON() const {
    json::Object object{{"canonicalID", canonicalID}, {"portUUID", portUUID}, {"enabled", enabled}};
    json::put(object, "hardwareID", hardwareID);
    return object;
}

MenuBarDisplayIdentity::MenuBarDisplayIdentity(CGDirectDisplayID display, std::string canonical,
                                               const std::optional<std::string>& hardware,
                                               std::string port)
    : displayID(display),
      canonicalID(std::move(canonical)),
      hardwareID(hardware.value_or(canonicalID)),
      portUUID(std::move(port)) {}

MenuBarAutohideSnapshot MenuBarAutohideSnapshot::fromJSON(const json::Value& value) {
    const json::Fields fields(value);
    return {.hideMenuBar = fields.optional<std::int64_t>("hideMenuBar"),
            .visibleInFullscreen = fields.optional<std::int64_t>("visibleInFullscreen"),
            .displayVisibilityOverrides =
                fields.optional<std::vector<MenuBarDisplayVisibilityOverride>>(
                    "displayVisibilityOverrides"),
            .globalRestored = fields.optional<bool>("globalRestored"),
            .pendingOnly = fields.optional<bool>("pendingOnly")};
}

json::Value MenuBarAutohideSnapshot::toJSON() const {
    json::Object object;
    json::put(object, "hideMenuBar", hideMenuBar);
    json::put(object, "visibleInFullscreen", visibleInFullscreen);
    json::put(object, "displayVisibilityOverrides", displayVisibilityOverrides);
    json::put(object, "globalRestored", globalRestored);
    json::put(object, "pendingOnly", pendingOnly);
    return object;
}

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
    const bool anyUnsettled = !outcome.unsettled.empty();
    if (!anyUnsettled && outcome.globalRestored) {
        return std::nullopt;
    }
    MenuBarAutohideSnapshot result = *this;
    result.globalRestored = flag(anyUnsettled && outcome.globalRestored);
    result.pendingOnly = flag(anyUnsettled && outcome.succeeded());
    return result;
}

}  // namespace tolvaran
