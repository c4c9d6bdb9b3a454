// The watch on the main application's process, from launch to restore.
#include "simulator/loop/workspace_events.hpp"
#include "tests/helper/helper_test.hpp"
#include "tests/support/other_process.hpp"

namespace tolvaran::tests {
namespace {

std::string launched(pid_t pid) {
    return "info: Tolvaran launched (pid " + std::to_string(pid) + ")";
}

std::string exitFired(pid_t pid) {
    return "info: PROC_EXIT fired for Tolvaran (pid " + std::to_string(pid) + ")";
}

class ProcessWatch : public HelperTest {
  protected:
    /// Makes a helper that only watches this process, on a Mac with these instances.
    /// @return what is logged
    Lines watch(pid_t pid, const std::vector<pid_t>& instances) {
        makeOn(whileTolvaranRuns(instances));
        helper_->watch(pid);
        return takeLog();
    }

    /// Notifies the helper of a launch. @return what is logged
    Lines notifyOfLaunch(pid_t pid) {
        helper_->mainAppLaunched(pid);
        return takeLog();
    }
};

TEST_F(ProcessWatch, ANotificationWithoutAnApplicationIsIgnored) {
    startOn(whileTolvaranRuns({812}));
    simulator::postLaunch(std::nullopt);
    simulator::postTermination(std::nullopt);
    EXPECT_EQ(logOf(0), Lines{});
    EXPECT_EQ(helper_->watchedPID, 812);
}

TEST_F(ProcessWatch, ACrashIsRestoredOnceAfterTheGrace) {
    EXPECT_EQ(watch(812, {812}), Lines{watches(812)});
    EXPECT_EQ(helper_->watchedPID, 812);
    EXPECT_TRUE(helper_->processSource);

    EXPECT_EQ(logOf({{"exit", 812}}, 0.199), Lines{exitFired(812)});
    EXPECT_EQ(helper_->watchedPID, std::nullopt);
    EXPECT_FALSE(helper_->processSource);
    EXPECT_EQ(logOf(0.001), restoreRun("proc-exit"));
    EXPECT_EQ(logOf(100), Lines{});
}

TEST_F(ProcessWatch, WhatAKilledInstanceLeftHalfWrittenIsRemovedAfterItsExit) {
    watch(812, {812});
    const std::string unfinished =
        state(".menubar-state.json.unfinished-" + std::to_string(endedProcess()) + "-abcdef");
    writeFile(unfinished, "{");
    simulator::perform({{"exit", 812}});
    simulator::advance(0.199);
    EXPECT_EQ(readFile(unfinished), "{");
    simulator::advance(0.001);
    EXPECT_EQ(readFile(unfinished), std::nullopt);
}

TEST_F(ProcessWatch, WhatAnUnwatchedInstanceLeftIsRemovedByTheNextRun) {
    startOn(nlohmann::json::object());
    const std::string ended = std::to_string(endedProcess());
    const std::string unfinished = state(".menubar-state.json.unfinished-" + ended + "-abcdef");
    const std::string aside = state(".dock-autohide-pending.json.removing-" + ended + "-0");
    writeFile(unfinished, "{");
    writeFile(aside, R"({"version":1,"restoreTo":true})");
    simulator::advance(60);
    EXPECT_EQ(readFile(unfinished), std::nullopt);
    EXPECT_EQ(readFile(aside), std::nullopt);
    EXPECT_EQ(simulator::machine()["dock"]["autoHide"], true);
}

TEST_F(ProcessWatch, TheExitedInstanceMayStillBeListed) {
    makeOn(whileTolvaranRuns({812}));
    Helper::rearmAfterExit(helper_, 812);
    EXPECT_EQ(takeLog(), restoreRun("proc-exit"));
}

TEST_F(ProcessWatch, ARelaunchMovesTheWatchAndEveryStepSkips) {
    watch(812, {812});
    logOf({{"exit", 812}}, 0.1);
    // Nothing observes the workspace here.
    EXPECT_EQ(
        logOf(launch(813), 0.1),
        (Lines{"info: Re-arming PROC_EXIT watch on live Tolvaran pid 813 after pid 812 exited",
               watches(813)} +
         skippedRun("proc-exit", 813)));
    EXPECT_EQ(helper_->watchedPID, 813);
    EXPECT_EQ(takeCalls(), Lines{});
}

TEST_F(ProcessWatch, AWatchArmedOnAnExitedProcessStillFires) {
    EXPECT_EQ(watch(4711, {}), Lines{watches(4711)});
    EXPECT_EQ(logOf(0.2), Lines{exitFired(4711)} + restoreRun("proc-exit"));
}

TEST_F(ProcessWatch, ANewWatchReplacesTheEarlierOne) {
    watch(812, {812, 813});
    helper_->watch(813);
    takeLog();
    EXPECT_EQ(logOf({{"exit", 812}}, 1), Lines{});
    EXPECT_EQ(logOf({{"exit", 813}}), Lines{exitFired(813)});
}

TEST_F(ProcessWatch, ALaunchIsWatchedUnlessTheWatchedInstanceLives) {
    makeOn(whileTolvaranRuns({812, 813}));
    EXPECT_EQ(notifyOfLaunch(812), (Lines{launched(812), watches(812)}));
    EXPECT_EQ(
        notifyOfLaunch(813),
        Lines{"debug: Tolvaran launched (pid 813); already watching live pid 812, keeping watch"});
    EXPECT_EQ(helper_->watchedPID, 812);
    // Another launch of the same instance replaces the watch.
    EXPECT_EQ(notifyOfLaunch(812), (Lines{launched(812), watches(812)}));
    simulator::perform({{"terminated", 812}});
    EXPECT_EQ(notifyOfLaunch(813), (Lines{launched(813), watches(813)}));
}

TEST_F(ProcessWatch, ATerminationIsOnlyLogged) {
    watch(812, {812});
    helper_->mainAppTerminated(812);
    EXPECT_EQ(logOf(1), Lines{"debug: NSWorkspace reports Tolvaran terminated (pid 812)"});
}

TEST_F(ProcessWatch, WithoutTheHelperTheSequenceStillRuns) {
    makeOn(whileTolvaranRuns({812, 813}));
    const std::weak_ptr<Helper> weak = helper_;
    helper_.reset();
    ASSERT_TRUE(weak.expired());
    Helper::procExitFired(weak, 812);
    EXPECT_EQ(logOf(0.2), (Lines{exitFired(812),
                                 "info: Re-arming PROC_EXIT watch on live Tolvaran pid 813 after "
                                 "pid 812 exited"} +
                           skippedRun("proc-exit", 813)));
    Helper::rearmAfterExit(weak, 813);  // 812 now counts as another live instance
    EXPECT_EQ(takeLog().back(), skippedRun("proc-exit", 812).back());
}

TEST_F(ProcessWatch, AWatchDoesNotKeepTheHelperAlive) {
    const std::size_t before = simulator::liveObjects();
    watch(812, {812});
    const std::weak_ptr<Helper> weak = helper_;
    helper_.reset();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(simulator::liveObjects(), before);
}

TEST_F(ProcessWatch, AWatchThatCannotBeCreatedIsLogged) {
    makeOn(whileTolvaranRuns({812}));
    failCalls("dispatch_source_create", nullptr);
    helper_->watch(812);
    EXPECT_EQ(takeLog(), Lines{"error: PROC_EXIT watch could not be created for Tolvaran pid 812"});
    EXPECT_EQ(helper_->watchedPID, std::nullopt);
}

}  // namespace
}  // namespace tolvaran::tests
