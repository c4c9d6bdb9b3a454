// Changes of the displays and the callbacks that follow them. Everything that connects, moves or
// resizes displays goes through changeDisplays(), so that the main display and the callbacks are
// right whatever caused the change.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <functional>

#include "simulator/machine/machine.hpp"

namespace simulator::devices {

/// Performs `change` on the machine, then does what the window server does about it.
///
/// The main display: it is the display at the origin. When the change moves the main display away
/// from there, a display that now stands at the origin becomes the main one; where none does, all
/// displays shift so that the main one is at the origin again. When the main display is gone, or
/// there was none, the display at the origin, else the first one listed, takes its place. A machine
/// described with its main display elsewhere, or with one that is not active, stays as described
/// until that display moves. Overlaps and gaps stay as they are: unlike a Mac's, this window server
/// shows exactly what it was asked to.
///
/// The active menu bar moves to the main display when its own display goes.
///
/// The callbacks: none when nothing differs afterwards. Otherwise one with the begin flag for each
/// display that was active before, then one for each display that was or is, with the flags of
/// what became of it. They are queued on the main queue and thus never come from within the call
/// that made the change, where a Mac may deliver them; by then the change shows to all of them.
void changeDisplays(const std::function<void(Machine&)>& change);

/// Queues one call of every registered callback.
void queueCallback(CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags);

}  // namespace simulator::devices
