#include "simulator/devices/dock.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "simulator/devices/call.hpp"
#include "simulator/devices/symbols.hpp"
#include "simulator/machine/machine_part.hpp"
#include "simulator/on_reset.hpp"

using namespace simulator;
using namespace simulator::devices;

namespace {

constexpr std::int32_t cornerCount = 4;

using Corners = decltype(Dock::cornerActions);

void readCorners(const JsonReader& dock, const std::string& key, Corners& into) {
    ifPresent(dock, key, [&](const JsonReader& list) {
        std::ranges::transform(
            list.elements(into.size()), into.begin(),
            [](const JsonReader& corner) { return corner.integer<std::int32_t>(); });
    });
}

void readDock(const JsonReader& value, Dock& dock) {
    value.requireKeys({"autoHide", "cornerActions", "cornerModifiers"});
    readBoolean(value, "autoHide", dock.autoHide);
    readCorners(value, "cornerActions", dock.cornerActions);
    readCorners(value, "cornerModifiers", dock.cornerModifiers);
}

nlohmann::json writeDock(const Dock& dock) {
    return {{"autoHide", dock.autoHide},
            {"cornerActions", dock.cornerActions},
            {"cornerModifiers", dock.cornerModifiers}};
}

const MachinePart<Dock> dock("dock", readDock, writeDock);

// The functions of HIServices. They have internal linkage, so that only a look-up reaches them.

void CoreDockGetExposeCornerActionsWithModifiers(std::int32_t* actions, std::int32_t* modifiers) {
    recordedCall(__func__, nlohmann::json::array(), [&](const CallFault&) {
        std::ranges::copy(dock.state().cornerActions, actions);
        std::ranges::copy(dock.state().cornerModifiers, modifiers);
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
        dock.state().cornerActions.at(index) = action;
        dock.state().cornerModifiers.at(index) = modifier;
        return kCGErrorSuccess;
    });
}

const OnReset offerCorners([] {
    using namespace tolvaran::hi_services;
    offer("HIServices", getCornerActions, CoreDockGetExposeCornerActionsWithModifiers);
    offer("HIServices", setCornerAction, CoreDockSetExposeCornerActionWithModifier);
});

}  // namespace

extern "C" {

Boolean CoreDockGetAutoHideEnabled(void) {
    const bool enabled = recordedCall(__func__, nlohmann::json::array(),
                                      [](const CallFault&) { return dock.state().autoHide; });
    return enabled ? 1 : 0;
}

void CoreDockSetAutoHideEnabled(Boolean enabled) {
    recordedCall(__func__, nlohmann::json::array({recorded(enabled)}),
                 [&](const CallFault&) { dock.state().autoHide = enabled != 0; });
}

}  // extern "C"

namespace simulator {

const Dock& dockOf(const Machine& machine) {
    return std::any_cast<const Dock&>(machine.parts.at("dock"));
}

}  // namespace simulator
