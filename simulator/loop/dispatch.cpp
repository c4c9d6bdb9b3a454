// Dispatch: the main queue, timer sources and process sources.
//
// A source has one reference. While it is active it delivers events; it stops when it is cancelled
// or its reference is released. Then its finalizer runs on the main queue, with the context that
// the source has at that time.

#include <dispatch/dispatch.h>
#include <sys/types.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

#include "simulator/core_foundation/object.hpp"
#include "simulator/faults/faults.hpp"
#include "simulator/host/processes.hpp"
#include "simulator/loop/dispatch_objects.hpp"
#include "simulator/loop/event_loop.hpp"

struct dispatch_source_type_s {
    const char* name;
};
const dispatch_source_type_s _dispatch_source_type_timer{"timer"};
const dispatch_source_type_s _dispatch_source_type_proc{"proc"};

namespace simulator {
namespace {

using clock::Time;

// The host's uptime at time 0 of the clock. Not 0, which means "now" to dispatch_time().
constexpr Time uptimeAtStart = 1000 * clock::second;

constexpr std::uint64_t aliveMark = 0x536f757263652121;
constexpr std::uint64_t deadMark = 0x536f75476f6e6521;

struct Timer {
    Time interval = clock::never;
    Time nextFire = clock::never;
    std::optional<WorkID> queued;
};

struct Source {
    std::uint64_t mark = aliveMark;
    dispatch_source_type_t type = nullptr;
    std::uintptr_t handle = 0;
    bool active = false;
    bool cancelled = false;
    void* context = nullptr;
    dispatch_function_t handler = nullptr;
    dispatch_function_t finalizer = nullptr;
    Timer timer;
    std::optional<ExitWatch> exitWatch;
    std::optional<WorkID> exitEvent;
};

// How many of the most recently freed sources are remembered.
constexpr std::size_t graveyardLimit = 1024;

struct DispatchState {
    std::size_t live = 0;
    std::deque<std::unique_ptr<Source>> graveyard;
};

DispatchState& dispatchState() {
    static DispatchState& instance = *new DispatchState;
    return instance;
}

dispatch_queue_main_t mainQueue() {
    static std::max_align_t place;
    return reinterpret_cast<dispatch_queue_main_t>(&place);
}

void requireMainQueue(dispatch_queue_t queue, std::string_view function) {
    if (queue != mainQueue()) {
        cf::misuse(function, "the simulator has no queue but the main queue");
    }
}

Source& sourceOf(dispatch_object_t object, std::string_view function) {
    if (object == nullptr) {
        cf::misuse(function, "the object is null");
    }
    auto& source = *reinterpret_cast<Source*>(object);
    if (source.mark == deadMark) {
        cf::misuse(function, "the source is gone: its reference was released");
    }
    if (source.mark != aliveMark) {
        cf::misuse(function, "the object is not a dispatch source");
    }
    return source;
}

/// A dispatch time on the simulator's clock.
Time fromDispatchTime(dispatch_time_t when) {
    if (when == DISPATCH_TIME_NOW) {
        return clock::now();
    }
    if (when >= static_cast<dispatch_time_t>(clock::never)) {
        return clock::never;
    }
    return std::max<Time>(static_cast<Time>(when) - uptimeAtStart, 0);
}

/// The last thing done with a source on an event, since its handler may release it.
void callHandler(const Source& source) {
    if (source.handler != nullptr) {
        source.handler(source.context);
    }
}

void schedule(Source& source);

void fireTimer(Source& source) {
    Timer& timer = source.timer;
    timer.queued.reset();
    // Missed firings are merged into this one; the next is on schedule again.
    const Time missed =
        timer.interval == clock::never ? 0 : (clock::now() - timer.nextFire) / timer.interval;
    const bool overflows = timer.interval == clock::never ||
                           timer.nextFire > clock::never - timer.interval - missed * timer.interval;
    timer.nextFire = overflows ? clock::never : timer.nextFire + (missed + 1) * timer.interval;
    schedule(source);
    callHandler(source);
}

/// Queues the timer's next firing.
void schedule(Source& source) {
    Timer& timer = source.timer;
    if (timer.queued) {
        dropWork(*timer.queued);
        timer.queued.reset();
    }
    if (source.active && !source.cancelled && timer.nextFire != clock::never) {
        timer.queued = queueWork(timer.nextFire, [&source] { fireTimer(source); });
    }
}

void queueExitEvent(Source& source) {
    source.exitWatch.reset();
    source.exitEvent = queueWork(clock::now(), [&source] {
        source.exitEvent.reset();
        callHandler(source);
    });
}

void startWatching(Source& source) {
    const auto pid = static_cast<pid_t>(source.handle);
    if (isAlive(pid)) {
        source.exitWatch = watchExit(pid, [&source] { queueExitEvent(source); });
    } else {
        queueExitEvent(source);
    }
}

void activate(Source& source) {
    source.active = true;
    if (source.cancelled) {
        return;
    }
    if (source.type == DISPATCH_SOURCE_TYPE_TIMER) {
        schedule(source);
    } else {
        startWatching(source);
    }
}

/// Ends the delivery of events.
void stop(Source& source) {
    source.cancelled = true;
    for (std::optional<WorkID>* const work : {&source.timer.queued, &source.exitEvent}) {
        if (*work) {
            dropWork(**work);
            work->reset();
        }
    }
    if (source.exitWatch) {
        unwatchExit(*source.exitWatch);
        source.exitWatch.reset();
    }
}

void bury(Source& source) {
    stop(source);
    source.mark = deadMark;
    DispatchState& all = dispatchState();
    --all.live;
    if (source.finalizer != nullptr) {
        queueLastingWork(
            [finalizer = source.finalizer, context = source.context] { finalizer(context); });
    }
    all.graveyard.emplace_back(&source);
    if (all.graveyard.size() > graveyardLimit) {
        all.graveyard.pop_front();
    }
}

bool isMainQueue(dispatch_object_t object) {
    return object == mainQueue();
}

}  // namespace

std::size_t liveDispatchObjects() {
    return dispatchState().live;
}

}  // namespace simulator

