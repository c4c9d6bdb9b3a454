#include "helper/helper.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "restore/paths/helper_heartbeat.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

const json runningTolvaran = {
    {"applications", json::array({{{"bundle", nullptr}, {"pid", 7}},
                                  {{"bundle", "com.morvelli.Tolvaran"}, {"pid", 812}}})}};

const std::string starting = "info: Helper starting (pid " + std::to_string(::getpid()) + ")";

int countOf(const Lines& lines, const std::string& line) {
    return static_cast<int>(std::count(lines.begin(), lines.end(), line));
}

std::string cursorLine(const std::string& tag) {
    return "info: restoreCursorAssociation [" + tag + "]: re-associated cursor";
}

std::int64_t heartbeatAt(double seconds) {
    return std::llround((HelperHeartbeat::currentDate() - simulator::now() + seconds) * 1000);
}

TEST(Helper, BeginsWithEveryFieldEmpty) {
    const HelperProcess process;
    const auto helper = Helper::make();
    EXPECT_FALSE(helper->processSource);
    EXPECT_FALSE(helper->watchedPID.has_value());
    EXPECT_FALSE(helper->safetyTimer);
    EXPECT_FALSE(helper->launchObserver.has_value());
    EXPECT_FALSE(helper->terminateObserver.has_value());
    EXPECT_FALSE(helper->wakeObserver.has_value());
}

TEST(Helper, WithTolvaranRunningItWatchesAndRestoresNothing) {
    HelperProcess process(runningTolvaran);
    const auto helper = Helper::make();
    helper->start();
    EXPECT_EQ(process.takeLog(),
              (Lines{starting, "info: Tolvaran already running at helper start (pid 812)",
                     "info: Watching PROC_EXIT for Tolvaran pid 812"}));
    EXPECT_EQ(callNames(), Lines{});
    EXPECT_EQ(readFile(process.state(".helper-heartbeat")), std::to_string(heartbeatAt(0)));
}

TEST(Helper, WithoutTolvaranItRestoresOnceAndWatchesNothing) {
    HelperProcess process;
    const auto helper = Helper::make();
    helper->start();
    const Lines lines = process.takeLog();
    EXPECT_EQ(lines[0], starting);
    EXPECT_EQ(lines[1], "info: Tolvaran not running at helper start; running cold-start check");
    EXPECT_EQ(
        lines[2],
        "debug: checkInvariant [cold-start]: hardware not a Tolvaran layout, invariant holds");
    EXPECT_EQ(lines.back(), cursorLine("cold-start"));
    EXPECT_EQ(countOf(lines, cursorLine("cold-start")), 1);
    EXPECT_FALSE(helper->watchedPID.has_value());
}

TEST(Helper, AnInstanceThatIsFlaggedTerminatedIsNotRunning) {
    HelperProcess process(runningTolvaran);
    simulator::perform({{"terminated", 812}});
    const auto helper = Helper::make();
    helper->start();
    EXPECT_EQ(process.takeLog()[1],
              "info: Tolvaran not running at helper start; running cold-start check");
}

TEST(Helper, TheSafetyTickComesEverySixtySeconds) {
    HelperProcess process;
    const auto helper = Helper::make();
    helper->start();
    process.takeLog();
    simulator::advance(59.999);
    EXPECT_EQ(process.takeLog(), Lines{});
    EXPECT_EQ(readFile(process.state(".helper-heartbeat")), std::to_string(heartbeatAt(0)));
    simulator::advance(0.001);
    EXPECT_EQ(countOf(process.takeLog(), cursorLine("safety-tick")), 1);
    EXPECT_EQ(readFile(process.state(".helper-heartbeat")), std::to_string(heartbeatAt(60)));
    simulator::advance(3600);
    EXPECT_EQ(countOf(process.takeLog(), cursorLine("safety-tick")), 60);
}

TEST(Helper, TheTickSkipsWhileTolvaranRuns) {
    HelperProcess process(runningTolvaran);
    const auto helper = Helper::make();
    helper->start();
    process.takeLog();
    simulator::advance(60);
    Lines expected;
    for (const std::string step : {"checkInvariant", "restoreMenuBar", "restoreHotCorners",
                                   "restoreDockAutoHide", "restoreCursorAssociation"}) {
        expected.push_back("debug: " + step +
                           " [safety-tick]: Tolvaran running (pid 812), skipping");
    }
    EXPECT_EQ(process.takeLog(), expected);
    EXPECT_EQ(callNames(), Lines{});
}

