#include "simulator/devices/dock.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "simulator/devices/call.hpp"
#include "simulator/devices/symbols.hpp"
#include "simulator/machine/machine.hpp"

using namespace simulator;
using namespace simulator::devices;

namespace {

constexpr std::int32_t cornerCount = 4;

// The functions of HIServices. They have internal linkage, so that only a look-up reaches them.

void CoreDockGetExposeCornerActionsWithModifiers(std::int32_t* actions, std::int32_t* modifiers) {
    recordedCall(__func__, nlohmann::json::array(), [&](const CallFault&) {
        std::ranges::copy(mac().dock.cornerActions, actions);
        std::ranges::copy(mac().dock.cornerModifiers, modifiers);
    });
}

std::int32_t CoreDockSetExposeCornerActionWithModifier(std::int32_t action, std::int32_t corner,
                                                       std::int32_t modifier) {
    const auto args = nlohmann::json::array({action, corner, modifier});
    return recordedCall(__func__, args, [&](const CallFault&) -> std::int32_t {
        if (corner < 0 || corner >= cornerCount) {
            return kCGErrorIllegalArgument;
        }
        const auto index = static_cast<std::size_t>(corner);
        mac().dock.cornerActions.at(index) = action;
        mac().dock.cornerModifiers.at(index) = modifier;
        return kCGErrorSuccess;
    });
}

}  // namespace

extern "C" {

Boolean CoreDockGetAutoHideEnabled(void) {
    const bool enabled = recordedCall(__func__, nlohmann::json::array(),
                                      [](const CallFault&) { return mac().dock.autoHide; });
    return enabled ? 1 : 0;
}

void CoreDockSetAutoHideEnabled(Boolean enabled) {
    recordedCall(__func__, nlohmann::json::array({recorded(enabled)}),
                 [&](const CallFault&) { mac().dock.autoHide = enabled != 0; });
}

}  // extern "C"

namespace simulator::devices {

void registerDockSymbols() {
    using namespace tolvaran::hi_services;
    offer("HIServices", getCornerActions, CoreDockGetExposeCornerActionsWithModifiers);
    offer("HIServices", setCornerAction, CoreDockSetExposeCornerActionWithModifier);
}

}  // namespace simulator::devices
