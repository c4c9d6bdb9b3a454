#include "restore/support/sleep.hpp"

#include <gtest/gtest.h>

#include "simulator/simulator.hpp"

namespace tolvaran {
namespace {

TEST(SleepFor, TakesItsTime) {
    for (const double seconds : {0.0, 0.025, 1.0, 2.5}) {
        simulator::reset();
        sleepFor(seconds);
        EXPECT_NEAR(simulator::now(), seconds, 1e-9);
    }
}

TEST(SleepFor, GoesOnWhenItIsInterrupted) {
    simulator::reset();
    simulator::addFault({{"call", "nanosleep"}, {"result", "EINTR"}, {"times", 3}});
    sleepFor(0.025);
    EXPECT_NEAR(simulator::now(), 0.025, 1e-9);
    EXPECT_EQ(simulator::faultsMet(), 3U);
}

TEST(SleepFor, SleepsOnlyForWhatRemains) {
    simulator::reset();
    // Interrupted at the very end: nothing remains.
    simulator::addFault(
        {{"call", "nanosleep"}, {"result", "EINTR"}, {"effect", true}, {"times", 1}});
    sleepFor(0.025);
    EXPECT_NEAR(simulator::now(), 0.025, 1e-9);
}

TEST(SleepFor, GivesUpWhenItCannotSleep) {
    simulator::reset();
    simulator::addFault({{"call", "nanosleep"}, {"result", "EINVAL"}});
    sleepFor(0.025);
    EXPECT_EQ(simulator::faultsMet(), 1U);
    EXPECT_EQ(simulator::now(), 0.0);
}

TEST(SleepFor, EndsWhenInterruptionsDoNot) {
    simulator::reset();
    simulator::addFault({{"call", "nanosleep"}, {"result", "EINTR"}});
    sleepFor(0.025);
    EXPECT_GE(simulator::faultsMet(), 100U);
}

}  // namespace
}  // namespace tolvaran
