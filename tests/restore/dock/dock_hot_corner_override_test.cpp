// What the sequences of dock_hot_corner_override_walk_test.cpp do not reach: changes by the user
// and to the file, and what is missing or in the way. The first lease and the last serve as an
// example.
#include "restore/dock/dock_hot_corner_override.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "restore/dock/hot_corner_lease_state.hpp"
#include "simulator/host/file_calls.hpp"
#include "simulator/simulator.hpp"
#include "tests/restore/dock/hot_corner_mac.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using Outcome = DockHotCornerLeaseExitOutcome;
using enum DockHotCornerLeaseOwner;

const std::string syncError = "could not sync com.apple.dock prefs after writing wvous-*-corner";

class HotCornerLeases : public ProcessTest {
  protected:
    HotCornerLeases() { start(usersMac()); }

    /// The text of the error that entering throws; empty if it succeeds.
    std::string enteringError(DockHotCornerLeaseOwner owner) {
        try {
            enter(owner);
            return "";
        } catch (const DockHotCornerOverride::OverrideError& error) {
            return error.what();
        }
    }

    DockHotCornerSnapshot enter(DockHotCornerLeaseOwner owner) {
        return DockHotCornerOverride::enter(owner, path_, theDock);
    }
    Outcome exit(DockHotCornerLeaseOwner owner) {
        return DockHotCornerOverride::exit(owner, path_, theDock);
    }
    bool restoreIfPending() { return DockHotCornerOverride::restoreIfPending(path_, theDock); }

    /// What is logged when a pending snapshot keeps the first lease from being taken.
    std::string refusal() const {
        return "warn: hot-corner enter: pending snapshot at " + path_ +
               " could not be restored (corrupt file or Dock sync failed); refusing to overwrite "
               "with fresh snapshot";
    }

    void expectUsersCorners() {
        EXPECT_EQ(preferences(), usersPreferences());
        EXPECT_EQ(liveCorners(), usersCorners);
    }
    void expectSuppressedCorners() {
        EXPECT_EQ(preferences(), suppressedPreferences());
        EXPECT_EQ(liveCorners(), suppressedCorners);
    }

    const std::string path_ = state("hot-corners-snapshot.json");
};

// --- The first lease and the last.

