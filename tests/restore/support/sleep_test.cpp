#include "restore/support/sleep.hpp"

#include <gtest/gtest.h>

#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

class SleepFor : public ProcessTest {};

TEST_F(SleepFor, TakesItsTime) {
    for (const double seconds : {0.0, 0.025, 1.0, 2.5}) {
        start();
        sleepFor(seconds);
        EXPECT_NEAR(simulator::now(), seconds, 1e-9);
    }
}

TEST_F(SleepFor, GoesOnWhenItIsInterrupted) {
    simulator::addFault({{"call", "nanosleep"}, {"result", "EINTR"}, {"times", 3}});
    sleepFor(0.025);
    EXPECT_NEAR(simulator::now(), 0.025, 1e-9);
    EXPECT_EQ(simulator::faultsMet(), 3U);
}

TEST_F(SleepFor, SleepsOnlyForWhatRemains) {
    // Interrupted at the very end: nothing remains.
    simulator::addFault(
        {{"call", "nanosleep"}, {"result", "EINTR"}, {"effect", true}, {"times", 1}});
    sleepFor(0.025);
    EXPECT_NEAR(simulator::now(), 0.025, 1e-9);
}

TEST_F(SleepFor, GivesUpWhenItCannotSleep) {
    simulator::addFault({{"call", "nanosleep"}, {"result", "EINVAL"}});
    sleepFor(0.025);
    EXPECT_EQ(simulator::faultsMet(), 1U);
    EXPECT_EQ(simulator::now(), 0.0);
}

TEST_F(SleepFor, EndsWhenInterruptionsDoNot) {
    simulator::addFault({{"call", "nanosleep"}, {"result", "EINTR"}});
    sleepFor(0.025);
    EXPECT_EQ(simulator::faultsMet(), 1000U);
}

}  // namespace
}  // namespace tolvaran::tests
