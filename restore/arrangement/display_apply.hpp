// The only place that moves displays, and the layout of last resort. Used by the arrangement
// invariant and by the main application. Main thread only.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <functional>
#include <vector>

#include "restore/arrangement/display_frame.hpp"

namespace tolvaran {

/// Where to put a display.
struct HardwarePosition {
    CGDirectDisplayID displayID = 0;
    CGPoint origin{};  // its top-left corner in global display coordinates, points

    bool operator==(const HardwarePosition& other) const;
};

namespace DisplayApply {

/// Called at one point of a configuration. May be empty.
using Hook = std::function<void()>;

/// Moves the displays in one configuration, for the login session. The positions are first shifted
/// together so that the current main display stays at (0, 0), if it is among them. Coordinates
/// are truncated toward zero to 32-bit integers; one that is not finite or does not fit stops the
/// program.
///
/// Logs, in this order:
/// - if the displays are shifted, through RestoreLog.info "Re-anchored saved positions to current
///   main 1: shift=(1920,0)"
/// - through RestoreLog.debug "Applying 2 positions to hardware", and for each display
///   "  display 7 -> (1920,0)"
/// - before the program is stopped, through RestoreLog.warn, as in "stopping: x of the origin of
///   display 7 is 3000000000, which does not fit in 32 bits"; for a number that does not even fit
///   in 64 bits it says so, and for the shift "stopping: x of the shift to the main display is …"
///
/// Failures are not logged; the caller does that.
/// @param beforeConfigure called in the configuration, before the first display is moved; if it
///                        throws, the configuration is cancelled and the exception passed on
/// @param afterConfigure  called after the configuration was completed, successfully or not
/// @return true if the window server accepted the configuration; false if it could not be begun
///         (then no hook is called) or completed, and for an empty list
bool applyOriginalsToHardware(const std::vector<HardwarePosition>& positions,
                              const Hook& beforeConfigure = nullptr,
                              const Hook& afterConfigure = nullptr);

/// The positions shifted together so that the first one of the main display is (0, 0): whichever
/// display stands there becomes the main display. Unchanged if the main display is not among them.
std::vector<HardwarePosition> anchoredPositions(std::vector<HardwarePosition> positions,
                                                CGDirectDisplayID mainID);

/// One row: the main display where it is, all others side by side to its right in list order, their
/// tops at y = 0, which is level with the main display on any desktop in order. Empty if the main
/// display is not in the list.
std::vector<HardwarePosition> stackedFallbackPositions(const std::vector<DisplayFrame>& displays,
                                                       CGDirectDisplayID mainID);

}  // namespace DisplayApply
}  // namespace tolvaran
