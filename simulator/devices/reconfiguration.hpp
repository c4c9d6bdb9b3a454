// Changes of the displays and the callbacks that follow them. Everything that connects, moves or
// resizes displays goes through changeDisplays(), so that the main display and the callbacks are
// right whatever caused the change.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <functional>

#include "simulator/machine/machine.hpp"

namespace simulator::devices {

/// Performs `change` on the machine, then reacts as the window server does.
///
/// The main display is the display at the origin. If the change moves it away from there, a display
/// that is now at the origin becomes the main one; if there is none, all displays shift so that the
/// main one is at the origin again. If the main display is gone, or there was none, the display at
/// the origin, else the first one listed, takes its place. A machine described with its main
/// display elsewhere, or with one that is not active, stays as described until that display moves.
/// Overlaps and gaps stay: unlike a Mac's, this window server does exactly what it was asked to.
///
/// The active menu bar moves to the main display when its own display goes.
///
/// If nothing differs afterwards there are no callbacks. Otherwise there is one with the begin flag
/// for each display that was active before, then one for each display that was or is active, with
/// the flags of its changes. They are queued on the main queue, so they never come from within the
/// call that made the change, where a Mac may deliver them; all of them see the whole change.
void changeDisplays(const std::function<void(Machine&)>& change);

/// Queues one call of every registered callback.
void queueCallback(CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags);

}  // namespace simulator::devices
