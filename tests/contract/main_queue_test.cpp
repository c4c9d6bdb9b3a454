// The main queue as the helper calls it: helper/main_queue on top of dispatch.
#include "helper/main_queue.hpp"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/contract/dispatch_test.hpp"

namespace {

using namespace tolvaran;

class MainQueue : public dispatch_test::Dispatch {
  protected:
    /// Work that adds a line to what happened.
    main_queue::Work note(const std::string& text) {
        return [this, text] { happened.push_back(text); };
    }
};

// Documented: work is queued, not performed at once, and the queue is serial.
TEST_F(MainQueue, WorkRunsLaterInOrderAndNeverInsideOtherWork) {
    main_queue::async([this] {
        happened.emplace_back("begin");
        main_queue::async(note("inner"));
        happened.emplace_back("end");
    });
    main_queue::async(note("second"));
    EXPECT_EQ(happened, std::vector<std::string>());
    EXPECT_TRUE(waitFor(4));
    EXPECT_EQ(happened, std::vector<std::string>({"begin", "end", "second", "inner"}));
}

// Documented: a queued function is called once. What it owns must live until then, and no longer.
TEST_F(MainQueue, WorkIsKeptUntilItHasRunOnceAndThenDestroyed) {
    const auto owned = std::make_shared<int>(0);
    main_queue::async([owned] { ++*owned; });
    main_queue::asyncAfter(0.05, [owned] { ++*owned; });
    EXPECT_EQ(owned.use_count(), 3);
    EXPECT_TRUE(the_mac::waitUntil([&] { return *owned == 2; }));
    the_mac::letPass(0.1);
    EXPECT_EQ(*owned, 2);
    EXPECT_EQ(owned.use_count(), 1);
}

// Documented: delayed work is queued at its time. Left open: how much later it runs.
TEST_F(MainQueue, DelayedWorkIsNotEarlyAndRunsInTheOrderOfItsTimes) {
    const CFAbsoluteTime start = CFAbsoluteTimeGetCurrent();
    main_queue::asyncAfter(0.2, note("late"));
    main_queue::asyncAfter(0.1, note("early"));
    main_queue::asyncAfter(0, note("at once"));
    EXPECT_TRUE(waitFor(2));
    EXPECT_GE(CFAbsoluteTimeGetCurrent(), start + 0.099);
    EXPECT_TRUE(waitFor(3));
    EXPECT_GE(CFAbsoluteTimeGetCurrent(), start + 0.199);
    EXPECT_EQ(happened, std::vector<std::string>({"at once", "early", "late"}));
}

// Documented: a timer's first firing and its interval are set separately; here both are the same.
TEST_F(MainQueue, ATimerFiresAfterEachIntervalUntilItIsCancelled) {
    const CFAbsoluteTime start = CFAbsoluteTimeGetCurrent();
    main_queue::Source timer = main_queue::makeTimer(0.1, note("tick"));
    ASSERT_TRUE(timer);
    EXPECT_TRUE(waitFor(1));
    EXPECT_GE(CFAbsoluteTimeGetCurrent(), start + 0.099);
    EXPECT_TRUE(waitFor(3));
    EXPECT_GE(CFAbsoluteTimeGetCurrent(), start + 0.299);
    timer.cancel();
    const std::size_t before = happened.size();
    the_mac::letPass(0.25);
    EXPECT_EQ(happened.size(), before);
}

// Documented: cancellation prevents further calls. That includes one that is due already but still
// waits for the main thread.
TEST_F(MainQueue, ATimerThatIsCancelledWhileItIsDueDoesNotFire) {
    main_queue::Source timer = main_queue::makeTimer(0.02, note("tick"));
    dispatch_test::beBusy(100 * dispatch_test::millisecond);
    timer.cancel();
    the_mac::letPass(0.1);
    EXPECT_EQ(happened, std::vector<std::string>());
}

// Documented: a timer fires until it is cancelled, so it must not matter which object owns it.
TEST_F(MainQueue, ASourceKeepsFiringWhenItIsMoved) {
    main_queue::Source first = main_queue::makeTimer(0.05, note("tick"));
    main_queue::Source second(std::move(first));
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move): an empty source is what is left
    EXPECT_TRUE(second);
    EXPECT_TRUE(waitFor(1));
    main_queue::Source third;
    EXPECT_FALSE(third);
    third = std::move(second);
    EXPECT_FALSE(second);  // NOLINT(bugprone-use-after-move): the same
    happened.clear();
    EXPECT_TRUE(waitFor(1));
    third.cancel();
}

// Documented: a source and its context live until the last reference is gone and no handler runs.
TEST_F(MainQueue, TheHandlerIsDestroyedAfterTheSource) {
    const auto owned = std::make_shared<int>(0);
    main_queue::Source timer = main_queue::makeTimer(10, [owned] { ++*owned; });
    the_mac::letPass(0.05);
    EXPECT_EQ(owned.use_count(), 2);
    timer.cancel();
    timer = {};
    EXPECT_TRUE(the_mac::waitUntil([&] { return owned.use_count() == 1; }));
    EXPECT_EQ(*owned, 0);
}

// What the helper does when the watch on a process fires. Documented: the system keeps a source
// while its handler runs, so that the handler may release it.
TEST_F(MainQueue, AHandlerMayReleaseItsOwnSourceAndKeepsWhatItOwnsToItsEnd) {
    const auto owned = std::make_shared<std::string>("owned");
    main_queue::Source timer;
    timer = main_queue::makeTimer(0.02, [this, &timer, owned] {
        timer.cancel();
        timer = {};
        happened.push_back(*owned);
    });
    EXPECT_TRUE(waitFor(1));
    EXPECT_TRUE(the_mac::waitUntil([&] { return owned.use_count() == 1; }));
    the_mac::letPass(0.1);
    EXPECT_EQ(happened, std::vector<std::string>({"owned"}));
    EXPECT_FALSE(timer);
}

// Documented: cancellation prevents further handler calls. So it is safe to replace a source, as
// the helper does when it watches another process.
TEST_F(MainQueue, ASourceThatIsReplacedFallsSilentAndTheNewOneFires) {
    const auto owned = std::make_shared<int>(0);
    main_queue::Source source = main_queue::makeTimer(0.02, [owned] { ++*owned; });
    EXPECT_TRUE(the_mac::waitUntil([&] { return *owned > 0; }));
    source.cancel();
    source = main_queue::makeTimer(0.02, note("new"));
    EXPECT_TRUE(the_mac::waitUntil([&] { return owned.use_count() == 1; }));
    const int before = *owned;
    happened.clear();
    EXPECT_TRUE(waitFor(2));
    EXPECT_EQ(*owned, before);
    source.cancel();
}

}  // namespace
