#include "helper/steps/steps.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "restore/dock/dock_hot_corner_override.hpp"
#include "restore/dock/screen_saver_hot_corner_hold.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

const std::string holdFile = "hot-corner-screen-saver-hold";
const std::string snapshotFile = "hot-corners-snapshot.json";
const std::string snapshotText =
    R"({"blCorner":3,"liveActions":[5,2,3,13],"liveModifiers":[0,0,0,0],"tlCorner":5})";

const std::string holdReleased = "info: restoreHotCorners [cold-start]: screen saver hold released";
const std::string applying = "info: restoreHotCorners [cold-start]: applying snapshot";
const std::string applied = "info: restoreHotCorners [cold-start]: snapshot applied + deleted";

/// A Mac whose corners are suppressed.
json suppressedMac() {
    return {{"preferences",
             {{"com.apple.dock",
               {{"wvous-tl-corner", 1},
                {"wvous-tr-corner", 1},
                {"wvous-bl-corner", 1},
                {"wvous-br-corner", 1}}}}},
            {"dock", {{"cornerActions", {1, 1, 1, 1}}}}};
}

void expectRestoredCorners() {
    EXPECT_EQ(simulator::machine()["preferences"]["com.apple.dock"],
              (json{{"wvous-tl-corner", 5}, {"wvous-bl-corner", 3}}));
    EXPECT_EQ(simulator::machine()["dock"]["cornerActions"], (json{5, 2, 3, 13}));
}

std::vector<std::string> postedNames() {
    std::vector<std::string> names;
    for (const json& notification : simulator::notifications()) {
        names.push_back(notification["name"]);
    }
    return names;
}

