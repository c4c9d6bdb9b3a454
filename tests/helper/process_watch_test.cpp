// The watch on the main application's process, from launch to restore.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "helper/helper.hpp"
#include "helper/main_application.hpp"
#include "simulator/loop/workspace_events.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/other_process.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

constexpr const char* tolvaranBundle = "com.morvelli.Tolvaran";

json applications(const std::vector<pid_t>& pids) {
    json list =
        json::array({{{"bundle", nullptr}, {"pid", 1}}, {{"bundle", "com.other"}, {"pid", 2}}});
    for (const pid_t pid : pids) {
        list.push_back({{"bundle", tolvaranBundle}, {"pid", pid}});
    }
    return {{"applications", list}};
}

json launch(pid_t pid, const char* bundle = tolvaranBundle) {
    return {{"launch", {{"bundle", bundle}, {"pid", pid}}}};
}

/// The lines of one restore run on a Mac with nothing to put back.
Lines restored(const std::string& tag) {
    return {"debug: checkInvariant [" + tag + "]: hardware not a Tolvaran layout, invariant holds",
            "info: restoreCursorAssociation [" + tag + "]: re-associated cursor"};
}

/// The lines of one restore run that finds instance `pid` alive.
Lines skipped(const std::string& tag, pid_t pid) {
    Lines lines;
    for (const std::string step : {"checkInvariant", "restoreMenuBar", "restoreHotCorners",
                                   "restoreDockAutoHide", "restoreCursorAssociation"}) {
        lines.push_back("debug: " + step + " [" + tag + "]: Tolvaran running (pid " +
                        std::to_string(pid) + "), skipping");
    }
    return lines;
}

TEST(MainApplication, IsTheFirstLiveInstanceInListingOrder) {
    const HelperProcess process(applications({30, 20, 10}));
    EXPECT_EQ(runningMainAppPID(std::nullopt), 30);
    EXPECT_EQ(runningMainAppPID(30), 20);
    EXPECT_EQ(runningMainAppPID(20), 30);
    EXPECT_TRUE(isMainAppPIDAlive(10));
    EXPECT_FALSE(isMainAppPIDAlive(2));
    simulator::perform({{"terminated", 30}});
    EXPECT_EQ(runningMainAppPID(std::nullopt), 20);
    EXPECT_EQ(runningMainAppPID(20), 10);
    EXPECT_FALSE(isMainAppPIDAlive(30));
}

TEST(MainApplication, IsNoneWithoutALiveInstance) {
    const HelperProcess process(applications({30}));
    EXPECT_EQ(runningMainAppPID(30), std::nullopt);
    simulator::perform({{"exit", 30}});
    EXPECT_EQ(runningMainAppPID(std::nullopt), std::nullopt);
}

TEST(ProcessWatch, ANotificationWithoutAnApplicationIsIgnored) {
    HelperProcess process(applications({812}));
    const auto helper = Helper::make();
    helper->start();
    process.takeLog();
    simulator::postLaunch(std::nullopt);
    simulator::postTermination(std::nullopt);
    simulator::advance(0);
    EXPECT_EQ(process.takeLog(), Lines{});
    EXPECT_EQ(helper->watchedPID, 812);
}

TEST(ProcessWatch, ACrashIsRestoredOnceAfterTheGrace) {
    HelperProcess process(applications({812}));
    const auto helper = Helper::make();
    helper->watch(812);
    EXPECT_EQ(process.takeLog(), Lines{"info: Watching PROC_EXIT for Tolvaran pid 812"});
    EXPECT_EQ(helper->watchedPID, 812);
    EXPECT_TRUE(helper->processSource);

    simulator::perform({{"exit", 812}});
    simulator::advance(0.199);
    EXPECT_EQ(process.takeLog(), Lines{"info: PROC_EXIT fired for Tolvaran (pid 812)"});
    EXPECT_EQ(helper->watchedPID, std::nullopt);
    EXPECT_FALSE(helper->processSource);
    simulator::advance(0.001);
    EXPECT_EQ(process.takeLog(), restored("proc-exit"));
    simulator::advance(100);
    EXPECT_EQ(process.takeLog(), Lines{});
}

TEST(ProcessWatch, WhatAKilledInstanceLeftHalfWrittenIsRemovedAfterItsExit) {
    const HelperProcess process(applications({812}));
    const auto helper = Helper::make();
    helper->watch(812);
    const std::string unfinished = process.state(".menubar-state.json.unfinished-" +
                                                 std::to_string(endedProcess()) + "-abcdef");
    writeFile(unfinished, "{");
    simulator::perform({{"exit", 812}});
    simulator::advance(0.199);
    EXPECT_EQ(readFile(unfinished), "{");
    simulator::advance(0.001);
    EXPECT_EQ(readFile(unfinished), std::nullopt);
}

TEST(ProcessWatch, WhatAnInstanceLeftThatCouldNotBeWatchedIsRemovedByTheNextRun) {
    const HelperProcess process;
    const auto helper = Helper::make();
    helper->start();
    const std::string ended = std::to_string(endedProcess());
    const std::string unfinished =
        process.state(".menubar-state.json.unfinished-" + ended + "-abcdef");
    const std::string aside = process.state(".dock-autohide-pending.json.removing-" + ended + "-0");
    writeFile(unfinished, "{");
    writeFile(aside, R"({"version":1,"restoreTo":true})");
    simulator::advance(60);
    EXPECT_EQ(readFile(unfinished), std::nullopt);
    EXPECT_EQ(readFile(aside), std::nullopt);
    EXPECT_EQ(simulator::machine()["dock"]["autoHide"], true);
}

