#include "simulator/devices/configuration.hpp"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <map>

#include "simulator/devices/call.hpp"
#include "simulator/devices/reconfiguration.hpp"
#include "simulator/on_reset.hpp"
#include "simulator/simulator.hpp"

namespace simulator::devices {
namespace {

struct StagedChanges {
    std::map<CGDirectDisplayID, CGPoint> origins;
    std::map<CGDirectDisplayID, std::int32_t> modes;
};

struct Configurations {
    std::map<CGDisplayConfigRef, StagedChanges> open;
    // A handle is the address of one of these. They are never freed, so no address is reused and a
    // handle used too late is always noticed.
    std::deque<char> handles;
};

Configurations& configurations() {
    static Configurations all;
    return all;
}

/// Collects this display's changes; null if the configuration is not open or the display not
/// active.
StagedChanges* stagedFor(CGDisplayConfigRef config, CGDirectDisplayID display) {
    const auto found = configurations().open.find(config);
    return found == configurations().open.end() || findDisplay(display) == nullptr ? nullptr
                                                                                   : &found->second;
}

const DisplayMode* findMode(const Display& display, std::int32_t number) {
    const auto found = std::ranges::find(display.modes, number, &DisplayMode::number);
    return found == display.modes.end() ? nullptr : &*found;
}

bool isSupported(const StagedChanges& changes) {
    return std::ranges::all_of(changes.modes, [](const auto& change) {
        const Display* const display = findDisplay(change.first);
        return display == nullptr || findMode(*display, change.second) != nullptr;
    });
}

void makeChanges(const StagedChanges& changes) {
    for (const auto& [id, number] : changes.modes) {
        if (Display* const display = findDisplay(id)) {
            const DisplayMode& mode = *findMode(*display, number);
            display->mode = number;
            display->frame.size = CGSizeMake(mode.width, mode.height);
        }
    }
    for (const auto& [id, origin] : changes.origins) {
        if (Display* const display = findDisplay(id)) {
            display->frame.origin = origin;
        }
    }
}

CGError complete(const StagedChanges& changes) {
    if (!isSupported(changes)) {
        return kCGErrorIllegalArgument;
    }
    changeDisplays([&](Machine&) { makeChanges(changes); });
    return kCGErrorSuccess;
}

}  // namespace

CGError stageMode(CGDisplayConfigRef config, CGDirectDisplayID display, std::int32_t modeNumber) {
    StagedChanges* const staged = stagedFor(config, display);
    if (staged == nullptr) {
        return kCGErrorIllegalArgument;
    }
    staged->modes[display] = modeNumber;
    return kCGErrorSuccess;
}

static const OnReset closeConfigurations([] { configurations().open.clear(); });

}  // namespace simulator::devices

namespace simulator {

std::size_t openConfigurations() {
    return devices::configurations().open.size();
}

}  // namespace simulator

using namespace simulator::devices;

extern "C" {

CGError CGBeginDisplayConfiguration(CGDisplayConfigRef* config) {
    return recordedCall(__func__, nlohmann::json::array(), [&](const simulator::CallFault&) {
        if (config == nullptr) {
            return kCGErrorIllegalArgument;
        }
        char& handle = configurations().handles.emplace_back();
        *config = reinterpret_cast<CGDisplayConfigRef>(&handle);
        configurations().open[*config] = {};
        return kCGErrorSuccess;
    });
}

CGError CGConfigureDisplayOrigin(CGDisplayConfigRef config, CGDirectDisplayID display,
                                 std::int32_t x, std::int32_t y) {
    const auto args = nlohmann::json::array({display, x, y});
    return recordedCall(__func__, args, [&](const simulator::CallFault&) {
        StagedChanges* const staged = stagedFor(config, display);
        if (staged == nullptr) {
            return kCGErrorIllegalArgument;
        }
        staged->origins[display] = CGPointMake(x, y);
        return kCGErrorSuccess;
    });
}

CGError CGCancelDisplayConfiguration(CGDisplayConfigRef config) {
    return recordedCall(__func__, nlohmann::json::array(), [&](const simulator::CallFault&) {
        const auto closed = configurations().open.erase(config);
        return closed == 0 ? kCGErrorIllegalArgument : kCGErrorSuccess;
    });
}

CGError CGCompleteDisplayConfiguration(CGDisplayConfigRef config, CGConfigureOption option) {
    // Taken out first: completion ends the configuration even if it fails.
    const auto closed = configurations().open.extract(config);
    return recordedCall(__func__, nlohmann::json::array({option}),
                        [&](const simulator::CallFault&) {
                            if (closed.empty() || option > kCGConfigurePermanently) {
                                return kCGErrorIllegalArgument;
                            }
                            return complete(closed.mapped());
                        });
}

}  // extern "C"
