#include "restore/arrangement/hardware.hpp"

#include "restore/arrangement/named_displays.hpp"
#include "restore/arrangement/zigzag.hpp"

namespace tolvaran {

Hardware readHardware() {
    const std::vector<CGDirectDisplayID> displays = activeDisplays();
    const std::vector<NamedDisplay> named = namedDisplays(displays, AliasLoading::afterNaming);
    std::vector<std::string> ids;
    for (const NamedDisplay& display : named) {
        ids.push_back(display.canonicalID);
    }
    return {.displays = displays,
            .displayIDByCanonicalID = displaysByCanonicalID(named),
            .signature = Zigzag::signature(std::move(ids))};
}

void addFrame(std::vector<DisplayFrame>& frames, CGDirectDisplayID display, const CGRect& frame) {
    if (!CGRectIsEmpty(frame)) {
        frames.push_back({.displayID = display, .frame = frame});
    }
}

std::vector<DisplayFrame> currentFrames(const std::vector<CGDirectDisplayID>& displays) {
    std::vector<DisplayFrame> frames;
    for (const CGDirectDisplayID display : displays) {
        addFrame(frames, display, CGDisplayBounds(display));
    }
    return frames;
}

std::vector<DisplayFrame> presentFrames(const Hardware& hardware) {
    const std::vector<CGDirectDisplayID> present = activeDisplays();
    return currentFrames(present.empty() ? hardware.displays : present);
}

std::map<std::string, CGPoint> currentOrigins(const Hardware& hardware) {
    std::map<std::string, CGPoint> origins;
    for (const auto& [uuid, display] : hardware.displayIDByCanonicalID) {
        origins[uuid] = CGDisplayBounds(display).origin;
    }
    return origins;
}

}  // namespace tolvaran
