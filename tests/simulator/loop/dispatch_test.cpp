#include <dispatch/dispatch.h>

#include <string>
#include <vector>

#include "simulator/faults/faults.hpp"
#include "simulator/loop/clock.hpp"
#include "simulator/loop/event_loop.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

using testing::ElementsAre;
using Events = std::vector<std::pair<double, std::string>>;

Events& events() {
    static Events all;
    return all;
}

class Dispatch : public SimulatorTest {
  protected:
    Dispatch() { events().clear(); }
    ~Dispatch() override {
        for (dispatch_source_t source : sources_) {
            dispatch_release(source);
        }
    }
    /// Resumes the source, which is released at the end.
    dispatch_source_t activate(dispatch_source_t source) {
        dispatch_resume(source);
        return sources_.emplace_back(source);
    }

  private:
    std::vector<dispatch_source_t> sources_;
};
class DispatchDeathTest : public Dispatch {};

/// Work whose context is its name.
void note(void* name) {
    events().emplace_back(now(), static_cast<const char*>(name));
}

void* named(const char* name) {
    return const_cast<char*>(name);
}

std::int64_t nanoseconds(double seconds) {
    return static_cast<std::int64_t>(seconds * NSEC_PER_SEC);
}

void async(const char* name) {
    dispatch_async_f(dispatch_get_main_queue(), named(name), note);
}

void after(double seconds, const char* name, dispatch_function_t work = note) {
    dispatch_after_f(dispatch_time(DISPATCH_TIME_NOW, nanoseconds(seconds)),
                     dispatch_get_main_queue(), named(name), work);
}

dispatch_source_t makeSource(const char* name, dispatch_source_type_t type, std::uintptr_t handle,
                             std::uintptr_t mask) {
    dispatch_source_t source =
        dispatch_source_create(type, handle, mask, dispatch_get_main_queue());
    dispatch_set_context(source, named(name));
    dispatch_source_set_event_handler_f(source, note);
    return source;
}

dispatch_source_t makeTimer(const char* name, double start, double interval) {
    dispatch_source_t timer = makeSource(name, DISPATCH_SOURCE_TYPE_TIMER, 0, 0);
    dispatch_source_set_timer(timer, dispatch_time(DISPATCH_TIME_NOW, nanoseconds(start)),
                              static_cast<std::uint64_t>(nanoseconds(interval)), 0);
    return timer;
}

dispatch_source_t makeExitWatch(const char* name, std::int32_t pid) {
    return makeSource(name, DISPATCH_SOURCE_TYPE_PROC, static_cast<std::uintptr_t>(pid),
                      DISPATCH_PROC_EXIT);
}

TEST_F(Dispatch, WorkRunsInTheOrderOfItsTime) {
    after(0.2, "later");
    async("first");
    after(0.1, "sooner");
    async("second");
    after(0.2, "later too");
    EXPECT_TRUE(events().empty()) << "nothing runs before the loop does";
    advance(1);
    EXPECT_EQ(
        events(),
        (Events{{0, "first"}, {0, "second"}, {0.1, "sooner"}, {0.2, "later"}, {0.2, "later too"}}));
    EXPECT_EQ(now(), 1);
}

TEST_F(Dispatch, WorkDueAtTheEndRunsAndLaterWorkWaits) {
    after(1, "due");
    after(1.000000001, "late");
    advance(1);
    EXPECT_THAT(events(), ElementsAre(std::pair(1.0, "due")));
}

TEST_F(Dispatch, TimesAddUp) {
    const dispatch_time_t soon = dispatch_time(DISPATCH_TIME_NOW, 5);
    EXPECT_EQ(dispatch_time(soon, 7), soon + 7);
    EXPECT_EQ(dispatch_time(soon, -3), soon - 3);
    EXPECT_EQ(dispatch_time(DISPATCH_TIME_FOREVER, -3), DISPATCH_TIME_FOREVER);
    EXPECT_EQ(dispatch_time(soon, INT64_MAX), DISPATCH_TIME_FOREVER);
    EXPECT_NE(dispatch_time(soon, INT64_MIN), DISPATCH_TIME_NOW) << "the past is not now";
    advance(2);
    EXPECT_EQ(dispatch_time(DISPATCH_TIME_NOW, 5), soon + 2 * NSEC_PER_SEC);
}

