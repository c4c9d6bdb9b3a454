// The displays as one check of the arrangement finds them: their names and their places. Main
// thread only.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "restore/arrangement/display_frame.hpp"

namespace tolvaran {

/// Takes the log lines of a check.
/// @param level "debug", "info", "warn" or "error"
using CheckLog = std::function<void(const std::string& level, const std::string& message)>;

/// The active displays at the beginning of a check.
struct Hardware {
    std::vector<CGDirectDisplayID> displays;  // in the window server's order
    std::map<std::string, CGDirectDisplayID> displayIDByCanonicalID;
    std::string signature;
};

/// Names the active displays, then loads the aliases. Logs what namedDisplays() logs.
Hardware readHardware();

/// Adds a display at its present or planned place. A display that has just gone has no area and is
/// left out: as a point at the desktop's origin it would turn any layout into a zigzag.
void addFrame(std::vector<DisplayFrame>& frames, CGDirectDisplayID display, const CGRect& frame);

/// Where the displays are now.
std::vector<DisplayFrame> currentFrames(const std::vector<CGDirectDisplayID>& displays);

/// Where the currently active displays are; those from the beginning of the check if they cannot be
/// listed again.
std::vector<DisplayFrame> presentFrames(const Hardware& hardware);

/// The origin of each display by its canonical ID.
std::map<std::string, CGPoint> currentOrigins(const Hardware& hardware);

}  // namespace tolvaran
