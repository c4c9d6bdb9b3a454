// Dispatch: the order of work on the main queue, timers, and the watch on a process's exit.
#include <dispatch/dispatch.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/contract/the_mac.hpp"

namespace {

constexpr auto second = static_cast<std::int64_t>(NSEC_PER_SEC);
constexpr std::int64_t millisecond = second / 1000;

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
    /// A watch on a process's exit.
    explicit Source(pid_t pid)
        : Source(DISPATCH_SOURCE_TYPE_PROC, static_cast<std::uintptr_t>(pid), DISPATCH_PROC_EXIT) {}
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

// Documented: giving work returns at once, and the main queue performs it on the main thread, one
// after the other, in the order in which it was given.
TEST_F(Dispatch, WorkRunsLaterAndInTheOrderInWhichItWasGiven) {
    Note notes[] = {{&happened, "first"}, {&happened, "second"}, {&happened, "third"}};
    for (Note& note : notes) {
        dispatch_async_f(dispatch_get_main_queue(), &note, Note::write);
    }
    EXPECT_EQ(happened, std::vector<std::string>());
    EXPECT_TRUE(waitFor(3));
    EXPECT_EQ(happened, std::vector<std::string>({"first", "second", "third"}));
}

// Documented: the main queue is serial. So what work gives to it runs after that work, never
// inside.
TEST_F(Dispatch, WorkGivenFromWithinWorkRunsAfterIt) {
    struct Outer {
        Note before, inner, after;
    } notes{{&happened, "begin"}, {&happened, "inner"}, {&happened, "end"}};
    dispatch_async_f(dispatch_get_main_queue(), &notes, [](void* context) {
        auto* const outer = static_cast<Outer*>(context);
        Note::write(&outer->before);
        dispatch_async_f(dispatch_get_main_queue(), &outer->inner, Note::write);
        Note::write(&outer->after);
    });
    EXPECT_TRUE(waitFor(3));
    EXPECT_EQ(happened, std::vector<std::string>({"begin", "end", "inner"}));
}

// Documented: the work is given to the queue at its time. Left open: how much later than that it
// runs.
TEST_F(Dispatch, DelayedWorkWaitsAndTheEarlierDeadlineComesFirst) {
    Note late{&happened, "late"};
    Note early{&happened, "early"};
    dispatch_after_f(dispatch_time(DISPATCH_TIME_NOW, 400 * millisecond), dispatch_get_main_queue(),
                     &late, Note::write);
    dispatch_after_f(dispatch_time(DISPATCH_TIME_NOW, 200 * millisecond), dispatch_get_main_queue(),
                     &early, Note::write);
    the_mac::letPass(0.1);
    EXPECT_EQ(happened, std::vector<std::string>());
    EXPECT_TRUE(waitFor(2));
    EXPECT_EQ(happened, std::vector<std::string>({"early", "late"}));
}

// Documented: a time may be counted from another one. Left open: what its number means, so only the
// order is looked at.
TEST_F(Dispatch, TimesFromNowAreApartByWhatWasAdded) {
    const dispatch_time_t first = dispatch_time(DISPATCH_TIME_NOW, second);
    EXPECT_LT(first, dispatch_time(first, 1 * second));
    EXPECT_EQ(dispatch_time(first, 0), first);
}

// Documented: timers count from a start, and repeat at an interval; a system may be late, so the
// upper bounds here are generous, but it is never early.
TEST_F(Dispatch, ATimerFiresFirstAfterItsDelayAndThenAgainAndAgain) {
    Note tick{&happened, "tick"};
    Source source(200 * millisecond, 200 * millisecond);
    source.onEvent(tick);
    source.resume();
    the_mac::letPass(0.1);
    EXPECT_EQ(happened.size(), 0U);
    EXPECT_TRUE(waitFor(1));
    EXPECT_TRUE(waitFor(3));
}

// Documented: a source is created suspended, and its cancellation keeps the handler from being
// called again. Left open: whether a call that is under way is seen to its end; on the main queue
// there is none while this runs.
TEST_F(Dispatch, ASourceThatIsNotResumedStaysSilentAndOneThatIsCancelledFallsSilent) {
    Note tick{&happened, "tick"};
    Source source(20 * millisecond, 20 * millisecond);
    source.onEvent(tick);
    the_mac::letPass(0.1);
    EXPECT_EQ(happened.size(), 0U);
    source.resume();
    EXPECT_TRUE(waitFor(1));
    source.cancel();
    EXPECT_NE(dispatch_source_testcancel(source.get()), 0);
    const std::size_t before = happened.size();
    the_mac::letPass(0.1);
    EXPECT_EQ(happened.size(), before);
}

// Documented: the handler is called when the process exits, and the source's handle is the process
// ID. Left open: that it is called no second time; a process exits once.
TEST_F(Dispatch, AWatchFiresOnceWhenTheProcessExits) {
    const pid_t pid = the_mac::startProcess();
    Note exited{&happened, "exited"};
    Source source(pid);
    ASSERT_NE(source.get(), nullptr);
    EXPECT_EQ(dispatch_source_get_handle(source.get()), static_cast<std::uintptr_t>(pid));
    source.onEvent(exited);
    source.resume();
    the_mac::letPass(0.05);
    EXPECT_EQ(happened.size(), 0U);
    the_mac::endProcess(pid);
    EXPECT_TRUE(waitFor(1));
    the_mac::letPass(0.2);
    EXPECT_EQ(happened, std::vector<std::string>({"exited"}));
}

// A main application that is gone before its watch is armed must still be cleaned up after.
// Documented for kernel events: a watch on a process that does not exist is refused; dispatch makes
// an exit event of the refusal.
TEST_F(Dispatch, AWatchOnAProcessThatIsAlreadyGoneStillFires) {
    const pid_t pid = the_mac::startProcess();
    the_mac::endProcess(pid);
    Note exited{&happened, "exited"};
    Source source(pid);
    ASSERT_NE(source.get(), nullptr);
    source.onEvent(exited);
    source.resume();
    EXPECT_TRUE(waitFor(1));
    the_mac::letPass(0.2);
    EXPECT_EQ(happened, std::vector<std::string>({"exited"}));
}

// Documented: cancellation keeps the handler from being called again.
TEST_F(Dispatch, ACancelledWatchDoesNotFire) {
    const pid_t pid = the_mac::startProcess();
    Note exited{&happened, "exited"};
    Source source(pid);
    source.onEvent(exited);
    source.resume();
    source.cancel();
    the_mac::endProcess(pid);
    the_mac::letPass(0.2);
    EXPECT_EQ(happened.size(), 0U);
}

// Documented: the finalizer is called with the context once the last reference is gone, after the
// source's handlers have returned. A source holds references of its own until its cancellation is
// done, so a release does not call the finalizer there and then.
TEST_F(Dispatch, TheFinalizerRunsWithTheContextAfterTheRelease) {
    Note ended{&happened, "ended"};
    Source source(10 * second, second);
    dispatch_set_context(source.get(), &ended);
    EXPECT_EQ(dispatch_get_context(source.get()), &ended);
    dispatch_set_finalizer_f(source.get(), Note::write);
    source.resume();
    the_mac::letPass(0.05);
    EXPECT_EQ(happened.size(), 0U);
    source.release();
    EXPECT_TRUE(waitFor(1));
    EXPECT_EQ(happened, std::vector<std::string>({"ended"}));
}

// Documented: the system keeps a source for as long as a handler of it runs, so that a handler may
// release what may be the last reference.
TEST_F(Dispatch, ASourceReleasedByItsOwnHandlerEndsAfterTheHandler) {
    struct Context {
        dispatch_source_t source;
        Note returning, ended;
    } context{nullptr, {&happened, "handler returns"}, {&happened, "ended"}};
    context.source =
        dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, dispatch_get_main_queue());
    dispatch_source_set_timer(context.source, dispatch_time(DISPATCH_TIME_NOW, millisecond),
                              static_cast<std::uint64_t>(second), 0);
    dispatch_set_context(context.source, &context);
    dispatch_source_set_event_handler_f(context.source, [](void* raw) {
        auto* const self = static_cast<Context*>(raw);
        dispatch_source_cancel(self->source);
        dispatch_release(self->source);
        Note::write(&self->returning);
    });
    dispatch_set_finalizer_f(context.source,
                             [](void* raw) { Note::write(&static_cast<Context*>(raw)->ended); });
    dispatch_resume(context.source);
    EXPECT_TRUE(waitFor(2));
    EXPECT_EQ(happened, std::vector<std::string>({"handler returns", "ended"}));
}

}  // namespace
