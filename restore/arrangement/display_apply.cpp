#include "restore/arrangement/display_apply.hpp"

#include <algorithm>
#include <string>
#include <utility>

#include "restore/paths/restore_log.hpp"
#include "restore/support/checked.hpp"

namespace tolvaran {

bool HardwarePosition::operator==(const HardwarePosition& other) const {
    return displayID == other.displayID && CGPointEqualToPoint(origin, other.origin);
}

namespace DisplayApply {
namespace {

/// The element of a list for this display; the end if there is none.
template <typename List>
auto findDisplay(const List& list, CGDirectDisplayID displayID) {
    return std::find_if(list.begin(), list.end(), [displayID](const auto& element) {
        return element.displayID == displayID;
    });
}

/// "(x,y)" in whole points. `what` names the point in the message if a coordinate does not fit.
std::string wholePoint(const CGPoint& point, const std::string& what) {
    return "(" + std::to_string(checked::int64(point.x, "x of " + what)) + "," +
           std::to_string(checked::int64(point.y, "y of " + what)) + ")";
}

/// The main display's position; (0, 0) if it has none.
CGPoint mainOrigin(const std::vector<HardwarePosition>& positions, CGDirectDisplayID mainID) {
    const auto main = findDisplay(positions, mainID);
    return main == positions.end() ? CGPointZero : main->origin;
}

std::vector<HardwarePosition> anchoredAtMain(const std::vector<HardwarePosition>& positions) {
    const CGDirectDisplayID mainID = CGMainDisplayID();
    const CGPoint shift = mainOrigin(positions, mainID);
    if (!CGPointEqualToPoint(shift, CGPointZero)) {
        RestoreLog::info("Re-anchored saved positions to current main " + std::to_string(mainID) +
                         ": shift=" + wholePoint(shift, "the shift to the main display"));
    }
    return anchoredPositions(positions, mainID);
}

/// A display configuration in progress. Cancelled unless it is completed.
class OpenConfiguration {
  public:
    explicit OpenConfiguration(CGDisplayConfigRef configuration) : configuration_(configuration) {}
    OpenConfiguration(const OpenConfiguration&) = delete;
    OpenConfiguration& operator=(const OpenConfiguration&) = delete;
    ~OpenConfiguration() {
        if (configuration_ != nullptr) {
            CGCancelDisplayConfiguration(configuration_);
        }
    }

    CGDisplayConfigRef get() const { return configuration_; }

    /// For the session only: the user's permanent arrangement is not ours to write. A failure
    /// cancels nothing, since completing ends the configuration in either case.
    CGError complete() {
        return CGCompleteDisplayConfiguration(std::exchange(configuration_, nullptr),
                                              kCGConfigureForSession);
    }

  private:
    CGDisplayConfigRef configuration_;
};

void configureOrigin(CGDisplayConfigRef configuration, const HardwarePosition& position) {
    const std::string display = "display " + std::to_string(position.displayID);
    const std::string what = "the origin of " + display;
    RestoreLog::debug("  " + display + " -> " + wholePoint(position.origin, what));
    // The result does not matter: the window server judges the layout as a whole, on completion.
    CGConfigureDisplayOrigin(configuration, position.displayID,
                             checked::int32(position.origin.x, "x of " + what),
                             checked::int32(position.origin.y, "y of " + what));
}

void call(const Hook& hook) {
    if (hook) {
        hook();
    }
}

}  // namespace

bool applyOriginalsToHardware(const std::vector<HardwarePosition>& positions,
                              const Hook& beforeConfigure, const Hook& afterConfigure) {
    if (positions.empty()) {
        return false;
    }
    const std::vector<HardwarePosition> anchored = anchoredAtMain(positions);
    RestoreLog::debug("Applying " + std::to_string(anchored.size()) + " positions to hardware");

    CGDisplayConfigRef begun = nullptr;
    if (CGBeginDisplayConfiguration(&begun) != kCGErrorSuccess) {
        return false;
    }
    OpenConfiguration configuration(begun);
    call(beforeConfigure);
    for (const HardwarePosition& position : anchored) {
        configureOrigin(configuration.get(), position);
    }
    const CGError completion = configuration.complete();
    call(afterConfigure);
    return completion == kCGErrorSuccess;
}

std::vector<HardwarePosition> anchoredPositions(std::vector<HardwarePosition> positions,
                                                CGDirectDisplayID mainID) {
    const CGPoint shift = mainOrigin(positions, mainID);
    for (HardwarePosition& position : positions) {
        position.origin.x -= shift.x;
        position.origin.y -= shift.y;
    }
    return positions;
}

std::vector<HardwarePosition> stackedFallbackPositions(const std::vector<DisplayFrame>& displays,
                                                       CGDirectDisplayID mainID) {
    const auto main = findDisplay(displays, mainID);
    if (main == displays.end()) {
        return {};
    }
    double x = CGRectGetMaxX(main->frame);
    std::vector<HardwarePosition> positions;
    for (const DisplayFrame& display : displays) {
        if (display.displayID == mainID) {
            positions.push_back({.displayID = mainID, .origin = display.frame.origin});
            continue;
        }
        // At 0 even if the main display's top is elsewhere: applying shifts the row so that the
        // main display is at (0, 0), where it is anyway on any desktop in order.
        positions.push_back({.displayID = display.displayID, .origin = CGPointMake(x, 0)});
        x += CGRectGetWidth(display.frame);
    }
    return positions;
}

}  // namespace DisplayApply
}  // namespace tolvaran
