// The private display-mode interface: CGSGetNumberOfDisplayModes(),
// CGSGetDisplayModeDescriptionOfLength(), CGSGetCurrentDisplayMode() and CGSConfigureDisplayMode(),
// which platform/private_interfaces.hpp declares and the product links directly.
//
// A call for a display that is not active, or for an index that the display does not have, returns
// an error and leaves the caller's memory alone. A record is filled as the window server does it:
// only the bytes of the known fields are written.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>

namespace simulator::devices {

/// Makes the window server claim this number of modes for the display, whatever it lists: fewer,
/// more, none, or an absurd number. reset() ends it.
void claimModeCount(CGDirectDisplayID display, std::int32_t count);

}  // namespace simulator::devices
