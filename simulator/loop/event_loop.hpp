// The loop that everything in a simulated process runs in, and its two lists: the outside world's
// events (the timeline) and the main queue (the process's own work, including the handlers of
// timers, process exits and notifications).
//
// Events happen when they are due, whatever the process is doing, even while it sleeps. Work on the
// main queue runs one item after the other, never inside another. Things due at the same time run
// in this order: events as they were planned, then work that events have queued, then other work,
// each as it was queued.
//
// The main queue works in turns, as a Mac's does: a turn performs what is due when it begins, and
// what becomes due meanwhile belongs to a later one. The list of running applications stays as it
// is during a turn.
//
// The virtual clock stands still while work runs. Once more than 1,000 pieces have run at one time,
// each takes a second until nothing is due any more, so even a process that never comes to rest
// reaches the end of its run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "simulator/loop/clock.hpp"
#include "simulator/loop/main_queue.hpp"

namespace simulator {

/// Plans an event of the outside world.
void planEvent(clock::Time due, std::function<void()> event);

/// Performs an event of the outside world now.
void performEvent(const std::function<void()>& event);

/// Identifies one piece of queued work.
using WorkID = std::uint64_t;

/// Queues work on the main queue that becomes due at a time (a past one: now).
WorkID queueWork(clock::Time due, std::function<void()> work);
/// Takes work off the queue; does nothing if it has run or is running.
void dropWork(WorkID work);
/// Queues work that is due now, and that reset() runs if it has not run by then. For finalizers, so
/// that what they free is freed in any case.
void queueLastingWork(std::function<void()> work);

/// Runs everything due up to and including `end`, then sets the time to `end`. Work that takes time
/// past `end` is the last to run; what is due after it stays queued. Must not be called from within
/// an event or work.
void runUntil(clock::Time end);

/// Lets time pass while the process waits: events happen, queued work does not run.
void sleepUntil(clock::Time end);

/// How many turns the main queue has begun since the start of the program.
std::uint64_t turnsOfMainQueue();

/// When the event loop of the shared application returns. It is 0 after a reset: unless this is
/// called, a process does only what is due immediately.
void setEndOfRun(clock::Time end);
clock::Time endOfRun();

/// What the loop is about to do or has just done.
enum class LoopMoment { beforeWork, beforeEvent, afterEvent };
/// Calls `observer` at each of these moments, until reset(). Shows whether the process or the
/// outside world has changed something.
void observeLoop(std::function<void(LoopMoment)> observer);

}  // namespace simulator
