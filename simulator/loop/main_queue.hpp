// Work that the simulated Mac itself puts on the main queue, such as a reconfiguration callback.
#pragma once

#include <functional>

namespace simulator {

/// Queues `work` to be performed at the current time by advance() or by the event loop: if queued
/// during an event, before everything else due then, otherwise after it. Unlike dispatch_async_f()
/// it meets no faults. reset() drops what has not been performed.
void onMainQueue(std::function<void()> work);

}  // namespace simulator
