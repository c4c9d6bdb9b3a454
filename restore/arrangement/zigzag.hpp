// Recognises layouts in which displays meet at their corners only ("zigzag" or corner-touch
// layouts), and names sets of displays. The system's display settings never make a zigzag, so after
// the main application has gone such a layout is a leftover of it. Used by the arrangement
// invariant.
//
// Edges and corners count as touching within a tolerance of 1.0 point. Two displays share a side
// when an edge of one lies on an edge of the other along more than the tolerance; they touch at a
// corner when they touch in both directions without sharing more than the tolerance in either.
//
// Both tests take displays in any order, which never changes the answer; an edge whose coordinate
// is not a number touches nothing, and an overlap with it is neither within the tolerance nor
// above.
#pragma once

#include <string>
#include <vector>

#include "restore/arrangement/display_frame.hpp"

namespace tolvaran::Zigzag {

/// Whether two displays touch at a corner without a third one that shares a side with both of them
/// (as the middle display of an L does, whose two ends meet at its inner corner). Logs through
/// RestoreLog.info "Detected zigzag/corner-touch arrangement" when so.
bool isZigzag(const std::vector<DisplayFrame>& displays);

/// Whether the layout consists of corner touches alone: no two displays share a side, and all hang
/// together through touching corners. False for fewer than two displays. Logs nothing.
bool isFullZigzag(const std::vector<DisplayFrame>& displays);

/// The one string that names a set of displays: the key of every saved arrangement and set mark.
/// The canonical IDs in ascending byte order, duplicates kept, joined with ",". It does not depend
/// on where the displays stand nor on the order in which they are listed.
std::string signature(std::vector<std::string> canonicalIDs);

}  // namespace tolvaran::Zigzag
