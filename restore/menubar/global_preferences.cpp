#include "restore/menubar/global_preferences.hpp"

#include "platform/private_interfaces.hpp"
#include "restore/menubar/menu_bar_autohide.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"
#include "restore/support/distributed_notifications.hpp"
#include "restore/support/preferences.hpp"

namespace tolvaran::MenuBarAutohide {
namespace {

/// The user-info entry that marks change notifications which this system caused itself, for the
/// main application, which observes them.
const std::string markerKey = "TolvaranMenuBarPolicyChange";

bool isOn(const std::optional<std::int64_t>& value) {
    return value.value_or(0) != 0;
}

/// The preference as 0 or 1; none if it is not set or not a number.
std::optional<std::int64_t> readSwitch(const std::string& key) {
    const auto value = PreferenceDomain::anyApplication().integer(key);
    return value ? std::optional<std::int64_t>(isOn(value) ? 1 : 0) : std::nullopt;
}

/// Writes the preference as a boolean, the type that the system's own settings give it.
void writeSwitch(const std::string& key, const std::optional<std::int64_t>& value) {
    PreferenceDomain::anyApplication().setBoolean(
        key, value ? std::optional(isOn(value)) : std::nullopt);
}

/// Writes and synchronises both preferences; logs `complaint` if that is refused.
bool writePreferences(const MenuBarAutohideSnapshot& snapshot, const std::string& complaint) {
    writeSwitch(hideKey, snapshot.hideMenuBar);
    writeSwitch(visibleInFullscreenKey, snapshot.visibleInFullscreen);
    const bool synchronized = PreferenceDomain::anyApplication().synchronize();
    if (!synchronized) {
        RestoreLog::warn(complaint);
    }
    return synchronized;
}

void postChangeNotifications() {
    const auto key = cf::makeString(markerKey);
    const auto marker = cf::makeDictionary(key.get(), kCFBooleanTrue);
    for (const std::string& name : changeNotificationNames) {
        postDistributedNotification(name, marker.get());
    }
}

}  // namespace

MenuBarAutohideSnapshot readCurrent() {
    return {.hideMenuBar = readSwitch(hideKey),
            .visibleInFullscreen = readSwitch(visibleInFullscreenKey)};
}

std::optional<MenuBarAutohideSnapshot> readCurrent(
    const std::vector<MenuBarDisplayIdentity>& displays) {
    if (!supportsPerDisplayVisibility()) {
        return std::nullopt;
    }
    MenuBarAutohideSnapshot snapshot = readCurrent();
    auto& records = snapshot.displayVisibilityOverrides.emplace();
    for (const MenuBarDisplayIdentity& display : displays) {
        records.push_back({.canonicalID = display.canonicalID,
                           .hardwareID = display.hardwareID,
                           .portUUID = display.portUUID,
                           .enabled = visibilityOverride(display.displayID) == true});
    }
    return snapshot;
}

bool writeStoredPreference(const MenuBarAutohideSnapshot& snapshot) {
    return writePreferences(snapshot,
                            "CFPreferencesSynchronize returned false for stored menu bar prefs");
}

bool applyGlobal(const MenuBarAutohideSnapshot& snapshot) {
    const bool stored =
        writePreferences(snapshot, "CFPreferencesSynchronize returned false for menu bar prefs");
    // The preferences take effect in programs that start later, the switch in the window server,
    // the notifications in running programs. So none depends on another's success.
    const CGError error =
        CGSSetMenuBarAutohideEnabled(CGSMainConnectionID(), isOn(snapshot.hideMenuBar) ? 1 : 0);
    postChangeNotifications();
    if (error != kCGErrorSuccess) {
        RestoreLog::warn("CGSSetMenuBarAutohideEnabled returned " +
                         std::to_string(static_cast<std::int32_t>(error)));
    }
    return stored && error == kCGErrorSuccess;
}

bool writeAlways() {
    return applyGlobal({.hideMenuBar = 1, .visibleInFullscreen = 0});
}

bool isTolvaranPolicyNotification(CFDictionaryRef userInfo) {
    if (userInfo == nullptr) {
        return false;
    }
    const auto key = cf::makeString(markerKey);
    return cf::boolean(cf::value(userInfo, key.get())) == true;
}

}  // namespace tolvaran::MenuBarAutohide
