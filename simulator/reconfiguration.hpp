// Changes to the arrangement of displays, and the callbacks that they bring about. The timeline's
// arrange, connect, disconnect and reconfigure come here, and so does a completed display
// configuration.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <functional>

#include "simulator/machine.hpp"

namespace simulator {

/// Adds or removes a callback, as CGDisplayRegisterReconfigurationCallback and its counterpart do.
/// The same pair may be added more than once; removing takes away one of them.
/// @return false when there is no such pair to remove
void addReconfigurationCallback(CGDisplayReconfigurationCallBack callback, void* userInfo);
bool removeReconfigurationCallback(CGDisplayReconfigurationCallBack callback, void* userInfo);

/// Forgets every callback; part of simulator::reset().
void forgetReconfigurationCallbacks();

/// Queues one call of every callback, in the order of registration, on the main queue.
void postReconfiguration(CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags);

/// Makes `change` to the machine as one reconfiguration: posts the begin flag for every active
/// display, makes the change, settles the main display, and then posts for every display that is
/// or was active what became of it (moved, main, mode, added, removed, desktop shape). A display
/// of which nothing changed is posted with the desktop shape flag when any frame changed, else with
/// no flag.
void reconfigure(const std::function<void()>& change);

/// Makes the display at the origin (0, 0) the main one. Where there is none, the main display stays
/// while it is active; otherwise the first one listed takes its place (0: no display).
void settleMainDisplay();

}  // namespace simulator
