// Changes of the displays from outside: by a user at the desk, or by other programs. The scenario
// player and tests call these. Each queues the reconfiguration callbacks that follow
// (reconfiguration.hpp).
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <map>

#include "simulator/machine/machine.hpp"

namespace simulator::devices {

/// The display joins the active list as its last element.
/// @throws std::invalid_argument if a display with this ID is active already
void connect(Display display);

/// The display leaves the active list.
/// @throws std::invalid_argument if it is not active
void disconnect(CGDirectDisplayID id);

/// The displays named move to these origins (global display coordinates, points).
/// @throws std::invalid_argument if one is not active; then none moves
void arrange(const std::map<CGDirectDisplayID, CGPoint>& origins);

/// Nothing changes, and exactly this one callback follows; the display need not be active.
void reconfigure(CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags);

}  // namespace simulator::devices