TEST(ProcessWatch, TheExitedInstanceMayStillBeListed) {
    HelperProcess process(applications({812}));
    const auto helper = Helper::make();
    Helper::rearmAfterExit(helper, 812);
    EXPECT_EQ(process.takeLog(), restored("proc-exit"));
}

TEST(ProcessWatch, ARelaunchMovesTheWatchAndEveryStepSkips) {
    HelperProcess process(applications({812}));
    const auto helper = Helper::make();
    helper->watch(812);
    simulator::perform({{"exit", 812}});
    simulator::advance(0.1);
    simulator::perform(launch(813));  // nothing observes the workspace here
    process.takeLog();
    simulator::advance(0.1);
    EXPECT_EQ(
        process.takeLog(),
        Lines({"info: Re-arming PROC_EXIT watch on live Tolvaran pid 813 after pid 812 exited",
               "info: Watching PROC_EXIT for Tolvaran pid 813"}) +
            skipped("proc-exit", 813));
    EXPECT_EQ(helper->watchedPID, 813);
    EXPECT_EQ(simulator::calls(), json::array());
}

TEST(ProcessWatch, AWatchArmedOnAnExitedProcessStillFires) {
    HelperProcess process(applications({}));
    const auto helper = Helper::make();
    helper->watch(4711);
    simulator::advance(0.2);
    EXPECT_EQ(process.takeLog(), Lines({"info: Watching PROC_EXIT for Tolvaran pid 4711",
                                        "info: PROC_EXIT fired for Tolvaran (pid 4711)"}) +
                                     restored("proc-exit"));
}

TEST(ProcessWatch, ANewWatchReplacesTheEarlierOne) {
    HelperProcess process(applications({812, 813}));
    const auto helper = Helper::make();
    helper->watch(812);
    helper->watch(813);
    process.takeLog();
    simulator::perform({{"exit", 812}});
    simulator::advance(1);
    EXPECT_EQ(process.takeLog(), Lines{});
    simulator::perform({{"exit", 813}});
    simulator::advance(0);
    EXPECT_EQ(process.takeLog(), Lines{"info: PROC_EXIT fired for Tolvaran (pid 813)"});
}

TEST(ProcessWatch, ALaunchIsWatchedUnlessTheWatchedInstanceLives) {
    HelperProcess process(applications({812, 813}));
    const auto helper = Helper::make();
    helper->mainAppLaunched(812);
    EXPECT_EQ(process.takeLog(), Lines({"info: Tolvaran launched (pid 812)",
                                        "info: Watching PROC_EXIT for Tolvaran pid 812"}));
    helper->mainAppLaunched(813);
    EXPECT_EQ(
        process.takeLog(),
        Lines{"debug: Tolvaran launched (pid 813); already watching live pid 812, keeping watch"});
    EXPECT_EQ(helper->watchedPID, 812);
    helper->mainAppLaunched(812);  // the same one again: the watch is replaced
    EXPECT_EQ(process.takeLog(), Lines({"info: Tolvaran launched (pid 812)",
                                        "info: Watching PROC_EXIT for Tolvaran pid 812"}));
    simulator::perform({{"terminated", 812}});
    helper->mainAppLaunched(813);
    EXPECT_EQ(process.takeLog(), Lines({"info: Tolvaran launched (pid 813)",
                                        "info: Watching PROC_EXIT for Tolvaran pid 813"}));
}

TEST(ProcessWatch, ATerminationIsOnlyLogged) {
    HelperProcess process(applications({812}));
    const auto helper = Helper::make();
    helper->watch(812);
    process.takeLog();
    helper->mainAppTerminated(812);
    simulator::advance(1);
    EXPECT_EQ(process.takeLog(), Lines{"debug: NSWorkspace reports Tolvaran terminated (pid 812)"});
}

TEST(ProcessWatch, WithoutTheHelperTheSequenceStillRuns) {
    HelperProcess process(applications({812, 813}));
    auto helper = Helper::make();
    const std::weak_ptr<Helper> weak = helper;
    helper.reset();
    ASSERT_TRUE(weak.expired());
    Helper::procExitFired(weak, 812);
    simulator::advance(0.2);
    EXPECT_EQ(
        process.takeLog(),
        Lines({"info: PROC_EXIT fired for Tolvaran (pid 812)",
               "info: Re-arming PROC_EXIT watch on live Tolvaran pid 813 after pid 812 exited"}) +
            skipped("proc-exit", 813));
    Helper::rearmAfterExit(weak, 813);  // now 812 counts as the other one, and lives
    EXPECT_EQ(process.takeLog().back(),
              "debug: restoreCursorAssociation [proc-exit]: Tolvaran running (pid 812), skipping");
}

TEST(ProcessWatch, AWatchDoesNotKeepTheHelperAlive) {
    HelperProcess process(applications({812}));
    const std::size_t before = simulator::liveObjects();
    auto helper = Helper::make();
    helper->watch(812);
    const std::weak_ptr<Helper> weak = helper;
    helper.reset();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(simulator::liveObjects(), before);
}

TEST(ProcessWatch, AWatchThatCannotBeCreatedIsLogged) {
    HelperProcess process(applications({812}));
    simulator::addFault({{"call", "dispatch_source_create"}, {"result", nullptr}});
    const auto helper = Helper::make();
    helper->watch(812);
    EXPECT_EQ(process.takeLog(),
              Lines{"error: PROC_EXIT watch could not be created for Tolvaran pid 812"});
    EXPECT_EQ(helper->watchedPID, std::nullopt);
}

}  // namespace
}  // namespace tolvaran::tests
