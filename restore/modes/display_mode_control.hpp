// The modes of the connected displays: lists them, finds a saved one among them, switches to one,
// and answers what the main application's mode pickers ask about a list. Used by the resolution
// restore and by the main application. Nothing here throws, except std::bad_alloc, and nothing is
// kept between calls. Main thread only.
//
// The only log lines are for numbers that no display can have, which stop the program: those of
// DisplayModeDescriptor, and of dedupedModes().
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "restore/modes/display_mode_descriptor.hpp"
#include "restore/modes/display_mode_spec.hpp"

namespace tolvaran::DisplayModeControl {

/// Every mode of the display, in the window server's order. Modes that the window server refuses to
/// describe are listed as zeros. Empty if the display claims no mode or more than 4096.
std::vector<DisplayModeDescriptor> modes(CGDirectDisplayID displayID);

/// The listed mode that the display shows now; none if it shows none, or one that is not listed.
std::optional<DisplayModeDescriptor> currentMode(CGDirectDisplayID displayID);

/// The number of the mode that the display shows now; none if the window server gives none or a
/// negative one.
std::optional<std::int32_t> currentModeNumber(CGDirectDisplayID displayID);

/// Switches the display to the mode of this number until the user logs out.
/// @return whether a display configuration was begun and completed. A refusal to add the mode to it
///         (CGSConfigureDisplayMode) is ignored: such a change counts as made.
bool apply(std::int32_t modeNum, CGDirectDisplayID displayID);

/// The usable mode that `spec` describes; none if there is none. A rate of 0 in it fits every
/// rate. Of several, the one with the highest exact rate (60 before 59.94, which both round to 60),
/// and of these the one with the lowest number. Stops the program where
/// DisplayModeDescriptor::roundedHz() does.
std::optional<DisplayModeDescriptor> exactMatch(const DisplayModeSpec& spec,
                                                const std::vector<DisplayModeDescriptor>& modes);

/// The panel's own width in pixels: the greatest among the usable modes of native timing; 0 if
/// there is none. Stops the program where DisplayModeDescriptor::pixelWidth() does.
std::int64_t nativePixelWidth(const std::vector<DisplayModeDescriptor>& modes);

/// Whether the mode is rendered above the panel's own resolution: a HiDPI mode whose width in
/// points already reaches the panel's in pixels. False if `nativePixelWidth` is unknown (below 1).
bool isSupersampled(const DisplayModeDescriptor& mode, std::int64_t nativePixelWidth);

/// The usable modes with a positive size, one for each spec (the first one listed, even if a later
/// one would sort before it): larger areas first, then HiDPI modes, then higher exact rates, then
/// lower mode numbers. Stops the program if a rounded rate does not fit in 64 bits, as
/// DisplayModeDescriptor::roundedHz() does, or if an area does not, after logging through
/// RestoreLog.warn, as in "stopping: area of mode 7 is 4294967296 times 4294967296, which does not
/// fit in 64 bits".
std::vector<DisplayModeDescriptor> dedupedModes(const std::vector<DisplayModeDescriptor>& modes);

}  // namespace tolvaran::DisplayModeControl
