#include "helper/steps/steps.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "restore/dock/dock_hot_corner_override.hpp"
#include "restore/dock/screen_saver_hot_corner_hold.hpp"
#include "simulator/simulator.hpp"
#include "tests/helper/steps/step_test.hpp"
#include "tests/support/suppressed_corners.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

const std::string holdFile = "hot-corner-screen-saver-hold";
const std::string snapshotFile = "hot-corners-snapshot.json";
const std::string snapshotText =
    R"({"blCorner":3,"liveActions":[5,2,3,13],"liveModifiers":[0,0,0,0],"tlCorner":5})";

const std::string holdReleased = "info: restoreHotCorners [cold-start]: screen saver hold released";
const std::string applyingCorners = "info: restoreHotCorners [cold-start]: applying snapshot";
const std::string applied = "info: restoreHotCorners [cold-start]: snapshot applied + deleted";

void expectRestoredCorners() {
    EXPECT_EQ(simulator::machine()["preferences"]["com.apple.dock"],
              (json{{"wvous-tl-corner", 5}, {"wvous-bl-corner", 3}}));
    EXPECT_EQ(simulator::machine()["dock"]["cornerActions"], (json{5, 2, 3, 13}));
}

Lines postedNames() {
    Lines names;
    for (const json& notification : simulator::notifications()) {
        names.push_back(notification["name"]);
    }
    return names;
}

class RestoreHotCorners : public StepTest {
  protected:
    RestoreHotCorners() : StepTest(restoreHotCorners, "restoreHotCorners") {
        start(macWithSuppressedCorners());
    }
};

TEST_F(RestoreHotCorners, WithoutFilesDoesNothing) {
    EXPECT_EQ(run(), Lines{});
    EXPECT_EQ(callNames(), Lines{});
}

TEST_F(RestoreHotCorners, ReleasesTheHoldBeforeItAppliesTheSnapshot) {
    write(holdFile, "1");
    write(snapshotFile, snapshotText);
    EXPECT_EQ(run(), (Lines{holdReleased, applyingCorners, applied}));
    EXPECT_EQ(postedNames(), (Lines{"com.apple.screensaver.action", "com.apple.dock.prefchanged",
                                    "com.apple.dock.hotcorner.updated"}));
    EXPECT_EQ(callNames().front(), "CFNotificationCenterPostNotification");
    expectRestoredCorners();
    EXPECT_FALSE(read(holdFile).has_value());
    EXPECT_FALSE(read(snapshotFile).has_value());

    EXPECT_EQ(run(), Lines{});
    EXPECT_EQ(postedNames().size(), 3U);
}

TEST_F(RestoreHotCorners, ReleasesAHoldAlone) {
    write(holdFile, "");
    EXPECT_EQ(run("proc-exit", 812),
              Lines{"info: restoreHotCorners [proc-exit]: screen saver hold released"});
    EXPECT_EQ(callNames(), Lines{"CFNotificationCenterPostNotification"});
}

// The hold is released on every run while its marker cannot be removed; the snapshot does not wait
// for that.
TEST_F(RestoreHotCorners, AppliesTheSnapshotEvenIfTheHoldsMarkerStays) {
    std::filesystem::create_directories(state(holdFile));
    write(snapshotFile, snapshotText);
    EXPECT_EQ(run(),
              (Lines{"warn: screen-saver hot-corner hold marker could not be removed (remove " +
                         state(holdFile) + ": Is a directory)",
                     applyingCorners, applied}));
    EXPECT_EQ(postedNames().front(), "com.apple.screensaver.action");
    expectRestoredCorners();
    EXPECT_EQ(run().size(), 1U);
    EXPECT_EQ(postedNames().back(), "com.apple.screensaver.action");
}

TEST_F(RestoreHotCorners, KeepsASnapshotThatItCannotRestore) {
    write(snapshotFile, snapshotText);
    failCalls("CFPreferencesAppSynchronize", false);
    const Lines failing = {applyingCorners,
                           "warn: hot-corner restoreIfPending: CFPreferencesAppSynchronize failed; "
                           "snapshot kept at " +
                               state(snapshotFile) + " for retry"};
    EXPECT_EQ(run(), failing);
    EXPECT_EQ(run(), failing);
    EXPECT_EQ(read(snapshotFile), snapshotText);
    simulator::clearFaults();
    EXPECT_EQ(run(), (Lines{applyingCorners, applied}));
    expectRestoredCorners();
}

