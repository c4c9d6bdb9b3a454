#include "simulator/devices/displays.hpp"

#include <ColorSync/ColorSync.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "simulator/devices/call.hpp"
#include "simulator/devices/reconfiguration.hpp"

namespace simulator::devices {
namespace {

void requireActive(CGDirectDisplayID id) {
    if (findDisplay(id) == nullptr) {
        throw std::invalid_argument("display " + std::to_string(id) + " is not active");
    }
}

/// The answer to a query about one display: the field's value, or zero for a display that is gone.
template <typename Value>
Value fieldOf(CGDirectDisplayID id, Value Display::*field) {
    const Display* const display = findDisplay(id);
    return display == nullptr ? Value{} : display->*field;
}

}  // namespace

void connect(Display display) {
    if (findDisplay(display.id) != nullptr) {
        throw std::invalid_argument("display " + std::to_string(display.id) + " is active already");
    }
    changeDisplays([&](Machine& machine) { machine.displays.push_back(std::move(display)); });
}

void disconnect(CGDirectDisplayID id) {
    requireActive(id);
    changeDisplays([&](Machine& machine) {
        std::erase_if(machine.displays, [&](const Display& display) { return display.id == id; });
    });
}

void arrange(const std::map<CGDirectDisplayID, CGPoint>& origins) {
    for (const auto& [id, origin] : origins) {
        requireActive(id);
    }
    changeDisplays([&](Machine&) {
        for (const auto& [id, origin] : origins) {
            findDisplay(id)->frame.origin = origin;
        }
    });
}

void reconfigure(CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags) {
    queueCallback(display, flags);
}

}  // namespace simulator::devices

using namespace simulator;
using namespace simulator::devices;

extern "C" {

CGDirectDisplayID CGMainDisplayID(void) {
    return performCall(__func__, [] { return mac().mainDisplay; });
}

CGError CGGetActiveDisplayList(std::uint32_t maxDisplays, CGDirectDisplayID* activeDisplays,
                               std::uint32_t* displayCount) {
    return performCall(__func__, [&] {
        const std::vector<Display>& displays = mac().displays;
        std::size_t count = displays.size();
        if (activeDisplays != nullptr) {
            count = std::min<std::size_t>(count, maxDisplays);
            std::transform(displays.begin(), displays.begin() + static_cast<std::ptrdiff_t>(count),
                           activeDisplays, [](const Display& display) { return display.id; });
        }
        if (displayCount != nullptr) {
            *displayCount = static_cast<std::uint32_t>(count);
        }
        return kCGErrorSuccess;
    });
}

CGRect CGDisplayBounds(CGDirectDisplayID display) {
    const CallFault fault = beginCall(__func__);
    if (fault.forcedResult) {
        const auto [x, y, width, height] = fault.forcedResult->get<std::array<double, 4>>();
        return CGRectMake(x, y, width, height);
    }
    return fault.performs ? fieldOf(display, &Display::frame) : CGRectZero;
}

boolean_t CGDisplayIsActive(CGDirectDisplayID display) {
    return performCall(__func__, [&] { return boolean_t{findDisplay(display) != nullptr}; });
}

std::uint32_t CGDisplayVendorNumber(CGDirectDisplayID display) {
    return performCall(__func__, [&] { return fieldOf(display, &Display::vendor); });
}

std::uint32_t CGDisplayModelNumber(CGDirectDisplayID display) {
    return performCall(__func__, [&] { return fieldOf(display, &Display::model); });
}

std::uint32_t CGDisplaySerialNumber(CGDirectDisplayID display) {
    return performCall(__func__, [&] { return fieldOf(display, &Display::serial); });
}

CFUUIDRef CGDisplayCreateUUIDFromDisplayID(std::uint32_t displayID) {
    const auto uuid = performCall(__func__, [&] { return fieldOf(displayID, &Display::portUUID); });
    if (!uuid) {
        return nullptr;
    }
    const cf::Owned<CFStringRef> text(cf::createString(*uuid));
    return CFUUIDCreateFromString(kCFAllocatorDefault, text.get());
}

}  // extern "C"