using simulator::beginCall;
using simulator::isMainQueue;
using simulator::sourceOf;

void dispatch_release(dispatch_object_t object) noexcept {
    constexpr std::string_view function = "dispatch_release";
    if (isMainQueue(object)) {
        return;
    }
    simulator::Source& source = sourceOf(object, function);
    if (!source.active) {
        simulator::cf::misuse(function, "the source was never resumed");
    }
    simulator::bury(source);
}

void dispatch_set_context(dispatch_object_t object, void* context) noexcept {
    sourceOf(object, "dispatch_set_context").context = context;
}

void* dispatch_get_context(dispatch_object_t object) noexcept {
    return sourceOf(object, "dispatch_get_context").context;
}

void dispatch_set_finalizer_f(dispatch_object_t object, dispatch_function_t finalizer) noexcept {
    sourceOf(object, "dispatch_set_finalizer_f").finalizer = finalizer;
}

void dispatch_resume(dispatch_object_t object) noexcept {
    constexpr std::string_view function = "dispatch_resume";
    simulator::Source& source = sourceOf(object, function);
    if (source.active) {
        simulator::cf::misuse(function, "the source is not suspended");
    }
    simulator::activate(source);
}

dispatch_time_t dispatch_time(dispatch_time_t when, std::int64_t delta) noexcept {
    if (when == DISPATCH_TIME_FOREVER) {
        return when;
    }
    const auto limit = static_cast<std::int64_t>(simulator::clock::never);
    const std::int64_t base = when == DISPATCH_TIME_NOW
                                  ? simulator::clock::now() + simulator::uptimeAtStart
                                  : static_cast<std::int64_t>(std::min<dispatch_time_t>(
                                        when, static_cast<dispatch_time_t>(limit)));
    if (delta >= limit - base) {
        return DISPATCH_TIME_FOREVER;
    }
    return static_cast<dispatch_time_t>(std::max<std::int64_t>(base + delta, 1));
}

dispatch_queue_main_t dispatch_get_main_queue() noexcept {
    return simulator::mainQueue();
}

void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work) noexcept {
    constexpr std::string_view function = "dispatch_async_f";
    simulator::requireMainQueue(queue, function);
    if (beginCall(function).performs) {
        simulator::queueWork(simulator::clock::now(), [context, work] { work(context); });
    }
}

void dispatch_after_f(dispatch_time_t when, dispatch_queue_t queue, void* context,
                      dispatch_function_t work) noexcept {
    constexpr std::string_view function = "dispatch_after_f";
    simulator::requireMainQueue(queue, function);
    const simulator::clock::Time due = simulator::fromDispatchTime(when);
    if (beginCall(function).performs && due != simulator::clock::never) {
        simulator::queueWork(due, [context, work] { work(context); });
    }
}

dispatch_source_t dispatch_source_create(dispatch_source_type_t type, std::uintptr_t handle,
                                         std::uintptr_t mask, dispatch_queue_t queue) noexcept {
    constexpr std::string_view function = "dispatch_source_create";
    simulator::requireMainQueue(queue, function);
    const bool isExit = type == DISPATCH_SOURCE_TYPE_PROC && mask == DISPATCH_PROC_EXIT;
    const bool isTimer = type == DISPATCH_SOURCE_TYPE_TIMER && mask == 0;
    if (beginCall(function).isNull() || (!isExit && !isTimer)) {
        return nullptr;
    }
    auto* const source = new simulator::Source;
    source->type = type;
    source->handle = handle;
    ++simulator::dispatchState().live;
    return reinterpret_cast<dispatch_source_t>(source);
}

void dispatch_source_set_event_handler_f(dispatch_source_t source,
                                         dispatch_function_t handler) noexcept {
    sourceOf(source, "dispatch_source_set_event_handler_f").handler = handler;
}

void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start,
                               std::uint64_t interval, std::uint64_t) noexcept {
    constexpr std::string_view function = "dispatch_source_set_timer";
    simulator::Source& timerSource = sourceOf(source, function);
    if (timerSource.type != DISPATCH_SOURCE_TYPE_TIMER) {
        simulator::cf::misuse(function, "the source is not a timer");
    }
    if (!beginCall(function).performs || timerSource.cancelled) {
        return;
    }
    constexpr auto limit = static_cast<std::uint64_t>(simulator::clock::never);
    timerSource.timer.nextFire = simulator::fromDispatchTime(start);
    timerSource.timer.interval =
        interval == 0 ? 1 : static_cast<simulator::clock::Time>(std::min(interval, limit));
    simulator::schedule(timerSource);
}

void dispatch_source_cancel(dispatch_source_t source) noexcept {
    simulator::stop(sourceOf(source, "dispatch_source_cancel"));
}

std::intptr_t dispatch_source_testcancel(dispatch_source_t source) noexcept {
    return sourceOf(source, "dispatch_source_testcancel").cancelled ? 1 : 0;
}

std::uintptr_t dispatch_source_get_handle(dispatch_source_t source) noexcept {
    return sourceOf(source, "dispatch_source_get_handle").handle;
}
