#include "simulator/host/processes.hpp"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "simulator/host/host_calls.hpp"
#include "simulator/loop/clock.hpp"
#include "simulator/loop/event_loop.hpp"
#include "simulator/machine/machine.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

class Processes : public SimulatorTest {};

bool existsOnHost(pid_t pid) {
    return __real_kill(pid, 0) == 0;
}

/// Launches a real process, named "child", on the real clock.
pid_t launchChild() {
    clock::restart(clock::Kind::realTime);
    perform({{"launch", {{"bundle", "a"}, {"as", "child"}}}});
    return mac().applications.at(0).pid;
}

TEST_F(Processes, AVirtualProcessEndsAtOnce) {
    reset({{"applications", {{{"bundle", "a"}, {"pid", 7}}}}});
    int exits = 0;
    watchExit(7, [&] { ++exits; });
    const ExitWatch forgotten = watchExit(7, [&] { ADD_FAILURE() << "the watch was dropped"; });
    unwatchExit(forgotten);
    EXPECT_TRUE(isAlive(7));
    killProcess(7);
    EXPECT_FALSE(isAlive(7));
    EXPECT_EQ(exits, 1);
}

TEST_F(Processes, KillSeesTheMachinesProcessesOnly) {
    reset({{"applications", {{{"bundle", "a"}, {"pid", 7}}}}});
    EXPECT_EQ(kill(7, 0), 0);
    EXPECT_EQ(kill(getpid(), 0), 0);
    EXPECT_EQ(kill(getppid(), 0), -1) << "it exists on the host only";
    EXPECT_EQ(errno, ESRCH);
    EXPECT_EQ(kill(7, SIGKILL), -1);
    EXPECT_EQ(errno, EPERM);
    EXPECT_TRUE(isAlive(7));
}

TEST_F(Processes, ARealProcessEndsWhenTheKernelSaysSo) {
    const pid_t pid = launchChild();
    EXPECT_TRUE(existsOnHost(pid));
    int exits = 0;
    watchExit(pid, [&] { ++exits; });
    perform({{"exit", "child"}});
    EXPECT_EQ(exits, 0) << "the kernel has not reported it yet";
    runUntil(clock::now() + clock::fromSeconds(0.2));
    EXPECT_EQ(exits, 1);
    EXPECT_FALSE(isAlive(pid));
    EXPECT_FALSE(existsOnHost(pid)) << "it was reaped";
}

TEST_F(Processes, AProcessKilledFromOutsideIsNoticed) {
    const pid_t pid = launchChild();
    int exits = 0;
    watchExit(pid, [&] { ++exits; });
    planEvent(clock::fromSeconds(0.02), [pid] { __real_kill(pid, SIGKILL); });
    runUntil(clock::fromSeconds(0.2));
    EXPECT_EQ(exits, 1);
    EXPECT_TRUE(mac().applications.empty());
    EXPECT_FALSE(existsOnHost(pid)) << "it was reaped";
}

TEST_F(Processes, ResettingLeavesNoChildBehind) {
    const pid_t pid = launchChild();
    reset();
    EXPECT_FALSE(existsOnHost(pid));
}

}  // namespace
}  // namespace tolvaran::tests
