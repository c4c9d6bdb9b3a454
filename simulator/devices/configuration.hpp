// Display configurations: changes that are collected from CGBeginDisplayConfiguration() on and
// show only once they are completed. A configuration that is cancelled, or never completed, leaves
// no trace but itself: openConfigurations() in simulator.hpp counts those still open.
//
// What is completed is exactly what shows: displays stand where they were asked to, even if they
// then overlap or touch nothing. A Mac's window server moves them until there are neither gaps nor
// overlaps, so that what it shows may differ from what it reported success for.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>

namespace simulator::devices {

/// Adds a mode change to an open configuration. Whether the display has such a mode is only looked
/// at on completion.
/// @return kCGErrorIllegalArgument if the configuration is not open or the display not active
CGError stageMode(CGDisplayConfigRef config, CGDirectDisplayID display, std::int32_t modeNumber);

}  // namespace simulator::devices