TEST(Helper, EachEndOfAReconfigurationGetsItsRun) {
    HelperProcess process;
    const auto helper = Helper::make();
    helper->start();
    process.takeLog();
    simulator::perform(
        {{"reconfigure", {{"display", 1}, {"flags", kCGDisplayBeginConfigurationFlag}}}});
    simulator::advance(1);
    EXPECT_EQ(process.takeLog(), Lines{});
    simulator::perform(
        {{"reconfigure",
          {{"display", 1}, {"flags", kCGDisplayBeginConfigurationFlag | kCGDisplayMovedFlag}}}});
    simulator::advance(1);
    EXPECT_EQ(process.takeLog(), Lines{});
    simulator::perform({{"reconfigure", {{"display", 1}, {"flags", kCGDisplayMovedFlag}}}});
    simulator::perform({{"reconfigure", {{"display", 2}, {"flags", 0}}}});
    simulator::advance(1);
    EXPECT_EQ(countOf(process.takeLog(), cursorLine("display-reconfig")), 2);
}

TEST(Helper, TheCallbackOnlyQueuesTheRun) {
    HelperProcess process;
    reconfigurationCallback(1, kCGDisplayMovedFlag, nullptr);
    EXPECT_EQ(process.takeLog(), Lines{});
    simulator::advance(0);
    EXPECT_EQ(countOf(process.takeLog(), cursorLine("display-reconfig")), 1);
}

TEST(Helper, AWakeTouchesTheHeartbeatAndRestoresNothing) {
    HelperProcess process;
    const auto helper = Helper::make();
    helper->start();
    process.takeLog();
    simulator::advance(12.5);
    simulator::perform({{"wake", true}});
    simulator::advance(0);
    EXPECT_EQ(process.takeLog(), Lines{});
    EXPECT_EQ(readFile(process.state(".helper-heartbeat")), std::to_string(heartbeatAt(12.5)));
}

TEST(Helper, ALaunchArmsTheWatchAndOtherApplicationsDoNot) {
    HelperProcess process;
    const auto helper = Helper::make();
    helper->start();
    process.takeLog();
    simulator::perform({{"launch", {{"bundle", "com.other"}, {"pid", 5}}}});
    simulator::perform({{"launch", {{"bundle", nullptr}, {"pid", 6}}}});
    simulator::advance(0);
    EXPECT_EQ(process.takeLog(), Lines{});
    simulator::perform({{"launch", {{"bundle", "com.morvelli.Tolvaran"}, {"pid", 812}}}});
    simulator::advance(0);
    EXPECT_EQ(process.takeLog(), (Lines{"info: Tolvaran launched (pid 812)",
                                        "info: Watching PROC_EXIT for Tolvaran pid 812"}));
}

TEST(Helper, ATerminationAloneRestoresNothing) {
    HelperProcess process(runningTolvaran);
    const auto helper = Helper::make();
    helper->start();
    process.takeLog();
    simulator::perform({{"terminated", 812}});
    simulator::advance(1);
    EXPECT_EQ(process.takeLog(), Lines{"debug: NSWorkspace reports Tolvaran terminated (pid 812)"});
    EXPECT_EQ(helper->watchedPID, 812);
}

TEST(Helper, OnceItIsGoneLaunchesAreIgnored) {
    HelperProcess process;
    auto helper = Helper::make();
    helper->start();
    auto launchObserver = std::move(helper->launchObserver);
    auto terminateObserver = std::move(helper->terminateObserver);
    helper.reset();
    process.takeLog();
    simulator::perform({{"launch", {{"bundle", "com.morvelli.Tolvaran"}, {"pid", 812}}}});
    simulator::perform({{"exit", 812}});
    simulator::advance(0);
    EXPECT_EQ(process.takeLog(), Lines{});
}

TEST(Helper, CarriesOnWithoutTheReconfigurationCallback) {
    HelperProcess process(runningTolvaran);
    simulator::addFault({{"call", "CGDisplayRegisterReconfigurationCallback"}, {"result", 1001}});
    const auto helper = Helper::make();
    helper->start();
    EXPECT_EQ(process.takeLog(),
              (Lines{starting, "error: CGDisplayRegisterReconfigurationCallback failed: 1001",
                     "info: Tolvaran already running at helper start (pid 812)",
                     "info: Watching PROC_EXIT for Tolvaran pid 812"}));
}

TEST(Helper, AStateDirectoryThatIsAFileStopsNothing) {
    HelperProcess process;
    const std::string heartbeat = process.state(".helper-heartbeat");
    writeFile(heartbeat.substr(0, heartbeat.rfind('/')), "");
    const auto helper = Helper::make();
    helper->start();
    EXPECT_EQ(process.takeLog().back(), cursorLine("cold-start"));
}

}  // namespace
}  // namespace tolvaran::tests
