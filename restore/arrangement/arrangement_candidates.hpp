// The saved arrangements that may help displays in disorder, and the reasons not to use one. The
// repair tries them; tolvaran_describe says which one it would try. Not installed. Main thread
// only.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "restore/arrangement/display_apply.hpp"
#include "restore/arrangement/display_frame.hpp"
#include "restore/arrangement/hardware.hpp"
#include "restore/arrangement/originals_store.hpp"

namespace tolvaran {

using SavedArrangement = std::vector<OriginalsEntry>;
using SavedArrangements =
    std::map<std::string, SavedArrangement>;  // by the signatures of their displays
using Positions = std::vector<HardwarePosition>;

/// Where the displays are.
struct DisplayPlaces {
    std::map<CGDirectDisplayID, CGRect> frames = {};
    CGDirectDisplayID mainDisplay = kCGNullDirectDisplay;
};

/// These frames, with the display that is the main one now.
DisplayPlaces placesOf(const std::vector<DisplayFrame>& frames);

/// Where an arrangement puts its active displays.
Positions activePositions(const Hardware& hardware, const SavedArrangement& arrangement);

/// Why the positions must not be configured: "has N positions", "has out-of-range coordinates" or
/// "is itself zigzag"; none if they may be. They may have been read from a damaged file. Logs what
/// Zigzag::isZigzag() logs.
/// @param places gives the displays' sizes; a display missing there is left out of the layout
std::optional<std::string> flawOf(const Positions& positions, const DisplayPlaces& places);

/// Whether each display is where applying the positions would put it. Of several positions for one
/// display the last one counts, as in a configuration.
bool isInForce(const Positions& positions, const DisplayPlaces& places);

/// A saved arrangement of some of the active displays and no others.
struct Subset {
    std::size_t size;  // how many displays it names
    const SavedArrangement* entries;
};

/// Every such arrangement, those of the most displays first. They point into `arrangements`.
std::vector<Subset> subsetArrangements(const Hardware& hardware,
                                       const SavedArrangements& arrangements);

/// What is left of the arrangements of more displays if only the active ones are considered, in the
/// order of OriginalsProjection::projectedSupersetArrangements().
std::vector<SavedArrangement> projectedArrangements(const Hardware& hardware,
                                                    const SavedArrangements& arrangements);

}  // namespace tolvaran
