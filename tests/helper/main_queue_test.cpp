#include "helper/main_queue.hpp"

#include <gtest/gtest.h>

#include <string>

#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using namespace main_queue;

class MainQueue : public ProcessTest {
  protected:
    Work note(const std::string& name) {
        return [this, name] { notes_.push_back(name); };
    }

    Lines notes_;
};

TEST_F(MainQueue, WorkNeverRunsInsideOtherWork) {
    async([this] {
        async(note("inner"));
        notes_.push_back("outer");
    });
    EXPECT_TRUE(notes_.empty());
    simulator::advance(0);
    EXPECT_EQ(notes_, (Lines{"outer", "inner"}));
}

TEST_F(MainQueue, DelayedWorkComesAtItsTime) {
    asyncAfter(0.2, note("later"));
    asyncAfter(0.1, note("sooner"));
    simulator::advance(0.199999);
    EXPECT_EQ(notes_, Lines{"sooner"});
    simulator::advance(0.000001);
    EXPECT_EQ(notes_, (Lines{"sooner", "later"}));
}

TEST_F(MainQueue, ATimerRepeatsUntilItIsDropped) {
    {
        const Source timer = makeTimer(60, note("tick"));
        simulator::advance(59.999999);
        EXPECT_TRUE(notes_.empty());
        simulator::advance(120.000001);
        EXPECT_EQ(notes_.size(), 3U);
    }
    simulator::advance(600);
    EXPECT_EQ(notes_.size(), 3U);
}

TEST_F(MainQueue, ACancelledTimerDoesNotFireAgain) {
    Source timer = makeTimer(1, note("tick"));
    timer.cancel();
    simulator::advance(10);
    EXPECT_TRUE(notes_.empty());
}

TEST_F(MainQueue, AHandlerMayDropItsOwnSource) {
    Source timer;
    std::string text = "still there";
    timer = makeTimer(1, [this, &timer, text] {
        timer.cancel();
        timer = {};
        notes_.push_back(text);
    });
    simulator::advance(10);
    EXPECT_EQ(notes_, Lines{"still there"});
}

TEST_F(MainQueue, ASourceThatCannotBeCreatedIsEmpty) {
    failCalls("dispatch_source_create", nullptr);
    EXPECT_FALSE(makeTimer(1, note("tick")));
    EXPECT_FALSE(makeExitWatch(1, note("exit")));
}

}  // namespace
}  // namespace tolvaran::tests
