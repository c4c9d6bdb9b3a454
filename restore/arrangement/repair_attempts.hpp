// Stops arrangements that never settle the displays. Two saved arrangements may each leave a
// zigzag: every move then triggers a check, and every check applies the other one, endlessly. Or
// the window server accepts a configuration and does nothing. So an arrangement that has been
// applied several times in quick succession without settling the displays is left alone for a
// while.
//
// Checks remember nothing else, and this only in memory. It is forgotten when the set of displays
// changes and when the main application has run: in the new situation the same arrangement may be
// right. Main thread only.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstddef>
#include <vector>

#include "restore/arrangement/display_apply.hpp"

namespace tolvaran::repair_attempts {

/// How long an attempt counts, in seconds.
inline constexpr double quickSuccession = 5 * 60;
/// How long an arrangement is then left alone, in seconds.
inline constexpr double exclusionTime = 10 * 60;
/// How often one arrangement, and all of them together, may be applied in quick succession.
inline constexpr std::size_t limitForOne = 3;
inline constexpr std::size_t limitForAll = 24;

/// What applying an arrangement has done.
enum class Effect {
    none,        // accepted, but no display has moved
    leftZigzag,  // the displays have moved, and a zigzag is left
    settled,     // the displays have moved, and no zigzag is left
};

/// What follows from one more attempt.
enum class NextStep {
    goOn,
    leaveThisOne,  // do not try it for a while
    leaveAll,      // do not try any saved arrangement for a while
};

/// Begins a check of these displays; forgets everything if the set has changed. An empty list
/// changes nothing, since the displays could not be listed.
void beginCheck(std::vector<CGDirectDisplayID> displays);

/// The main application has run: forgets everything.
void forget();

/// The displays are in order: what put them there does not count as an attempt.
void noteOrder();

/// The arrangement has been applied. One that settled the displays counts only until noteOrder().
NextStep noteAttempt(const std::vector<HardwarePosition>& arrangement, Effect effect);

/// Whether this saved arrangement may be tried now.
bool mayTry(const std::vector<HardwarePosition>& arrangement);

/// Whether this row, the fallback if no saved arrangement is usable, may be tried now.
bool mayTryRow(const std::vector<HardwarePosition>& row);

/// Whether the displays are in a zigzag left by arrangements that are now left alone.
bool haveLeftZigzag();

}  // namespace tolvaran::repair_attempts
