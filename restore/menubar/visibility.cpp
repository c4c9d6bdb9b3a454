#include "restore/arrangement/display_identity.hpp"
#include "restore/menubar/menu_bar_autohide.hpp"
#include "restore/menubar/per_display_menu_bar_api.hpp"
#include "restore/menubar/spaces.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"
#include "restore/support/text.hpp"

namespace tolvaran::MenuBarAutohide {
namespace {

constexpr std::int64_t fullscreenSpaceType = 4;

/// The elements of an array of dictionaries with string keys, not retained; none if the object, or
/// any element, is anything else.
std::optional<std::vector<CFDictionaryRef>> dictionaries(CFTypeRef object) {
    const CFArrayRef array = cf::array(object);
    if (array == nullptr) {
        return std::nullopt;
    }
    std::vector<CFDictionaryRef> list;
    for (CFIndex index = 0; index < CFArrayGetCount(array); ++index) {
        list.push_back(cf::dictionary(CFArrayGetValueAtIndex(array, index)));
        if (list.back() == nullptr) {
            return std::nullopt;
        }
    }
    return list;
}

/// Whether the entry is for the display at this port. The window server and Core Graphics write the
/// same UUID in different case.
bool isAboutPort(CFDictionaryRef entry, const std::string& portUUID) {
    const auto identifier = cf::string(cf::value(entry, CFSTR("Display Identifier")));
    return identifier && text::uppercased(*identifier) == text::uppercased(portUUID);
}

std::optional<std::int64_t> typeOfSpaceShown(CFDictionaryRef entry) {
    const CFDictionaryRef space = cf::dictionary(cf::value(entry, CFSTR("Current Space")));
    return space == nullptr ? std::nullopt : cf::integer(cf::value(space, CFSTR("type")));
}

}  // namespace

bool supportsPerDisplayVisibility() {
    return PerDisplayMenuBarAPI::shared().isComplete();
}

std::optional<bool> visibilityOverride(CGDirectDisplayID displayID) {
    const PerDisplayMenuBarAPI& api = PerDisplayMenuBarAPI::shared();
    if (!api.isComplete()) {
        return std::nullopt;
    }
    return api.getOverride(api.mainConnection(), displayID) != 0;
}

bool setVisibilityOverride(bool enabled, CGDirectDisplayID displayID) {
    const PerDisplayMenuBarAPI& api = PerDisplayMenuBarAPI::shared();
    if (api.mainConnection == nullptr || api.setOverride == nullptr) {
        return false;
    }
    const std::int32_t code = api.setOverride(api.mainConnection(), displayID, enabled ? 1 : 0);
    if (code != 0) {
        RestoreLog::warn("SLSSetMenuBarVisibilityOverrideOnDisplay returned " +
                         std::to_string(code) + " for display " + std::to_string(displayID));
    }
    return code == 0;
}

std::optional<bool> runtimeAutohideEnabled() {
    const PerDisplayMenuBarAPI& api = PerDisplayMenuBarAPI::shared();
    if (api.mainConnection == nullptr || api.getAutohide == nullptr) {
        return std::nullopt;
    }
    Boolean enabled = 0;
    const std::int32_t code = api.getAutohide(api.mainConnection(), &enabled);
    if (code != 0) {
        RestoreLog::warn("SLSGetMenuBarAutohideEnabled returned " + std::to_string(code));
        return std::nullopt;
    }
    return enabled != 0;
}

std::optional<std::string> activeMenuBarDisplayIdentifier() {
    const PerDisplayMenuBarAPI& api = PerDisplayMenuBarAPI::shared();
    if (api.mainConnection == nullptr || api.copyActiveDisplay == nullptr) {
        return std::nullopt;
    }
    return cf::string(
        CFRef<CFStringRef>::assume(api.copyActiveDisplay(api.mainConnection())).get());
}

std::optional<std::int64_t> currentSpaceType(CGDirectDisplayID displayID) {
    const PerDisplayMenuBarAPI& api = PerDisplayMenuBarAPI::shared();
    if (api.mainConnection == nullptr || api.copyManagedDisplaySpaces == nullptr) {
        return std::nullopt;
    }
    const auto spaces =
        CFRef<CFArrayRef>::assume(api.copyManagedDisplaySpaces(api.mainConnection()));
    const auto entries = dictionaries(spaces.get());
    if (!entries) {
        return std::nullopt;
    }
    const std::string portUUID = displayPortUUID(displayID);
    for (const CFDictionaryRef entry : *entries) {
        if (isAboutPort(entry, portUUID)) {
            return typeOfSpaceShown(entry);
        }
    }
    return std::nullopt;
}

std::optional<bool> currentSpaceIsFullscreen(CGDirectDisplayID displayID) {
    const std::optional<std::int64_t> type = currentSpaceType(displayID);
    return type ? std::optional(*type == fullscreenSpaceType) : std::nullopt;
}

}  // namespace tolvaran::MenuBarAutohide
