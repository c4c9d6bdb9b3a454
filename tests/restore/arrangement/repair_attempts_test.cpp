#include "restore/arrangement/repair_attempts.hpp"

#include <gtest/gtest.h>

#include "restore/support/process_wide.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using repair_attempts::Effect;
using repair_attempts::mayTry;
using repair_attempts::mayTryRow;
using repair_attempts::NextStep;
using repair_attempts::noteAttempt;
using Positions = std::vector<HardwarePosition>;

Positions at(double x) {
    return {{.displayID = 2, .origin = CGPointMake(x, 0)}};
}

class RepairAttemptsTest : public ProcessTest {
  protected:
    RepairAttemptsTest() { repair_attempts::beginCheck({1, 2}); }

    /// Notes attempts that leave a zigzag until the arrangement is left alone.
    static void exhaust(const Positions& arrangement) {
        EXPECT_EQ(noteAttempt(arrangement, Effect::leftZigzag), NextStep::goOn);
        EXPECT_EQ(noteAttempt(arrangement, Effect::leftZigzag), NextStep::goOn);
        EXPECT_EQ(noteAttempt(arrangement, Effect::leftZigzag), NextStep::leaveThisOne);
        EXPECT_FALSE(mayTry(arrangement));
    }
};

TEST_F(RepairAttemptsTest, AnArrangementThatMovesTheDisplaysThreeTimesIsLeftAlone) {
    EXPECT_TRUE(mayTry(at(1)));
    exhaust(at(1));
    EXPECT_TRUE(mayTry(at(2)));
    EXPECT_EQ(noteAttempt(at(2), Effect::leftZigzag), NextStep::goOn);
    EXPECT_TRUE(mayTry(at(2)));
}

TEST_F(RepairAttemptsTest, ItMayBeTriedAgainAfterAWhile) {
    exhaust(at(1));
    simulator::advance(599);
    EXPECT_FALSE(mayTry(at(1)));
    simulator::advance(1);
    EXPECT_TRUE(mayTry(at(1)));
    exhaust(at(1));
}

TEST_F(RepairAttemptsTest, OnlyMovesInQuickSuccessionCount) {
    for (int move = 0; move < 10; ++move) {
        EXPECT_EQ(noteAttempt(at(1), Effect::leftZigzag), NextStep::goOn);
        simulator::advance(150);
    }
    EXPECT_TRUE(mayTry(at(1)));
    EXPECT_EQ(noteAttempt(at(1), Effect::leftZigzag), NextStep::goOn);
    EXPECT_EQ(noteAttempt(at(1), Effect::leftZigzag), NextStep::leaveThisOne);
}

TEST_F(RepairAttemptsTest, AnotherSetOfDisplaysIsANewSituation) {
    exhaust(at(1));
    repair_attempts::beginCheck({2, 1});  // the same in another order
    EXPECT_FALSE(mayTry(at(1)));
    repair_attempts::beginCheck({});  // the displays could not be listed
    EXPECT_FALSE(mayTry(at(1)));
    repair_attempts::beginCheck({1, 3});
    EXPECT_TRUE(mayTry(at(1)));
    repair_attempts::beginCheck({1, 2});
    exhaust(at(1));
}

TEST_F(RepairAttemptsTest, ARunOfTheMainApplicationIsANewSituation) {
    exhaust(at(1));
    repair_attempts::forget();
    exhaust(at(1));
}

TEST_F(RepairAttemptsTest, AttemptsThatBroughtOrderDoNotCount) {
    for (int move = 0; move < 10; ++move) {
        EXPECT_EQ(noteAttempt(at(1), Effect::settled), NextStep::goOn);
        repair_attempts::noteOrder();
    }
    EXPECT_EQ(noteAttempt(at(1), Effect::settled), NextStep::goOn);
    EXPECT_EQ(noteAttempt(at(1), Effect::settled), NextStep::goOn);
    EXPECT_EQ(noteAttempt(at(1), Effect::settled), NextStep::leaveThisOne);
}

TEST_F(RepairAttemptsTest, OrderDoesNotExcuseWhatLeftAZigzag) {
    EXPECT_EQ(noteAttempt(at(1), Effect::leftZigzag), NextStep::goOn);
    repair_attempts::noteOrder();
    EXPECT_EQ(noteAttempt(at(1), Effect::leftZigzag), NextStep::goOn);
    repair_attempts::noteOrder();
    EXPECT_EQ(noteAttempt(at(1), Effect::leftZigzag), NextStep::leaveThisOne);
    repair_attempts::noteOrder();
    EXPECT_FALSE(mayTry(at(1)));
}

TEST_F(RepairAttemptsTest, WhatHasNoEffectThreeTimesIsLeftAlone) {
    EXPECT_EQ(noteAttempt(at(1), Effect::none), NextStep::goOn);
    repair_attempts::noteOrder();  // of a layout that only a mark recognises
    EXPECT_EQ(noteAttempt(at(1), Effect::none), NextStep::goOn);
    EXPECT_TRUE(mayTryRow(at(1)));
    EXPECT_EQ(noteAttempt(at(1), Effect::none), NextStep::leaveThisOne);
    EXPECT_FALSE(mayTry(at(1)));
    EXPECT_FALSE(mayTryRow(at(1)));
    EXPECT_FALSE(repair_attempts::haveLeftZigzag());
}

TEST_F(RepairAttemptsTest, WhatHasNoEffectLeavesAnOlderZigzag) {
    exhaust(at(1));
    EXPECT_TRUE(repair_attempts::haveLeftZigzag());
    EXPECT_EQ(noteAttempt(at(2), Effect::none), NextStep::goOn);
    EXPECT_TRUE(repair_attempts::haveLeftZigzag());
}

TEST_F(RepairAttemptsTest, ManyArrangementsTogetherAreLeftAloneToo) {
    for (int move = 1; move < 24; ++move) {
        EXPECT_EQ(noteAttempt(at(move), Effect::leftZigzag), NextStep::goOn) << move;
    }
    EXPECT_TRUE(mayTry(at(99)));
    EXPECT_EQ(noteAttempt(at(24), Effect::leftZigzag), NextStep::leaveAll);
    EXPECT_FALSE(mayTry(at(1)));
    EXPECT_FALSE(mayTry(at(99)));
    EXPECT_TRUE(mayTryRow(at(99)));
    simulator::advance(600);
    EXPECT_TRUE(mayTry(at(99)));
}

TEST_F(RepairAttemptsTest, AClockSetBackForgets) {
    exhaust(at(1));
    simulator::advance(1);
    EXPECT_FALSE(mayTry(at(1)));
    simulator::addFault({{"call", "CFAbsoluteTimeGetCurrent"}, {"result", 0}, {"times", 1}});
    EXPECT_TRUE(mayTry(at(1)));
}

TEST_F(RepairAttemptsTest, EndsWithTheProcess) {
    exhaust(at(1));
    forgetProcessWideValues();
    EXPECT_TRUE(mayTry(at(1)));
}

TEST_F(RepairAttemptsTest, AZigzagIsNoLongerLeftByAnArrangementThatMayBeTriedAgain) {
    exhaust(at(1));
    simulator::advance(599);
    EXPECT_TRUE(repair_attempts::haveLeftZigzag());
    simulator::advance(1);
    EXPECT_FALSE(repair_attempts::haveLeftZigzag());
}

}  // namespace
}  // namespace tolvaran::tests
