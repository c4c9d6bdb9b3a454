#include "helper/main_queue.hpp"

#include <cmath>
#include <cstdint>
#include <memory>
#include <utility>

#include "platform/workspace.hpp"

namespace tolvaran::main_queue {
namespace {

// Dispatch's function forms carry work as a heap-allocated Work in the context pointer.

void performOnce(void* context) {
    const std::unique_ptr<Work> work(static_cast<Work*>(context));
    workspace::withAutoreleasePool(*work);
}

void performEachTime(void* context) {
    workspace::withAutoreleasePool(*static_cast<Work*>(context));
}

void deleteWork(void* context) {
    delete static_cast<Work*>(context);
}

std::int64_t nanoseconds(double seconds) {
    return std::llround(seconds * 1e9);
}

dispatch_time_t fromNow(double seconds) {
    return dispatch_time(DISPATCH_TIME_NOW, nanoseconds(seconds));
}

}  // namespace

void async(Work work) {
    auto context = std::make_unique<Work>(std::move(work));
    dispatch_async_f(dispatch_get_main_queue(), context.release(), performOnce);
}

void asyncAfter(double seconds, Work work) {
    auto context = std::make_unique<Work>(std::move(work));
    dispatch_after_f(fromNow(seconds), dispatch_get_main_queue(), context.release(), performOnce);
}

Source::Source(dispatch_source_t source, Work handler) : source_(source) {
    if (source_ == nullptr) {
        return;
    }
    dispatch_set_context(source_, new Work(std::move(handler)));
    // The source may be running its handler when it is released, so the handler is deleted with the
    // source, not with this object.
    dispatch_set_finalizer_f(source_, deleteWork);
    dispatch_source_set_event_handler_f(source_, performEachTime);
}

Source::Source(Source&& other) noexcept : source_(std::exchange(other.source_, nullptr)) {}

Source& Source::operator=(Source&& other) noexcept {
    std::swap(source_, other.source_);
    return *this;
}

Source::~Source() {
    if (source_ != nullptr) {
        dispatch_release(source_);
    }
}

void Source::cancel() {
    dispatch_source_cancel(source_);
}

Source makeTimer(double interval, Work handler) {
    Source timer(
        dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, dispatch_get_main_queue()),
        std::move(handler));
    if (timer) {
        dispatch_source_set_timer(timer.source_, fromNow(interval),
                                  static_cast<std::uint64_t>(nanoseconds(interval)), 0);
        dispatch_resume(timer.source_);
    }
    return timer;
}

Source makeExitWatch(pid_t pid, Work handler) {
    Source watch(dispatch_source_create(DISPATCH_SOURCE_TYPE_PROC, static_cast<std::uintptr_t>(pid),
                                        DISPATCH_PROC_EXIT, dispatch_get_main_queue()),
                 std::move(handler));
    if (watch) {
        dispatch_resume(watch.source_);
    }
    return watch;
}

}  // namespace tolvaran::main_queue
