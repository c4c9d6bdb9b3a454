// What a process can learn about itself and about the applications beside it.
#include <crt_externs.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/workspace.hpp"
#include "tests/contract/the_mac.hpp"

namespace {

using namespace tolvaran;

class Process : public Contract {};

// Left open, since these two functions have only a header: whether they give main()'s arguments.
// Documented for those: a null after the last one.
TEST_F(Process, TheArgumentsBeginWithTheProgram) {
    ASSERT_GE(*_NSGetArgc(), 1);
    char** const arguments = *_NSGetArgv();
    EXPECT_NE(std::strlen(arguments[0]), 0U);
    EXPECT_EQ(arguments[*_NSGetArgc()], nullptr);
}

// Left open by AppKit: how soon the list changes, and its order. It changes only while the main run
// loop runs.
TEST_F(Process, TheRunningApplicationsAreListedWithTheirProcesses) {
    const auto applications = workspace::runningApplications();
    const auto finder =
        std::ranges::find(applications, std::optional<std::string>("com.apple.finder"),
                          &workspace::RunningApplication::bundleIdentifier);
    ASSERT_NE(finder, applications.end());
    EXPECT_GT(finder->processIdentifier, 0);
    EXPECT_FALSE(finder->terminated);
    for (const auto& application : applications) {
        EXPECT_EQ(std::ranges::count(applications, application.processIdentifier,
                                     &workspace::RunningApplication::processIdentifier),
                  1);
    }
}

// Documented: an observer lives until it is removed. A test can neither launch nor end an
// application on a real Mac, nor wake it, so nothing is expected to arrive before. The process
// started here is an application on the simulated Mac only.
TEST_F(Process, NothingArrivesOnceAnObservationHasEnded) {
    int arrivals = 0;
    const auto count = [&](const std::optional<workspace::RunningApplication>&) { ++arrivals; };
    {
        const auto launches = workspace::observeLaunches(count);
        const auto terminations = workspace::observeTerminations(count);
        const auto wakes = workspace::observeWakes([&] { ++arrivals; });
        the_mac::letPass(0.05);
    }
    const int atTheEnd = arrivals;
    the_mac::endProcess(the_mac::startProcess());
    the_mac::letPass(0.05);
    EXPECT_EQ(arrivals, atTheEnd);
}

}  // namespace