TEST_F(Dispatch, WorkForThePastRunsNowAndForeverNever) {
    advance(10);
    dispatch_after_f(dispatch_time(DISPATCH_TIME_NOW, -5000000000), dispatch_get_main_queue(),
                     named("past"), note);
    dispatch_after_f(DISPATCH_TIME_NOW, dispatch_get_main_queue(), named("now"), note);
    dispatch_after_f(DISPATCH_TIME_FOREVER, dispatch_get_main_queue(), named("never"), note);
    advance(1e9);
    EXPECT_EQ(events(), (Events{{10, "past"}, {10, "now"}}));
}

TEST_F(Dispatch, TimersRepeatOnTheBeat) {
    dispatch_source_t timer = makeTimer("tick", 60, 60);
    advance(30);
    EXPECT_TRUE(events().empty());
    activate(timer);
    advance(150);
    EXPECT_EQ(events(), (Events{{60, "tick"}, {120, "tick"}, {180, "tick"}}));
}

TEST_F(Dispatch, ATimerSetBeforeItIsResumedFiresLate) {
    dispatch_source_t timer = makeTimer("tick", 10, 10);
    advance(35);
    activate(timer);
    advance(10);
    EXPECT_EQ(events(), (Events{{35, "tick"}, {40, "tick"}}));
}

TEST_F(Dispatch, MissedFiringsAreOne) {
    activate(makeTimer("tick", 10, 10));
    dispatch_async_f(dispatch_get_main_queue(), nullptr,
                     [](void*) { sleepUntil(clock::fromSeconds(45)); });
    advance(51);
    EXPECT_EQ(events(), (Events{{45, "tick"}, {50, "tick"}}));
}

TEST_F(Dispatch, ATimerWithoutIntervalFiresOnce) {
    dispatch_source_t timer = makeTimer("once", 1, 1);
    dispatch_source_set_timer(timer, dispatch_time(DISPATCH_TIME_NOW, NSEC_PER_SEC),
                              DISPATCH_TIME_FOREVER, 0);
    activate(timer);
    advance(1e9);
    EXPECT_EQ(events(), (Events{{1, "once"}}));
}

TEST_F(Dispatch, SettingATimerAgainReplacesIt) {
    dispatch_source_t timer = activate(makeTimer("tick", 10, 10));
    advance(5);
    dispatch_source_set_timer(timer, dispatch_time(DISPATCH_TIME_NOW, 20 * NSEC_PER_SEC),
                              DISPATCH_TIME_FOREVER, 0);
    advance(100);
    EXPECT_EQ(events(), (Events{{25, "tick"}}));
}

TEST_F(Dispatch, ACancelledSourceFiresNoMore) {
    dispatch_source_t timer = activate(makeTimer("tick", 1, 1));
    advance(1);
    EXPECT_EQ(dispatch_source_testcancel(timer), 0);
    dispatch_source_cancel(timer);
    EXPECT_NE(dispatch_source_testcancel(timer), 0);
    dispatch_source_set_timer(timer, DISPATCH_TIME_NOW, NSEC_PER_SEC, 0);
    advance(10);
    EXPECT_EQ(events().size(), 1U);
}

TEST_F(Dispatch, AnEventOnItsWayIsNotDeliveredAfterCancelling) {
    reset({{"applications", {{{"bundle", "a"}, {"pid", 7}}}}});
    dispatch_source_t watch = activate(makeExitWatch("exit", 7));
    perform({{"exit", 7}});
    dispatch_source_cancel(watch);
    advance(1);
    EXPECT_TRUE(events().empty());
}

TEST_F(Dispatch, ACancelledOrReleasedProcessSourceReportsNoExit) {
    reset({{"applications", {{{"bundle", "a"}, {"pid", 7}}}}});
    dispatch_source_t cancelled = activate(makeExitWatch("cancelled", 7));
    dispatch_source_cancel(cancelled);
    dispatch_source_t released = makeExitWatch("released", 7);
    dispatch_resume(released);
    dispatch_release(released);
    perform({{"exit", 7}});
    advance(1);
    EXPECT_TRUE(events().empty());
}

TEST_F(Dispatch, AProcessSourceReportsTheExitOnce) {
    reset({{"applications", {{{"bundle", "a"}, {"pid", 7}}, {{"bundle", "b"}, {"pid", 8}}}}});
    dispatch_source_t watch = makeExitWatch("exit", 7);
    EXPECT_EQ(dispatch_source_get_handle(watch), 7U);
    activate(watch);
    perform({{"exit", 8}});
    perform({{"terminated", 7}});
    advance(1);
    EXPECT_TRUE(events().empty()) << "the process lives on";
    perform({{"exit", 7}});
    EXPECT_TRUE(events().empty()) << "the handler runs on the main queue";
    advance(1);
    EXPECT_EQ(events(), (Events{{1, "exit"}}));
    perform({{"launch", {{"bundle", "a"}, {"pid", 7}}}});
    perform({{"exit", 7}});
    advance(1);
    EXPECT_EQ(events().size(), 1U);
}

