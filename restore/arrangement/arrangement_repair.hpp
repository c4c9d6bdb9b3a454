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
//   nothing has moved           The window server accepts a configuration without effect; that is
//                               no repair either, and the next arrangement is tried.
//   moved again and again       Arrangements that move the displays to and fro are left alone for
//                               a while (repair_attempts.hpp); the row then ends the zigzag,
//                               even one that is not full: it is not the user's layout.
//   24 configurations           One check makes no more, however many arrangements a file holds.
#pragma once

#include "restore/arrangement/hardware.hpp"

namespace tolvaran {

/// Tries the saved arrangements, then the row, until one leaves no zigzag. A success is logged at
/// "info", as in "restored exact arrangement for sig=" and the signature, and clears the set marks;
/// otherwise they stay, and "no usable saved arrangement or fallback for sig=" is logged at "warn".
/// Every skipped arrangement is logged with the reason.
void repairArrangement(const Hardware& hardware, const CheckLog& log);

}  // namespace tolvaran
