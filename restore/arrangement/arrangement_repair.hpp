// Puts the displays back from a layout that only the main application makes: to the arrangement
// saved for exactly these displays, else to one saved for some of them, else to their places in one
// saved for more displays, else into one row. Used by the arrangement invariant. Main thread only.
//
// A saved arrangement may be damaged, out of date or refused, so there are guards:
//
//   more than 16 positions      No Mac has so many displays. A damaged record must not keep the
//                               steps behind this one waiting.
//   out-of-range coordinates    The window server takes 32-bit integers; anything else would stop
//                               the program, and the steps behind this one with it.
//   in force already            Setting origins that are in place can block the window server for
//                               seconds, so nothing is configured. The exact arrangement then
//                               counts as restored, unless a zigzag remains. Any other is passed
//                               over: it would settle the marks although it repaired nothing.
//   nothing has moved           The window server may accept a configuration that changes nothing.
//                               The next arrangement is then tried.
//   moved again and again       Arrangements that move the displays back and forth are left alone
//                               for a while (repair_attempts.hpp); the row then ends the zigzag,
//                               even one that is not full: it is not the user's layout.
//   24 configurations           One check makes no more, however many arrangements a file holds.
//   an unreadable display       If a display's place cannot be read, all places are read once more
//                               before and after a configuration: whether that display has moved
//                               decides the outcome.
//   a display without area      It has just gone, and is left out: as a point at the desktop's
//                               origin it would turn any layout into a zigzag.
//   doubtful set marks          Marks that look out of date are removed only if a second look at
//                               the displays and at the file confirms it
//                               (MainApplicationLayout::clearStaleMarks()).
//   changed records             Set marks that another process has changed since the run began
//                               stay: they are about a newer layout.
#pragma once

#include "restore/arrangement/hardware.hpp"

namespace tolvaran {

/// Tries the saved arrangements, then the row, until one leaves no zigzag. A success clears the set
/// marks; otherwise they stay. In these lines SIG is the signature, N a number, and NAME "sig=SIG",
/// "subset(N)" or "superset-projection[N]".
///
/// Logs at "info", after a success, one of:
/// - "restored exact arrangement for sig=SIG"
/// - "subset-restored for sig=SIG from N-display arrangement"
/// - "superset-projection-restored for sig=SIG"
/// - "restored stacked fallback for sig=SIG"
///
/// Logs at "warn":
/// - "candidate NAME has N positions, skipping", "candidate NAME has out-of-range coordinates,
///   skipping" and "candidate NAME is itself zigzag, skipping"
/// - "layout is corner-only but not a full zigzag (ambiguous); skipping superset projection"
/// - "no saved arrangement was usable, but layout is not a full zigzag; leaving hardware unchanged"
/// - "applying stacked fallback because no saved arrangement was usable"
/// - "candidate NAME was applied N times without settling the displays; skipping for N minutes", or
///   the same about "stacked fallback was" or "saved arrangements were"
/// - "no usable saved arrangement or fallback for sig=SIG", if nothing succeeded
///
/// Logs at "error" "CG configure rejected for NAME" and "CG configure rejected stacked fallback".
///
/// Logs at "debug":
/// - "candidate NAME is already in force, skipping" and "stacked fallback is already in force,
///   skipping"
/// - "not trying further saved arrangements in this check"
/// - what MainApplicationLayout::clear() logs
///
/// Through RestoreLog, also logs what OriginalsStore::load(), Zigzag::isZigzag(),
/// DisplayApply::applyOriginalsToHardware() and the stores of set marks log.
void repairArrangement(const Hardware& hardware, const CheckLog& log);

}  // namespace tolvaran