TEST_F(RestoreHotCorners, KeepsWhatItCannotRead) {
    write(snapshotFile, "{");
    EXPECT_EQ(run(), (Lines{applyingCorners, "warn: hot-corner snapshot at " + state(snapshotFile) +
                                                 " failed to decode: invalid JSON at byte 2"}));
    EXPECT_EQ(read(snapshotFile), "{");
    EXPECT_EQ(callNames(), Lines{});
}

TEST_F(RestoreHotCorners, SaysNoMoreAboutADirectoryInTheSnapshotsPlace) {
    std::filesystem::create_directories(state(snapshotFile));
    EXPECT_EQ(run(), Lines{applyingCorners});
    EXPECT_EQ(callNames(), Lines{});
}

TEST_F(RestoreHotCorners, LeavesBothToARunningTolvaran) {
    start(whileTolvaranRuns({812}, macWithSuppressedCorners()));
    write(holdFile, "1");
    write(snapshotFile, snapshotText);
    EXPECT_EQ(run("safety-tick"), Lines{skips("safety-tick", 812)});
    EXPECT_EQ(callNames(), Lines{});
    EXPECT_EQ(run("proc-exit", 812).size(), 3U) << "the instance that has exited does not count";
    expectRestoredCorners();
}

TEST_F(RestoreHotCorners, TriesAgainFromTheFileThatMayBeNewerByThen) {
    write(snapshotFile, snapshotText);
    simulator::addFault({{"call", "CFPreferencesAppSynchronize"}, {"result", false}, {"times", 1}});
    run();
    EXPECT_TRUE(read(snapshotFile).has_value());

    // Tolvaran ran and crashed meanwhile; the user has other corners now.
    write(snapshotFile, R"({"liveActions":[1,4,1,1],"liveModifiers":[0,0,0,0],"trCorner":4})");
    run("safety-tick");
    EXPECT_EQ(simulator::machine()["dock"]["cornerActions"], (json{1, 4, 1, 1}));
    EXPECT_FALSE(read(snapshotFile).has_value());
}

TEST_F(RestoreHotCorners, TriesAgainFromTheNewerFileEvenIfTheOldOneBecameUnreadable) {
    write(snapshotFile, snapshotText);
    failCalls("CFPreferencesAppSynchronize", false);
    simulator::onCall("CFPreferencesAppSynchronize", [] {
        simulator::addFault({{"call", "read"}, {"result", "EIO"}, {"times", 1}});
    });
    run();
    EXPECT_EQ(read(snapshotFile), snapshotText);
    simulator::clearFaults();

    write(snapshotFile, R"({"liveActions":[1,4,1,1],"liveModifiers":[0,0,0,0],"trCorner":4})");
    takeLog();
    EXPECT_EQ(run("safety-tick"),
              (Lines{"info: restoreHotCorners [safety-tick]: applying snapshot",
                     "info: restoreHotCorners [safety-tick]: snapshot applied + deleted"}));
    EXPECT_EQ(simulator::machine()["dock"]["cornerActions"], (json{1, 4, 1, 1}));
    EXPECT_EQ(simulator::machine()["preferences"]["com.apple.dock"],
              (json{{"wvous-tr-corner", 4}}));
}

TEST_F(RestoreHotCorners, SaysNothingAboutFilesThatItMayNotLookAt) {
    write(holdFile, "1");
    write(snapshotFile, snapshotText);
    simulator::addFault({{"call", "stat"}, {"result", "EACCES"}});
    EXPECT_FALSE(DockHotCornerOverride::isPending(state(snapshotFile)));
    EXPECT_EQ(run(), Lines{});
    EXPECT_EQ(callNames(), Lines{});
    simulator::clearFaults();
    EXPECT_EQ(run(), (Lines{holdReleased, applyingCorners, applied}));
    expectRestoredCorners();
}

}  // namespace
}  // namespace tolvaran::tests