TEST_F(Dispatch, AProcessThatIsGoneHasExited) {
    dispatch_source_t watch = makeExitWatch("exit", 4711);
    advance(1);
    EXPECT_TRUE(events().empty()) << "not while it is inactive";
    activate(watch);
    EXPECT_TRUE(events().empty()) << "not within resume";
    advance(0);
    EXPECT_EQ(events(), (Events{{1, "exit"}}));
}

TEST_F(Dispatch, TheFinalizerRunsOnTheQueueAfterTheRelease) {
    dispatch_source_t timer = makeTimer("old", 1, 1);
    dispatch_set_finalizer_f(timer, note);
    dispatch_resume(timer);
    dispatch_set_context(timer, named("final"));
    EXPECT_EQ(dispatch_get_context(timer), named("final"));
    dispatch_release(timer);
    EXPECT_TRUE(events().empty());
    advance(5);
    EXPECT_EQ(events(), (Events{{0, "final"}})) << "and no event follows";
}

TEST_F(Dispatch, TheFinalizerRunsEvenWhenTheQueueIsEmptied) {
    dispatch_source_t timer = makeTimer("final", 1, 1);
    dispatch_set_finalizer_f(timer, note);
    dispatch_resume(timer);
    dispatch_release(timer);
    async("dropped");
    reset();
    EXPECT_EQ(events(), (Events{{0, "final"}}));
}

TEST_F(Dispatch, SourcesCountAsLiveObjects) {
    const std::size_t before = simulator::liveObjects();
    dispatch_source_t timer = makeTimer("tick", 1, 1);
    EXPECT_EQ(simulator::liveObjects(), before + 1);
    dispatch_resume(timer);
    dispatch_release(timer);
    EXPECT_EQ(simulator::liveObjects(), before);
}

TEST_F(Dispatch, OtherSourcesAreRefused) {
    EXPECT_EQ(
        dispatch_source_create(DISPATCH_SOURCE_TYPE_PROC, 1, 0x40000000, dispatch_get_main_queue()),
        nullptr);
    addFault({{"call", "dispatch_source_create"}, {"result", nullptr}});
    EXPECT_EQ(dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, dispatch_get_main_queue()),
              nullptr);
}

TEST_F(DispatchDeathTest, MisuseAbortsWithAMessage) {
    dispatch_source_t gone = makeTimer("tick", 1, 1);
    dispatch_resume(gone);
    dispatch_release(gone);
    const struct {
        const char* message;
        std::function<void()> misuse;
    } cases[] = {
        {"dispatch_release: the source is gone", [=] { dispatch_release(gone); }},
        {"dispatch_source_cancel: the source is gone", [=] { dispatch_source_cancel(gone); }},
        {"dispatch_release: the source was never resumed",
         [] { dispatch_release(makeTimer("tick", 1, 1)); }},
        {"dispatch_resume: the source is not suspended",
         [] {
             dispatch_source_t timer = makeTimer("tick", 1, 1);
             dispatch_resume(timer);
             dispatch_resume(timer);
         }},
        {"dispatch_release: the object is null", [] { dispatch_release(nullptr); }},
        {"dispatch_source_set_timer: the source is not a timer",
         [] { dispatch_source_set_timer(makeExitWatch("", 1), DISPATCH_TIME_NOW, 1, 0); }},
        {"dispatch_source_cancel: the source is gone",
         [] {
             dispatch_source_t timer = makeTimer("", 1, 1);
             dispatch_set_context(timer, timer);
             dispatch_source_set_event_handler_f(timer, [](void* source) {
                 dispatch_release(static_cast<dispatch_source_t>(source));
                 dispatch_source_cancel(static_cast<dispatch_source_t>(source));
             });
             dispatch_resume(timer);
             advance(1);
         }},
        {"event loop: it must not be run from within",
         [] {
             dispatch_async_f(dispatch_get_main_queue(), nullptr, [](void*) { advance(1); });
             advance(1);
         }},
    };
    for (const auto& [message, misuse] : cases) {
        EXPECT_DEATH(misuse(), std::string("simulator: ") + message);
    }
}

}  // namespace
}  // namespace tolvaran::tests
