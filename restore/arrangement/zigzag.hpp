// Recognises layouts in which displays meet at their corners only ("zigzag" or corner-touch
// layouts), and names sets of displays. The system's display settings never make a zigzag, so once
// the main application is gone such a layout was left by it. Used by the arrangement invariant.
// Main thread only.
//
// Edges and corners count as touching within a tolerance of 1.0 point. Two displays share a side
// when an edge of one lies on an edge of the other along more than the tolerance; they touch at a
// corner when they touch in both directions without sharing more than the tolerance in either.
//
// The order of the displays never changes the answer. An edge whose coordinate is not a number
// touches nothing, and an overlap with it is neither within the tolerance nor above it.
#pragma once

#include <string>
#include <vector>

#include "restore/arrangement/display_frame.hpp"

namespace tolvaran::Zigzag {

/// Whether two displays touch at a corner and no third one shares a side with both of them (as the
/// middle display of an L does, whose two ends meet at its inner corner). If so, logs through
/// RestoreLog.info "Detected zigzag/corner-touch arrangement".
bool isZigzag(const std::vector<DisplayFrame>& displays);

/// Whether the layout consists of corner touches alone: no two displays share a side, and touching
/// corners connect all of them. False for fewer than two displays. Logs nothing.
bool isFullZigzag(const std::vector<DisplayFrame>& displays);

/// The string that names a set of displays, the key of every saved arrangement and set mark: the
/// canonical IDs in ascending byte order, duplicates kept, joined with ",". It depends neither on
/// where the displays are nor on the order in which they are listed.
std::string signature(std::vector<std::string> canonicalIDs);

}  // namespace tolvaran::Zigzag
