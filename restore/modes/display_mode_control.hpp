// The display modes of the displays that are connected now: listing them, finding a saved one among
// them, switching to one, and what the main application's mode pickers need to know of a list.
// Used by the resolution restore and by the main application. Nothing here throws, nothing is
// kept between calls, and nothing logs but a number that no display can have: it stops the program,
// after a line through RestoreLog.warn that begins with "stopping: ".
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "restore/modes/display_mode_descriptor.hpp"
#include "restore/modes/display_mode_spec.hpp"

namespace tolvaran::DisplayModeControl {

/// Every mode of the display, in the window server's order. Modes that the window server refuses to
/// describe are listed too, as zeros. Empty when the display claims no mode or more than 4096.
std::vector<DisplayModeDescriptor> modes(CGDirectDisplayID displayID);

/// The listed mode that the display shows now; none when it shows none or one not listed.
std::optional<DisplayModeDescriptor> currentMode(CGDirectDisplayID displayID);

/// The number of the mode that the display shows now; none when the window server gives none or a
/// negative one.
std::optional<std::int32_t> currentModeNumber(CGDirectDisplayID displayID);

/// Switches the display to the mode of this number until the user logs out.
/// @return whether a display configuration was begun and completed. That the window server refused
///         to take the mode into it (CGSConfigureDisplayMode) does not count: such a change passes
///         for made.
bool apply(std::int32_t modeNum, CGDirectDisplayID displayID);

/// The usable mode that `spec` describes; none when there is none. A spec with a rate of 0 fits
/// every rate. Of several, the one with the highest exact rate (60 before 59.94, which both round
/// to 60), and of these the one with the lowest number.
std::optional<DisplayModeDescriptor> exactMatch(const DisplayModeSpec& spec,
                                                const std::vector<DisplayModeDescriptor>& modes);

/// The panel's own width in pixels: the greatest among the usable modes of native timing; 0 when
/// there is none. Stops the program where DisplayModeDescriptor::pixelWidth() does.
std::int64_t nativePixelWidth(const std::vector<DisplayModeDescriptor>& modes);

/// Whether the mode is rendered above the panel's own resolution: a HiDPI mode whose width in
/// points already reaches the panel's in pixels. False when `nativePixelWidth` is unknown (below
/// 1).
bool isSupersampled(const DisplayModeDescriptor& mode, std::int64_t nativePixelWidth);

/// The usable modes with a positive size, one for each spec (the first one listed, even where a
/// later one would come first in the order): larger areas first, then HiDPI modes, then higher
/// exact rates, then lower mode numbers. Stops the program when an area or a rounded rate is no
/// 64-bit integer.
std::vector<DisplayModeDescriptor> dedupedModes(const std::vector<DisplayModeDescriptor>& modes);

}  // namespace tolvaran::DisplayModeControl