TEST_F(HotCornerLeases, TheFirstSavesAndSuppressesAndTheLastRestores) {
    EXPECT_FALSE(DockHotCornerOverride::isActive());
    EXPECT_EQ(enter(customHotCorners), usersSnapshot());
    EXPECT_EQ(takeCalls(), Lines{readsCorners} + suppresses());
    EXPECT_EQ(readFile(path_), usersSnapshotText);
    EXPECT_TRUE(DockHotCornerOverride::isActive());
    EXPECT_TRUE(DockHotCornerOverride::isHeld(customHotCorners));
    EXPECT_FALSE(DockHotCornerOverride::isHeld(gameMode));
    EXPECT_TRUE(DockHotCornerOverride::hasRecoveryState(path_));
    expectSuppressedCorners();

    EXPECT_EQ(exit(customHotCorners), Outcome::restored);
    EXPECT_EQ(takeCalls(), restores());
    EXPECT_FALSE(DockHotCornerOverride::isActive());
    EXPECT_FALSE(DockHotCornerOverride::hasRecoveryState(path_));
    EXPECT_EQ(DockHotCornerOverride::recoverableSnapshot(path_), std::nullopt);
    expectUsersCorners();
    EXPECT_EQ(files(), Lines{"State/"});
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(HotCornerLeases, CornersThatWereNeverSetAreRestoredByRemovingEveryKey) {
    start({{"preferences", {{theDock, {{"orientation", "left"}}}}}});
    enter(gameMode);
    EXPECT_EQ(readFile(path_), R"({"liveActions":[1,1,1,1],"liveModifiers":[0,0,0,0]})");
    EXPECT_EQ(exit(gameMode), Outcome::restored);
    EXPECT_EQ(preferences(), json({{"orientation", "left"}}));
}

TEST_F(HotCornerLeases, NothingChangesWhenAPreferenceDoesNotFit) {
    simulator::set({{"preferences", {{theDock, {{"wvous-tr-corner", std::int64_t{1} << 40}}}}}});
    EXPECT_EQ(enteringError(gameMode),
              "could not persist hot-corner snapshot: encode: hot-corner snapshot contains a value "
              "outside the Int32 range");
    EXPECT_EQ(takeCalls(), Lines{readsCorners});
    EXPECT_FALSE(DockHotCornerOverride::isActive());
    EXPECT_EQ(files(), Lines{});
}

TEST_F(HotCornerLeases, AFirstLeaseThatFailsIsRolledBack) {
    simulator::addFault({{"call", "CFPreferencesAppSynchronize"}, {"result", false}, {"times", 1}});
    EXPECT_EQ(enteringError(gameMode), syncError);
    EXPECT_EQ(takeCalls(),
              Lines{readsCorners} + writesDisabledPreferences() + announces(false) + restores());
    expectUsersCorners();
    EXPECT_FALSE(DockHotCornerOverride::isActive());
    EXPECT_FALSE(DockHotCornerOverride::hasRecoveryState(path_));
    EXPECT_EQ(files(), Lines{"State/"});
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(HotCornerLeases, AFirstLeaseThatRunsOutOfMemoryIsRolledBack) {
    simulator::addFault({{"call", "CFNumberCreate"}, {"result", nullptr}, {"times", 1}});
    EXPECT_THROW(enter(gameMode), std::bad_alloc);
    expectUsersCorners();
    EXPECT_FALSE(DockHotCornerOverride::isActive());
    EXPECT_FALSE(DockHotCornerOverride::hasRecoveryState(path_));
    EXPECT_EQ(files(), Lines{"State/"});
}

TEST_F(HotCornerLeases, WithoutTheNativeFunctionsAFirstLeaseWritesAndRollsBackThePreferences) {
    json mac = usersMac();
    mac["unavailable"] = {"CoreDockSetExposeCornerActionWithModifier"};
    start(mac);
    EXPECT_EQ(enteringError(gameMode), syncError);
    EXPECT_EQ(takeCalls(), Lines{readsCorners} + writesDisabledPreferences() + announces(true) +
                               writesUsersPreferences() + announces(true));
    expectUsersCorners();
    EXPECT_FALSE(DockHotCornerOverride::isActive());
    EXPECT_EQ(readFile(path_), usersSnapshotText);
    EXPECT_EQ(takeLog(),
              (Lines{"warn: hot-corner disable failed because required CoreDock functions are "
                     "unavailable",
                     "warn: hot-corner restore found the CoreDock setter unavailable and restored "
                     "raw preferences only"}));
}

// --- A snapshot that is pending when the first lease is taken.

TEST_F(HotCornerLeases, TheFirstRefusesToReplaceACorruptSnapshot) {
    writeFile(path_, "{");
    EXPECT_EQ(enteringError(gameMode), syncError);
    EXPECT_EQ(takeCalls(), Lines{});
    EXPECT_EQ(readFile(path_), "{");
    EXPECT_EQ(takeLog(), (Lines{"warn: hot-corner snapshot at " + path_ +
                                    " failed to decode: invalid JSON at byte 2",
                                refusal()}));
}

TEST_F(HotCornerLeases, TheFirstRefusesADirectoryInTheSnapshotsPlace) {
    std::filesystem::create_directories(path_);
    EXPECT_EQ(enteringError(gameMode), syncError);
    EXPECT_EQ(takeCalls(), Lines{});
    EXPECT_EQ(takeLog(), Lines{refusal()});
}

TEST_F(HotCornerLeases, TheFirstIsTakenIfTheHelperRemovesThePendingSnapshotMeanwhile) {
    writeFile(path_, usersSnapshotText);
    bool isRemoved = false;
    simulator::onCall("CFPreferencesAppSynchronize",
                      [&] { isRemoved = isRemoved || std::filesystem::remove(path_); });
    EXPECT_EQ(enter(gameMode), usersSnapshot());
    EXPECT_TRUE(isRemoved);
    EXPECT_EQ(readFile(path_), usersSnapshotText);
    expectSuppressedCorners();
    EXPECT_EQ(takeLog(), Lines{});
}

// --- The same owner again.

TEST_F(HotCornerLeases, RenewingSuppressesAgainWhatTheUserHasSwitchedOn) {
    enter(gameMode);
    simulator::set({{"dock", {{"cornerActions", {1, 1, 1, 10}}}}});
    takeCalls();
    EXPECT_EQ(enter(gameMode), usersSnapshot());
    EXPECT_EQ(takeCalls(), Lines{readsCorners} + suppresses());
    expectSuppressedCorners();
    EXPECT_EQ(readFile(path_), usersSnapshotText);
}

TEST_F(HotCornerLeases, RenewingReplacesAFileThatIsNotTheSnapshot) {
    const std::string undecodable =
        "warn: hot-corner snapshot at " + path_ + " failed to decode: invalid JSON at byte ";
    const std::vector<std::pair<std::string, Lines>> contents = {{"", {undecodable + "1"}},
                                                                 {"{", {undecodable + "2"}},
                                                                 {"{}", {}},
                                                                 {R"({"tlCorner":1})", {}}};
    for (const auto& [content, warnings] : contents) {
        start(usersMac());
        std::filesystem::remove(path_);
        enter(gameMode);
        writeFile(path_, content);
        EXPECT_EQ(enter(gameMode), usersSnapshot());
        EXPECT_EQ(readFile(path_), usersSnapshotText) << content;
        EXPECT_EQ(takeLog(), warnings) << content;
    }
}

TEST_F(HotCornerLeases, RenewingLeavesAGoodFileAlone) {
    enter(gameMode);
    const std::string sameWithBlanks = " " + usersSnapshotText;
    writeFile(path_, sameWithBlanks);
    enter(gameMode);
    enter(customHotCorners);
    exit(gameMode);
    EXPECT_EQ(readFile(path_), sameWithBlanks);
}

TEST_F(HotCornerLeases, ASnapshotThatALeaseNeedsIsNotForgotten) {
    enter(gameMode);
    DockHotCornerOverride::forgetSnapshotInMemory();
    DockHotCornerOverride::deleteSnapshot(path_);
    EXPECT_TRUE(DockHotCornerOverride::hasRecoveryState(path_));
    EXPECT_EQ(enter(gameMode), usersSnapshot());
}

TEST_F(HotCornerLeases, ASnapshotInMemoryIsForgottenWithoutALease) {
    enter(gameMode);
    failCalls("CFPreferencesAppSynchronize", false);
    exit(gameMode);
    DockHotCornerOverride::deleteSnapshot(path_);
    EXPECT_TRUE(DockHotCornerOverride::hasRecoveryState(path_));
    DockHotCornerOverride::forgetSnapshotInMemory();
    EXPECT_FALSE(DockHotCornerOverride::hasRecoveryState(path_));
}

// --- Leases without any snapshot. No sequence of operations leads here, so the test puts the
// process into such a state itself.

TEST_F(HotCornerLeases, LeasesWithoutASnapshotCannotBeRenewedOrJoined) {
    DockHotCornerOverride::leaseState().owners = {"gameMode"};
    EXPECT_EQ(enteringError(gameMode),
              "could not persist hot-corner snapshot: active gameMode lease has no persisted "
              "snapshot");
    EXPECT_EQ(enteringError(displayTransition),
              "could not persist hot-corner snapshot: active hot-corner leases have no persisted "
              "snapshot");
    DockHotCornerOverride::leaseState().owners = {"displayTransition"};
    EXPECT_EQ(enteringError(displayTransition),
              "could not persist hot-corner snapshot: active displayTransition lease has no "
              "persisted snapshot");
    EXPECT_EQ(takeCalls(), Lines{});
    EXPECT_EQ(takeLog(), Lines{});
    EXPECT_EQ(files(), Lines{});
}

TEST_F(HotCornerLeases, LeasesWithoutASnapshotCannotBeUndone) {
    DockHotCornerOverride::leaseState().owners = {"customHotCorners", "gameMode"};
    EXPECT_EQ(exit(gameMode), Outcome::suppressionReassertFailed);
    EXPECT_EQ(takeLog(), Lines{"warn: hot-corner release found no recoverable snapshot while "
                               "other owners remain"});
    EXPECT_EQ(exit(customHotCorners), Outcome::snapshotUnavailable);
    EXPECT_EQ(takeLog(),
              Lines{"warn: hot-corner release found no recoverable snapshot for the final owner"});
    EXPECT_FALSE(DockHotCornerOverride::isActive());
    EXPECT_EQ(takeCalls(), Lines{});
}

TEST_F(HotCornerLeases, LeasesTakeTheirSnapshotFromTheFileIfMemoryHasNone) {
    DockHotCornerOverride::leaseState().owners = {"gameMode"};
    writeFile(path_, usersSnapshotText);
    EXPECT_EQ(enter(gameMode), usersSnapshot());
    std::filesystem::remove(path_);
    EXPECT_EQ(exit(gameMode), Outcome::restored);
    expectUsersCorners();
}

// --- Recovery.

TEST_F(HotCornerLeases, EnteringNeverOverwritesASnapshotThatItCannotSee) {
    writeFile(path_, usersSnapshotText);
    simulator::exposeToFaults(std::filesystem::path(path_).parent_path());
    failCalls("stat", "EIO");
    failCalls("open", "EIO");
    EXPECT_EQ(enteringError(gameMode), syncError);
    EXPECT_EQ(readFile(path_), usersSnapshotText);
}

TEST_F(HotCornerLeases, RecoveryRestoresWhatACrashHasLeft) {
    enter(gameMode);
    enter(customHotCorners);
    restart();
    takeCalls();
    EXPECT_TRUE(restoreIfPending());
    EXPECT_EQ(takeCalls(), restores());
    expectUsersCorners();
    EXPECT_EQ(files(), Lines{"State/"});
    EXPECT_FALSE(restoreIfPending());
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(HotCornerLeases, WhatIsInMemoryComesBeforeWhatIsOnDisk) {
    enter(gameMode);
    failCalls("CFPreferencesAppSynchronize", false);
    exit(gameMode);
    simulator::clearFaults();
    writeFile(path_, R"({"tlCorner":1,"trCorner":1,"blCorner":1,"brCorner":1})");
    EXPECT_EQ(DockHotCornerOverride::recoverableSnapshot(path_), usersSnapshot());
    EXPECT_TRUE(restoreIfPending());
    expectUsersCorners();
}

TEST_F(HotCornerLeases, WhatIsInMemoryGivesWayToWhatAnotherProcessSaves) {
    enter(gameMode);
    failCalls("CFPreferencesAppSynchronize", false);
    exit(gameMode);
    simulator::clearFaults();
    takeCalls();
    takeLog();
    std::filesystem::remove(path_);
    const std::string newer = R"({"tlCorner":1,"trCorner":1,"blCorner":1,"brCorner":1})";
    simulator::exposeToFaults(std::filesystem::path(path_).parent_path());
    simulator::onCall("mkostemp", [&] { writeFile(path_, newer); });
    EXPECT_FALSE(restoreIfPending());
    EXPECT_EQ(takeCalls(), Lines{});
    EXPECT_EQ(takeLog(),
              Lines{"warn: hot-corner restoreIfPending could not re-persist its recovery snapshot: "
                    "could not persist hot-corner snapshot: write " +
                    path_ + ": replace " + path_ + ": another process has changed it"});
    EXPECT_EQ(readFile(path_), newer);
    EXPECT_NE(DockHotCornerOverride::recoverableSnapshot(path_), usersSnapshot());
}

TEST_F(HotCornerLeases, RecoveryIgnoresWhatItCannotDecode) {
    writeFile(path_, R"({"liveActions":[1,1,1],"liveModifiers":[0,0,0]})");
    EXPECT_TRUE(DockHotCornerOverride::hasRecoveryState(path_));
    EXPECT_FALSE(restoreIfPending());
    EXPECT_EQ(takeLog(),
              Lines{"warn: hot-corner snapshot at " + path_ +
                    " failed to decode: \"liveActions\": live hot-corner actions and modifiers "
                    "must be paired four-element Int32 arrays"});
    EXPECT_EQ(takeCalls(), Lines{});
    EXPECT_TRUE(DockHotCornerOverride::isPending(path_));
}

// --- Other domains.

TEST_F(HotCornerLeases, InAForeignDomainOnlyPreferencesChange) {
    const std::string domain = "com.example.dock";
    simulator::set({{"preferences", {{domain, usersPreferences()}}}});
    const DockHotCornerSnapshot snapshot = DockHotCornerOverride::enter(gameMode, path_, domain);
    EXPECT_EQ(snapshot.liveActions, std::nullopt);
    EXPECT_EQ(takeCalls(), writesDisabledPreferences(domain) + announces(true, domain));
    EXPECT_EQ(preferences(domain), suppressedPreferences());
    expectUsersCorners();
    EXPECT_EQ(DockHotCornerOverride::exit(gameMode, path_, domain), Outcome::restored);
    EXPECT_EQ(takeCalls(), writesUsersPreferences(domain) + announces(true, domain));
    EXPECT_EQ(preferences(domain), usersPreferences());
}

}  // namespace
}  // namespace tolvaran::tests