TEST(RestoreHotCorners, WithoutFilesDoesNothing) {
    HelperProcess process(suppressedMac());
    restoreHotCorners("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(), Lines{});
    EXPECT_EQ(callNames(), Lines{});
}

TEST(RestoreHotCorners, ReleasesTheHoldBeforeItAppliesTheSnapshot) {
    HelperProcess process(suppressedMac());
    writeFile(process.state(holdFile), "1");
    writeFile(process.state(snapshotFile), snapshotText);
    restoreHotCorners("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(), (Lines{holdReleased, applying, applied}));
    EXPECT_EQ(postedNames(), (Lines{"com.apple.screensaver.action", "com.apple.dock.prefchanged",
                                    "com.apple.dock.hotcorner.updated"}));
    EXPECT_EQ(callNames().front(), "CFNotificationCenterPostNotification");
    expectRestoredCorners();
    EXPECT_FALSE(readFile(process.state(holdFile)).has_value());
    EXPECT_FALSE(readFile(process.state(snapshotFile)).has_value());

    restoreHotCorners("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(), Lines{});
    EXPECT_EQ(postedNames().size(), 3U);
}

TEST(RestoreHotCorners, ReleasesAHoldAlone) {
    HelperProcess process(suppressedMac());
    writeFile(process.state(holdFile), "");
    restoreHotCorners("proc-exit", 812);
    EXPECT_EQ(process.takeLog(),
              Lines{"info: restoreHotCorners [proc-exit]: screen saver hold released"});
    EXPECT_EQ(callNames(), Lines{"CFNotificationCenterPostNotification"});
}

// The hold is released on every run for as long as its marker cannot be removed, and the snapshot
// is not held up by it.
TEST(RestoreHotCorners, AppliesTheSnapshotAlsoWhenTheHoldsMarkerStays) {
    HelperProcess process(suppressedMac());
    std::filesystem::create_directories(process.state(holdFile));
    writeFile(process.state(snapshotFile), snapshotText);
    restoreHotCorners("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(),
              (Lines{"warn: screen-saver hot-corner hold marker could not be removed (remove " +
                         process.state(holdFile) + ": Is a directory)",
                     applying, applied}));
    EXPECT_EQ(postedNames().front(), "com.apple.screensaver.action");
    expectRestoredCorners();
    restoreHotCorners("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog().size(), 1U);
    EXPECT_EQ(postedNames().back(), "com.apple.screensaver.action");
}

TEST(RestoreHotCorners, KeepsASnapshotThatItCannotRestore) {
    HelperProcess process(suppressedMac());
    writeFile(process.state(snapshotFile), snapshotText);
    simulator::addFault({{"call", "CFPreferencesAppSynchronize"}, {"result", false}});
    const Lines failing = {applying,
                           "warn: hot-corner restoreIfPending: CFPreferencesAppSynchronize failed; "
                           "snapshot kept at " +
                               process.state(snapshotFile) + " for retry"};
    restoreHotCorners("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(), failing);
    restoreHotCorners("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(), failing);
    EXPECT_EQ(readFile(process.state(snapshotFile)), snapshotText);
    simulator::clearFaults();
    restoreHotCorners("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(), (Lines{applying, applied}));
    expectRestoredCorners();
}

TEST(RestoreHotCorners, KeepsWhatItCannotRead) {
    HelperProcess process(suppressedMac());
    writeFile(process.state(snapshotFile), "{");
    restoreHotCorners("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(),
              (Lines{applying, "warn: hot-corner snapshot at " + process.state(snapshotFile) +
                                   " failed to decode: invalid JSON at byte 2"}));
    EXPECT_EQ(readFile(process.state(snapshotFile)), "{");
    EXPECT_EQ(callNames(), Lines{});
}

TEST(RestoreHotCorners, SaysNoMoreAboutADirectoryInTheSnapshotsPlace) {
    HelperProcess process(suppressedMac());
    std::filesystem::create_directories(process.state(snapshotFile));
    restoreHotCorners("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(), Lines{applying});
    EXPECT_EQ(callNames(), Lines{});
}

TEST(RestoreHotCorners, LeavesBothToARunningTolvaran) {
    json mac = suppressedMac();
    mac["applications"] = json::array({{{"bundle", "com.morvelli.Tolvaran"}, {"pid", 812}}});
    HelperProcess process(mac);
    writeFile(process.state(holdFile), "1");
    writeFile(process.state(snapshotFile), snapshotText);
    restoreHotCorners("safety-tick", std::nullopt);
    EXPECT_EQ(process.takeLog(), Lines{"debug: restoreHotCorners [safety-tick]: Tolvaran running "
                                       "(pid 812), skipping"});
    EXPECT_EQ(callNames(), Lines{});
    restoreHotCorners("proc-exit", 812);
    EXPECT_EQ(process.takeLog().size(), 3U) << "the instance that has exited does not count";
    expectRestoredCorners();
}

TEST(RestoreHotCorners, TriesAgainFromTheFileThatMayBeNewerByThen) {
    HelperProcess process(suppressedMac());
    writeFile(process.state(snapshotFile), snapshotText);
    simulator::addFault({{"call", "CFPreferencesAppSynchronize"}, {"result", false}, {"times", 1}});
    restoreHotCorners("cold-start", std::nullopt);
    EXPECT_TRUE(readFile(process.state(snapshotFile)).has_value());

    // Tolvaran ran and crashed meanwhile; the user's corners are others now.
    writeFile(process.state(snapshotFile),
              R"({"liveActions":[1,4,1,1],"liveModifiers":[0,0,0,0],"trCorner":4})");
    restoreHotCorners("safety-tick", std::nullopt);
    EXPECT_EQ(simulator::machine()["dock"]["cornerActions"], (json{1, 4, 1, 1}));
    EXPECT_FALSE(readFile(process.state(snapshotFile)).has_value());
}

TEST(RestoreHotCorners, TriesAgainFromTheNewerFileAlsoWhenTheOldOneCouldNotBeReadAnyMore) {
    HelperProcess process(suppressedMac());
    writeFile(process.state(snapshotFile), snapshotText);
    simulator::addFault({{"call", "CFPreferencesAppSynchronize"}, {"result", false}});
    simulator::onCall("CFPreferencesAppSynchronize", [] {
        simulator::addFault({{"call", "read"}, {"result", "EIO"}, {"times", 1}});
    });
    restoreHotCorners("cold-start", std::nullopt);
    EXPECT_EQ(readFile(process.state(snapshotFile)), snapshotText);
    simulator::clearFaults();

    writeFile(process.state(snapshotFile),
              R"({"liveActions":[1,4,1,1],"liveModifiers":[0,0,0,0],"trCorner":4})");
    process.takeLog();
    restoreHotCorners("safety-tick", std::nullopt);
    EXPECT_EQ(process.takeLog(),
              (Lines{"info: restoreHotCorners [safety-tick]: applying snapshot",
                     "info: restoreHotCorners [safety-tick]: snapshot applied + deleted"}));
    EXPECT_EQ(simulator::machine()["dock"]["cornerActions"], (json{1, 4, 1, 1}));
    EXPECT_EQ(simulator::machine()["preferences"]["com.apple.dock"],
              (json{{"wvous-tr-corner", 4}}));
}

TEST(RestoreHotCorners, SaysNothingOfFilesThatItMayNotLookAt) {
    HelperProcess process(suppressedMac());
    writeFile(process.state(holdFile), "1");
    writeFile(process.state(snapshotFile), snapshotText);
    simulator::addFault({{"call", "stat"}, {"result", "EACCES"}});
    EXPECT_FALSE(DockHotCornerOverride::isPending(process.state(snapshotFile)));
    restoreHotCorners("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(), Lines{});
    EXPECT_EQ(callNames(), Lines{});
    simulator::clearFaults();
    restoreHotCorners("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(), (Lines{holdReleased, applying, applied}));
    expectRestoredCorners();
}

}  // namespace
}  // namespace tolvaran::tests
