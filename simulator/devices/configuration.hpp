// Display configurations: changes that are collected from CGBeginDisplayConfiguration() on and take
// effect only on completion. A configuration that is cancelled or never completed changes nothing;
// openConfigurations() in simulator.hpp counts those still open.
//
// A completed configuration takes effect exactly as asked for, even if displays then overlap or
// touch nothing. A Mac's window server moves them until there are neither gaps nor overlaps, so the
// result may differ from what it reported success for.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>

namespace simulator::devices {

/// Adds a mode change to an open configuration. Whether the display has such a mode is checked only
/// on completion.
/// @return kCGErrorIllegalArgument if the configuration is not open or the display not active
CGError stageMode(CGDisplayConfigRef config, CGDirectDisplayID display, std::int32_t modeNumber);

}  // namespace simulator::devices
