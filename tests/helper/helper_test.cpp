#include "tests/helper/helper_test.hpp"

#include <unistd.h>

#include <algorithm>
#include <cmath>

#include "restore/paths/helper_heartbeat.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

const json empty = json::object();
const std::string starting = "info: Helper starting (pid " + std::to_string(::getpid()) + ")";
const std::string alreadyRunning = "info: Tolvaran already running at helper start (pid 812)";
const std::string notRunning =
    "info: Tolvaran not running at helper start; running cold-start check";

/// A display's reconfiguration, as an event.
json reconfigures(int display, CGDisplayChangeSummaryFlags flags) {
    return {{"reconfigure", {{"display", display}, {"flags", flags}}}};
}

class HelperStart : public HelperTest {
  protected:
    /// Lets seconds pass. @return how many restore runs with this tag end meanwhile
    std::ptrdiff_t runs(const std::string& tag, double seconds) {
        return std::ranges::count(logOf(seconds), reassociatesCursor(tag));
    }

    /// Expects the heartbeat to be dated this many seconds after the start.
    void expectHeartbeatAt(double seconds) const {
        const double start = HelperHeartbeat::currentDate() - simulator::now();
        EXPECT_EQ(readFile(state(".helper-heartbeat")),
                  std::to_string(std::llround((start + seconds) * 1000)));
    }
};

TEST_F(HelperStart, BeginsWithEveryFieldEmpty) {
    makeOn(empty);
    EXPECT_FALSE(helper_->processSource);
    EXPECT_FALSE(helper_->watchedPID.has_value());
    EXPECT_FALSE(helper_->safetyTimer);
    EXPECT_FALSE(helper_->launchObserver.has_value());
    EXPECT_FALSE(helper_->terminateObserver.has_value());
    EXPECT_FALSE(helper_->wakeObserver.has_value());
}

TEST_F(HelperStart, WithTolvaranRunningItWatchesAndRestoresNothing) {
    EXPECT_EQ(startOn(whileTolvaranRuns({812})), (Lines{starting, alreadyRunning, watches(812)}));
    EXPECT_EQ(callNames(), Lines{});
    expectHeartbeatAt(0);
}

TEST_F(HelperStart, WithoutTolvaranItRestoresOnceAndWatchesNothing) {
    EXPECT_EQ(startOn(empty), (Lines{starting, notRunning} + restoreRun("cold-start")));
    EXPECT_FALSE(helper_->watchedPID.has_value());
}

TEST_F(HelperStart, AnInstanceThatIsFlaggedTerminatedIsNotRunning) {
    makeOn(whileTolvaranRuns({812}));
    simulator::perform({{"terminated", 812}});
    helper_->start();
    EXPECT_EQ(takeLog()[1], notRunning);
}

TEST_F(HelperStart, TheSafetyTickComesEverySixtySeconds) {
    startOn(empty);
    EXPECT_EQ(logOf(59.999), Lines{});
    expectHeartbeatAt(0);
    EXPECT_EQ(runs("safety-tick", 0.001), 1);
    expectHeartbeatAt(60);
    EXPECT_EQ(runs("safety-tick", 3600), 60);
}

TEST_F(HelperStart, TheTickSkipsWhileTolvaranRuns) {
    startOn(whileTolvaranRuns({812}));
    EXPECT_EQ(logOf(60), skippedRun("safety-tick", 812));
    EXPECT_EQ(callNames(), Lines{});
}

TEST_F(HelperStart, EachEndOfAReconfigurationGetsItsRun) {
    startOn(empty);
    EXPECT_EQ(logOf(reconfigures(1, kCGDisplayBeginConfigurationFlag), 1), Lines{});
    EXPECT_EQ(logOf(reconfigures(1, kCGDisplayBeginConfigurationFlag | kCGDisplayMovedFlag), 1),
              Lines{});
    simulator::perform(reconfigures(1, kCGDisplayMovedFlag));
    simulator::perform(reconfigures(2, 0));
    EXPECT_EQ(runs("display-reconfig", 1), 2);
}

TEST_F(HelperStart, TheCallbackOnlyQueuesTheRun) {
    reconfigurationCallback(1, kCGDisplayMovedFlag, nullptr);
    EXPECT_EQ(takeLog(), Lines{});
    EXPECT_EQ(runs("display-reconfig", 0), 1);
}

TEST_F(HelperStart, AWakeTouchesTheHeartbeatAndRestoresNothing) {
    startOn(empty);
    simulator::advance(12.5);
    EXPECT_EQ(logOf({{"wake", true}}), Lines{});
    expectHeartbeatAt(12.5);
}

TEST_F(HelperStart, ALaunchArmsTheWatchAndOtherApplicationsDoNot) {
    startOn(empty);
    EXPECT_EQ(logOf(launch(5, "com.other")), Lines{});
    EXPECT_EQ(logOf(launch(6, nullptr)), Lines{});
    EXPECT_EQ(logOf(launch(812)), (Lines{"info: Tolvaran launched (pid 812)", watches(812)}));
}

TEST_F(HelperStart, ATerminationAloneRestoresNothing) {
    startOn(whileTolvaranRuns({812}));
    EXPECT_EQ(logOf({{"terminated", 812}}, 1),
              Lines{"debug: NSWorkspace reports Tolvaran terminated (pid 812)"});
    EXPECT_EQ(helper_->watchedPID, 812);
}

TEST_F(HelperStart, OnceItIsGoneLaunchesAreIgnored) {
    startOn(empty);
    auto launchObserver = std::move(helper_->launchObserver);
    auto terminateObserver = std::move(helper_->terminateObserver);
    helper_.reset();
    simulator::perform(launch(812));
    EXPECT_EQ(logOf({{"exit", 812}}), Lines{});
}

TEST_F(HelperStart, CarriesOnWithoutTheReconfigurationCallback) {
    makeOn(whileTolvaranRuns({812}));
    failCalls("CGDisplayRegisterReconfigurationCallback", 1001);
    helper_->start();
    EXPECT_EQ(takeLog(),
              (Lines{starting, "error: CGDisplayRegisterReconfigurationCallback failed: 1001",
                     alreadyRunning, watches(812)}));
}

TEST_F(HelperStart, AStateDirectoryThatIsAFileStopsNothing) {
    writeFile(path("State"), "");
    EXPECT_EQ(startOn(empty).back(), reassociatesCursor("cold-start"));
}

}  // namespace
}  // namespace tolvaran::tests
