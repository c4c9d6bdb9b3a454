#include "simulator/devices/menu_bar.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <map>
#include <optional>
#include <utility>

#include "simulator/core_foundation/json.hpp"
#include "simulator/devices/call.hpp"
#include "simulator/devices/symbols.hpp"
#include "simulator/machine/machine.hpp"
#include "simulator/on_reset.hpp"

using namespace simulator;
using namespace simulator::devices;

namespace {

// Any number will do; an unusual one is easy to spot where it does not belong.
constexpr std::int32_t mainConnection = 0x6B3F;

/// An accepted override that shows only after some more reads.
struct HiddenOverride {
    bool value;
    std::int64_t readsLeft;
};

struct MenuBarState {
    std::map<CGDirectDisplayID, HiddenOverride> hiddenOverrides;
    std::optional<nlohmann::json> managedDisplaySpaces;
};

MenuBarState& menuBarState() {
    static MenuBarState all;
    return all;
}

const OnReset forgetState([] { menuBarState() = {}; });

void setOverride(Display& display, bool value, std::int64_t delayReads) {
    menuBarState().hiddenOverrides.erase(display.id);
    if (delayReads > 0) {
        menuBarState().hiddenOverrides[display.id] = {value, delayReads};
    } else {
        display.menuBarOverride = value;
    }
}

bool readOverride(Display& display) {
    const auto hidden = menuBarState().hiddenOverrides.find(display.id);
    if (hidden == menuBarState().hiddenOverrides.end()) {
        return display.menuBarOverride;
    }
    if (hidden->second.readsLeft > 0) {
        --hidden->second.readsLeft;
    } else {
        display.menuBarOverride = hidden->second.value;
        menuBarState().hiddenOverrides.erase(hidden);
    }
    return display.menuBarOverride;
}

nlohmann::json managedDisplaySpaces() {
    nlohmann::json list = nlohmann::json::array();
    for (const Display& display : mac().displays) {
        if (display.portUUID) {
            list.push_back({{"Display Identifier", *display.portUUID},
                            {"Current Space", {{"type", display.spaceType}}}});
        }
    }
    return list;
}

CGError setAutohide(std::int32_t connection, bool enabled) {
    if (connection != mainConnection) {
        return kCGErrorInvalidConnection;
    }
    mac().menuBar.autoHide = enabled;
    return kCGErrorSuccess;
}

// The functions of SkyLight. They have internal linkage, so that only a look-up reaches them.

std::int32_t SLSGetMenuBarAutohideEnabled(std::int32_t connection, Boolean* enabled) {
    return performCall(__func__, [&]() -> std::int32_t {
        if (connection != mainConnection) {
            return kCGErrorInvalidConnection;
        }
        if (enabled == nullptr) {
            return kCGErrorIllegalArgument;
        }
        *enabled = mac().menuBar.autoHide ? 1 : 0;
        return kCGErrorSuccess;
    });
}

Boolean SLSGetMenuBarVisibilityOverrideOnDisplay(std::int32_t connection,
                                                 CGDirectDisplayID display) {
    const auto args = nlohmann::json::array({display});
    const bool visible = recordedCall(__func__, args, [&](const CallFault&) {
        Display* const found = findDisplay(display);
        return connection == mainConnection && found != nullptr && readOverride(*found);
    });
    return visible ? 1 : 0;
}

std::int32_t SLSSetMenuBarVisibilityOverrideOnDisplay(std::int32_t connection,
                                                      CGDirectDisplayID display, Boolean visible) {
    const auto args = nlohmann::json::array({display, recorded(visible)});
    return recordedCall(__func__, args, [&](const CallFault& fault) -> std::int32_t {
        if (connection != mainConnection) {
            return kCGErrorInvalidConnection;
        }
        Display* const found = findDisplay(display);
        if (found == nullptr) {
            return kCGErrorIllegalArgument;
        }
        setOverride(*found, visible != 0, fault.delayReads);
        return kCGErrorSuccess;
    });
}

CFStringRef SLSCopyActiveMenuBarDisplayIdentifier(std::int32_t connection) {
    const auto identifier = performCall(__func__, [&]() -> std::optional<std::string> {
        const std::string& active = mac().menuBar.activeDisplay;
        return connection == mainConnection && !active.empty() ? std::optional(active)
                                                               : std::nullopt;
    });
    return identifier ? cf::createString(*identifier) : nullptr;
}

CFArrayRef SLSCopyManagedDisplaySpaces(std::int32_t connection) {
    const CallFault fault = beginCall(__func__);
    if (fault.forcedResult) {
        return static_cast<CFArrayRef>(cf::createFromJson(*fault.forcedResult));
    }
    if (!fault.performs || connection != mainConnection) {
        return nullptr;
    }
    const auto& replacement = menuBarState().managedDisplaySpaces;
    return static_cast<CFArrayRef>(
        cf::createFromJson(replacement ? *replacement : managedDisplaySpaces()));
}

const OnReset offerSkyLight([] {
    using namespace tolvaran;
    offer("SkyLight", sky_light::mainConnection, CGSMainConnectionID);
    offer("SkyLight", sky_light::getAutohide, SLSGetMenuBarAutohideEnabled);
    offer("SkyLight", sky_light::getOverride, SLSGetMenuBarVisibilityOverrideOnDisplay);
    offer("SkyLight", sky_light::setOverride, SLSSetMenuBarVisibilityOverrideOnDisplay);
    offer("SkyLight", sky_light::copyActiveDisplay, SLSCopyActiveMenuBarDisplayIdentifier);
    offer("SkyLight", sky_light::copyManagedDisplaySpaces, SLSCopyManagedDisplaySpaces);
});

}  // namespace

extern "C" {

std::int32_t CGSMainConnectionID(void) {
    return performCall(__func__, [] { return mainConnection; });
}

CGError CGSSetMenuBarAutohideEnabled(std::int32_t connection, Boolean enabled) {
    const auto args = nlohmann::json::array({recorded(enabled)});
    return recordedCall(__func__, args,
                        [&](const CallFault&) { return setAutohide(connection, enabled != 0); });
}

}  // extern "C"

namespace simulator::devices {

void replaceManagedDisplaySpaces(nlohmann::json value) {
    menuBarState().managedDisplaySpaces = std::move(value);
}

}  // namespace simulator::devices
