// Brings the displays to rest where saved arrangements move them to and fro. Two arrangements may
// each leave a zigzag that the other one moves: every move then brings a check, and every check a
// move, without end. So an arrangement that has moved the displays several times in quick
// succession and not brought them into order is left alone for a good while.
//
// This is the one thing that is remembered between checks, and only in memory. It is forgotten when
// the set of displays changes and when the main application has run: both bring a new situation, in
// which the same arrangement may be the right one.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstddef>
#include <vector>

#include "restore/arrangement/display_apply.hpp"

namespace tolvaran::repair_attempts {

inline constexpr double quickSuccession = 5 * 60;  // seconds
inline constexpr double goodWhile = 10 * 60;       // seconds
/// How often one arrangement, and all of them together, may move the displays in quick succession.
inline constexpr std::size_t mostOfOne = 3;
inline constexpr std::size_t mostOfAll = 24;

/// What comes of one more move.
enum class Verdict {
    goOn,
    leaveThisOne,  // it is not to be tried for a good while
    leaveAll,      // no arrangement is
};

/// Begins a check of these displays; forgets everything if the set has changed. An empty list
/// changes nothing, since the displays could not be listed.
void beginCheck(std::vector<CGDirectDisplayID> displays);

/// The main application has run: forgets everything.
void forget();

/// The displays stand in order: what brought them there is not held against it.
void noteOrder();

/// The arrangement has moved the displays.
/// @param leftZigzag whether a zigzag was left; otherwise it is only counted until noteOrder()
Verdict noteMove(const std::vector<HardwarePosition>& arrangement, bool leftZigzag);

/// Whether the arrangement may be tried now.
bool mayTry(const std::vector<HardwarePosition>& arrangement);

/// Whether the displays stand in a zigzag that arrangements have left which are now left alone.
bool haveLeftZigzag();

}  // namespace tolvaran::repair_attempts
