#include "simulator/devices/reconfiguration.hpp"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "simulator/devices/call.hpp"
#include "simulator/loop/main_queue.hpp"
#include "simulator/on_reset.hpp"

namespace simulator::devices {
namespace {

struct Registration {
    CGDisplayReconfigurationCallBack callback;
    void* userInfo;

    bool operator==(const Registration&) const = default;
};

std::vector<Registration>& registrations() {
    static std::vector<Registration> all;
    return all;
}

/// The displays as they were before a change.
struct Arrangement {
    std::vector<Display> displays;
    CGDirectDisplayID mainDisplay;
};

const Display* find(const std::vector<Display>& displays, CGDirectDisplayID id) {
    const auto found = std::ranges::find(displays, id, &Display::id);
    return found == displays.end() ? nullptr : &*found;
}

bool isAtOrigin(const Display& display) {
    return CGPointEqualToPoint(display.frame.origin, CGPointZero);
}

/// Whether the main display is still where it was.
bool mainDisplayStays(const Machine& now, const Arrangement& before) {
    const Display* const was = find(before.displays, before.mainDisplay);
    const Display* const is = find(now.displays, now.mainDisplay);
    if (was == nullptr || is == nullptr) {
        return was == is && now.mainDisplay != kCGNullDirectDisplay;
    }
    return CGPointEqualToPoint(was->frame.origin, is->frame.origin);
}

/// The new main display if the old one did not stay; null if there are no displays.
const Display* mainDisplayAfterMoves(const Machine& machine) {
    const Display* const main = find(machine.displays, machine.mainDisplay);
    if (main != nullptr && isAtOrigin(*main)) {
        return main;
    }
    const auto atOrigin = std::ranges::find_if(machine.displays, isAtOrigin);
    if (atOrigin != machine.displays.end()) {
        return &*atOrigin;
    }
    return main != nullptr || machine.displays.empty() ? main : &machine.displays.front();
}

void settleMainDisplay(Machine& machine, const Arrangement& before) {
    if (mainDisplayStays(machine, before)) {
        return;
    }
    const Display* const main = mainDisplayAfterMoves(machine);
    machine.mainDisplay = main != nullptr ? main->id : kCGNullDirectDisplay;
    const CGPoint shift = main != nullptr ? main->frame.origin : CGPointZero;
    for (Display& display : machine.displays) {
        display.frame.origin.x -= shift.x;
        display.frame.origin.y -= shift.y;
    }
}

void settleMenuBar(Machine& machine, const Arrangement& before) {
    const std::optional<std::string> holder = machine.menuBar.activeDisplay;
    const auto isThere = [&](const std::vector<Display>& displays) {
        return std::ranges::find(displays, holder, &Display::portUUID) != displays.end();
    };
    if (before.displays.empty() || (isThere(before.displays) && !isThere(machine.displays))) {
        machine.menuBar.activeDisplay = portUUIDOfMainDisplay(machine);
    }
}

std::vector<CGRect> frames(const std::vector<Display>& displays) {
    std::vector<CGRect> all;
    std::ranges::transform(displays, std::back_inserter(all), &Display::frame);
    return all;
}

CGDisplayChangeSummaryFlags desktopShapeFlag(const std::vector<Display>& before,
                                             const std::vector<Display>& now) {
    if (std::ranges::is_permutation(frames(before), frames(now), CGRectEqualToRect)) {
        return 0;
    }
    return kCGDisplayDesktopShapeChangedFlag;
}

CGDisplayChangeSummaryFlags changesOf(CGDirectDisplayID id, const Arrangement& before,
                                      const Machine& now) {
    const Display* const was = find(before.displays, id);
    const Display* const is = find(now.displays, id);
    if (is == nullptr) {
        return kCGDisplayRemoveFlag;
    }
    CGDisplayChangeSummaryFlags flags = 0;
    if (now.mainDisplay == id && before.mainDisplay != id) {
        flags |= kCGDisplaySetMainFlag;
    }
    if (was == nullptr) {
        return flags | kCGDisplayAddFlag;
    }
    if (!CGPointEqualToPoint(was->frame.origin, is->frame.origin)) {
        flags |= kCGDisplayMovedFlag;
    }
    if (was->mode != is->mode || !CGSizeEqualToSize(was->frame.size, is->frame.size)) {
        flags |= kCGDisplaySetModeFlag;
    }
    return flags;
}

void queueCallbacksSince(const Arrangement& before) {
    const Machine& now = mac();
    const CGDisplayChangeSummaryFlags shape = desktopShapeFlag(before.displays, now.displays);
    std::vector<CGDirectDisplayID> ids;
    std::ranges::transform(before.displays, std::back_inserter(ids), &Display::id);
    for (const Display& display : now.displays) {
        if (find(before.displays, display.id) == nullptr) {
            ids.push_back(display.id);
        }
    }
    std::vector<std::pair<CGDirectDisplayID, CGDisplayChangeSummaryFlags>> ends;
    ends.reserve(ids.size());
    for (const CGDirectDisplayID id : ids) {
        ends.emplace_back(id, changesOf(id, before, now) | shape);
    }
    if (std::ranges::none_of(ends, [](const auto& end) { return end.second != 0; })) {
        return;
    }
    for (const Display& display : before.displays) {
        queueCallback(display.id, kCGDisplayBeginConfigurationFlag);
    }
    for (const auto& [id, flags] : ends) {
        queueCallback(id, flags);
    }
}

}  // namespace

void changeDisplays(const std::function<void(Machine&)>& change) {
    Machine& machine = mac();
    const Arrangement before{machine.displays, machine.mainDisplay};
    change(machine);
    settleMainDisplay(machine, before);
    settleMenuBar(machine, before);
    queueCallbacksSince(before);
}

void queueCallback(CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags) {
    onMainQueue([display, flags] {
        // A copy, since a callback may register or remove callbacks.
        for (const Registration& registration : std::vector(registrations())) {
            registration.callback(display, flags, registration.userInfo);
        }
    });
}

static const OnReset forgetCallbacks([] { registrations().clear(); });

}  // namespace simulator::devices

using namespace simulator::devices;

extern "C" {

CGError CGDisplayRegisterReconfigurationCallback(CGDisplayReconfigurationCallBack callback,
                                                 void* userInfo) {
    return performCall(__func__, [&] {
        if (callback == nullptr) {
            return kCGErrorIllegalArgument;
        }
        registrations().push_back({callback, userInfo});
        return kCGErrorSuccess;
    });
}

CGError CGDisplayRemoveReconfigurationCallback(CGDisplayReconfigurationCallBack callback,
                                               void* userInfo) {
    return performCall(__func__, [&] {
        const auto found = std::ranges::find(registrations(), Registration{callback, userInfo});
        if (found == registrations().end()) {
            return kCGErrorIllegalArgument;
        }
        registrations().erase(found);
        return kCGErrorSuccess;
    });
}

}  // extern "C"
