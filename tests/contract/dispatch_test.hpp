// What the tests of the main queue and its sources share.
#pragma once

#include <dispatch/dispatch.h>

#include <cstdint>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include "tests/contract/the_mac.hpp"

namespace dispatch_test {

inline constexpr auto second = static_cast<std::int64_t>(NSEC_PER_SEC);
inline constexpr std::int64_t millisecond = second / 1000;

class Dispatch : public Contract {
  protected:
    /// What happened so far, in order.
    std::vector<std::string> happened;

    bool waitFor(std::size_t count, double seconds = 5.0) {
        return the_mac::waitUntil([&] { return happened.size() >= count; }, seconds);
    }
};

/// Adds a line to what happened.
struct Note {
    std::vector<std::string>* list;
    std::string text;

    static void write(void* context) {
        const auto* const note = static_cast<Note*>(context);
        note->list->push_back(note->text);
    }
};

/// A source under test, cancelled and released at the end.
class Source {
  public:
    Source(dispatch_source_type_t type, std::uintptr_t handle, std::uintptr_t mask)
        : source_(dispatch_source_create(type, handle, mask, dispatch_get_main_queue())) {}
    /// A timer; both in nanoseconds.
    Source(std::int64_t first, std::int64_t interval) : Source(DISPATCH_SOURCE_TYPE_TIMER, 0, 0) {
        dispatch_source_set_timer(source_, dispatch_time(DISPATCH_TIME_NOW, first),
                                  static_cast<std::uint64_t>(interval), 0);
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    ~Source() {
        if (source_ != nullptr) {
            release();
        }
    }

    void onEvent(Note& note) {
        dispatch_set_context(source_, &note);
        dispatch_source_set_event_handler_f(source_, Note::write);
    }
    void resume() { dispatch_resume(source_); }
    void cancel() { dispatch_source_cancel(source_); }
    void release() {
        dispatch_source_cancel(source_);
        dispatch_release(std::exchange(source_, nullptr));
    }
    dispatch_source_t get() { return source_; }

  private:
    dispatch_source_t source_;
};

/// Keeps the main thread busy; nothing on the main queue runs meanwhile.
inline void beBusy(std::int64_t nanoseconds) {
    const std::timespec time = {.tv_sec = nanoseconds / second, .tv_nsec = nanoseconds % second};
    ASSERT_EQ(::nanosleep(&time, nullptr), 0);
}

}  // namespace dispatch_test
