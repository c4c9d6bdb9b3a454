// Brings the displays to rest where arrangements do not settle them. Two saved arrangements may
// each leave a zigzag that the other one moves: every move then brings a check, and every check a
// move, without end. Or the window server accepts a configuration and does nothing. So an
// arrangement that has been applied several times in quick succession without settling the displays
// is left alone for a good while.
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
/// How often one arrangement, and all of them together, may be applied in quick succession.
inline constexpr std::size_t mostOfOne = 3;
inline constexpr std::size_t mostOfAll = 24;

/// What applying an arrangement has done.
enum class Effect {
    none,        // accepted, but no display has moved
    leftZigzag,  // the displays have moved, and a zigzag is left
    settled,     // the displays have moved, and no zigzag is left
};

/// What follows from one more attempt.
enum class Verdict {
    goOn,
    leaveThisOne,  // it is not to be tried for a good while
    leaveAll,      // no saved arrangement is
};

/// Begins a check of these displays; forgets everything if the set has changed. An empty list
/// changes nothing, since the displays could not be listed.
void beginCheck(std::vector<CGDirectDisplayID> displays);

/// The main application has run: forgets everything.
void forget();

/// The displays stand in order: what brought them there is not held against it.
void noteOrder();

/// The arrangement has been applied. One that settled the displays counts only until noteOrder().
Verdict noteAttempt(const std::vector<HardwarePosition>& arrangement, Effect effect);

/// Whether this saved arrangement may be tried now.
bool mayTry(const std::vector<HardwarePosition>& arrangement);

/// Whether this row, which is made up where no saved arrangement may be tried, may be tried now.
bool mayTryRow(const std::vector<HardwarePosition>& row);

/// Whether the displays stand in a zigzag that arrangements have left which are now left alone.
bool haveLeftZigzag();

}  // namespace tolvaran::repair_attempts
