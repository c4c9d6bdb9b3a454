// Two processes that change the same records: each test is one known conflict.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "helper/helper.hpp"
#include "helper/steps/steps.hpp"
#include "platform/private_interfaces.hpp"
#include "restore/support/files.hpp"
#include "restore/tolvaran_restore.hpp"
#include "simulator/simulator.hpp"
#include "tests/faults/duet.hpp"
#include "tests/faults/main_application_parts.hpp"
#include "tests/faults/torture.hpp"
#include "tests/support/other_process.hpp"
#include "tests/support/simulated_process.hpp"
#include "tests/support/suppressed_corners.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

const json userCorners{5, 1, 1, 13};

const char* const cornersOfTheUser =
    R"({"brCorner":13,"liveActions":[5,1,1,13],"liveModifiers":[0,0,0,0],"tlCorner":5})";

/// Performs `work` as another process during the first call of the function.
void duringFirst(const std::string& function, const std::function<void()>& work) {
    simulator::onCall(function, [=, done = std::make_shared<bool>(false)] {
        if (!std::exchange(*done, true)) {
            inAnotherProcess(work);
        }
    });
}

TEST(TwoAtOnce, ANewSuppressionDuringARestoreCanBeUndone) {
    const HelperProcess process(macWithSuppressedCorners());
    const std::string path = DockHotCornerOverride::defaultSnapshotPath();
    writeFile(path, cornersOfTheUser);
    duringFirst("CFPreferencesAppSynchronize", [&] {
        DockHotCornerOverride::enter(DockHotCornerLeaseOwner::gameMode, path,
                                     DockHotCornerOverride::dockAppID);
    });
    DockHotCornerOverride::restoreIfPending(path, DockHotCornerOverride::dockAppID);
    simulator::perform({{"wake", true}});
    const auto kept = DockHotCornerOverride::loadSnapshot(path);
    ASSERT_TRUE(kept.has_value()) << "the new suppression's snapshot is gone";
    EXPECT_EQ(kept->effectiveActions(), (std::vector<std::int64_t>{5, 1, 1, 13}));
    restoreHotCorners("safety-tick", std::nullopt);
    EXPECT_EQ(simulator::machine()["dock"]["cornerActions"], userCorners);
    EXPECT_EQ(readFile(path), std::nullopt);
}

/// Performs `work` as the main application, and lets the helper restore the corners, going by the
/// records from before, after each of its calls in turn.
void helperRestoresCornersDuring(const std::function<void(const std::string& path)>& work) {
    for (std::size_t k = 0;; ++k) {
        SCOPED_TRACE("after call " + std::to_string(k));
        const HelperProcess process(macWithSuppressedCorners());
        const std::string path = DockHotCornerOverride::defaultSnapshotPath();
        writeFile(path, cornersOfTheUser);
        const files::Recovery begun(TolvaranPaths::stateDir(), files::Recovery::Scope::directory);
        const CallCounts calls =
            tests::play({.helper = [] { restoreHotCorners("safety-tick", std::nullopt); },
                         .mainApplication = [&] { work(path); }},
                        {{.actor = Actor::mainApplication, .calls = k}, {.actor = Actor::helper}});
        if (calls.mainApplication <= k) {
            EXPECT_GT(k, 10U);
            return;
        }
    }
}

TEST(TwoAtOnce, ASuppressionBeginsWhileTheHelperIsUndoingTheLastOne) {
    helperRestoresCornersDuring([](const std::string& path) {
        try {
            DockHotCornerOverride::enter(DockHotCornerLeaseOwner::gameMode, path,
                                         DockHotCornerOverride::dockAppID);
        } catch (const DockHotCornerOverride::OverrideError& error) {
            ADD_FAILURE() << error.what();
        }
        const auto saved = DockHotCornerOverride::loadSnapshot(path);
        ASSERT_TRUE(saved.has_value());
        EXPECT_EQ(saved->effectiveActions(), (std::vector<std::int64_t>{5, 1, 1, 13}));
    });
}

TEST(TwoAtOnce, ASnapshotThatTheHelperHasRestoredIsForgotten) {
    helperRestoresCornersDuring([](const std::string& path) {
        DockHotCornerOverride::restoreIfPending(path, DockHotCornerOverride::dockAppID);
        EXPECT_FALSE(DockHotCornerOverride::recoverableSnapshot(path).has_value());
    });
}

TEST(TwoAtOnce, AMenuBarRecordThatIsWrittenDuringItsRestoreIsKept) {
    HelperProcess process(json::object());
    const std::string path = MenuBarAutohide::defaultSnapshotPath();
    writeFile(path, R"({"hideMenuBar":0})");
    duringFirst("CFPreferencesSynchronize", [&] {
        MenuBarAutohide::saveSnapshot({.hideMenuBar = 0, .visibleInFullscreen = 1}, path);
    });
    restoreMenuBar("safety-tick", std::nullopt);
    EXPECT_EQ(readFile(path), R"({"hideMenuBar":0,"visibleInFullscreen":1})");
    restoreMenuBar("safety-tick", std::nullopt);
    EXPECT_EQ(readFile(path), std::nullopt);
    EXPECT_EQ(simulator::machine()["preferences"]["global"]["AppleMenuBarVisibleInFullscreen"],
              true);
}

/// A store that holds several entries.
struct Store {
    std::string name;
    std::function<void(const std::string& entry, const std::string& path)> add;
    std::function<std::set<std::string>(const std::string& path)> entries;
};

std::vector<Store> storesOfSeveralEntries() {
    const DisplayModeSpec mode{.width = 800, .height = 600, .scaled = false, .hz = 60};
    const MarkedLayout layout{{.uuid = "display"}};
    const auto asSet = [](const std::vector<std::string>& list) {
        return std::set<std::string>(list.begin(), list.end());
    };
    return {
        {.name = "saved modes",
         .add =
             [=](const auto& entry, const auto& path) {
                 ResolutionOriginalsStore::recordIfAbsent(entry, mode, path);
             },
         .entries =
             [](const auto& path) {
                 std::set<std::string> keys;
                 for (const auto& [key, spec] : ResolutionOriginalsStore::pendingEntries(path)) {
                     keys.insert(key);
                 }
                 return keys;
             }},
        {.name = "saved arrangements",
         .add = [=](const auto& entry,
                    const auto& path) { OriginalsStore::saveArrangement(entry, layout, path); },
         .entries =
             [](const auto& path) {
                 std::set<std::string> keys;
                 for (const auto& [key, saved] : OriginalsStore::load(path).arrangements) {
                     keys.insert(key);
                 }
                 return keys;
             }},
        {.name = "separated sets",
         .add = SeparatedSetsStore::markSeparated,
         .entries = [=](const auto& path) { return asSet(SeparatedSetsStore::signatures(path)); }},
        {.name = "side-pinned sets",
         .add =
             [=](const auto& entry, const auto& path) {
                 SidePinnedSetsStore::premarkSidePinned(entry, layout, path);
             },
         .entries = [=](const auto& path) { return asSet(SidePinnedSetsStore::signatures(path)); }},
        {.name = "native-mirrored sets",
         .add =
             [=](const auto& entry, const auto& path) {
                 NativeMirroredSetsStore::markNativeMirrored(entry, layout, path);
             },
         .entries =
             [=](const auto& path) { return asSet(NativeMirroredSetsStore::signatures(path)); }},
    };
}

TEST(TwoAtOnce, NoEntryOfAStoreIsLost) {
    for (const Store& store : storesOfSeveralEntries()) {
        for (std::size_t k = 0;; ++k) {
            SCOPED_TRACE(store.name + ", during call " + std::to_string(k));
            const HelperProcess process(json::object());
            const std::string path = process.state("store");
            store.add("before", path);
            const auto count = duringCall(k, [&] { store.add("b", path); });
            store.add("a", path);
            simulator::decideCalls(nullptr);
            if (*count <= k) {
                break;
            }
            EXPECT_EQ(store.entries(path), (std::set<std::string>{"a", "b", "before"}));
        }
    }
}

TEST(TwoAtOnce, AModeThatWasRecordedSinceTheRunBeganIsNotPutBack) {
    const json modes = {{{"number", 1}, {"flags", 1}, {"width", 1512}, {"height", 982}},
                        {{"number", 2}, {"flags", 1}, {"width", 1024}, {"height", 768}}};
    const HelperProcess process({{"displays",
                                  {{{"id", 1},
                                    {"vendor", 1},
                                    {"model", 1},
                                    {"frame", {0, 0, 1512, 982}},
                                    {"modes", modes},
                                    {"mode", 1}}}}});
    const std::string path = ResolutionOriginalsStore::defaultPath();
    const DisplayModeSpec mode{.width = 1, .height = 1, .scaled = false, .hz = 0};
    ResolutionOriginalsStore::recordIfAbsent("a display that is away", mode, path);
    duringFirst("CGGetActiveDisplayList", [&] {
        ResolutionOriginalsStore::recordIfAbsent(displayUUID(1),
                                                 DisplayModeControl::currentMode(1)->spec(), path);
        DisplayModeControl::apply(2, 1);
    });
    restoreResolutions("safety-tick", std::nullopt);
    EXPECT_EQ(DisplayModeControl::currentModeNumber(1), 2);
    EXPECT_TRUE(ResolutionOriginalsStore::pendingEntries(path).contains(displayUUID(1)));
    restoreResolutions("safety-tick", std::nullopt);
    EXPECT_EQ(DisplayModeControl::currentModeNumber(1), 1);
}

TEST(TwoAtOnce, ALayoutThatWasMarkedSinceTheRunBeganIsNotRepaired) {
    for (const std::string_view name : {"separated", "pinned", "mirrored"}) {
        SCOPED_TRACE(name);
        const auto found = std::ranges::find(parts(), name, &Part::name);
        ASSERT_NE(found, parts().end());
        const Part& part = *found;
        const HelperProcess process(usersMac());
        const json before = settings();
        duringFirst("CGGetActiveDisplayList", part.take);
        const json taken = [&] {
            const files::Recovery run(TolvaranPaths::stateDir(), files::Recovery::Scope::directory);
            checkInvariant("safety-tick", std::nullopt);
            return settings();
        }();
        EXPECT_NE(taken, before);
        checkInvariant("safety-tick", std::nullopt);
        EXPECT_EQ(json::diff(before, settings()), json::array());
    }
}

TEST(TwoAtOnce, ASnapshotThatGoesDuringAFailingRestoreIsForgotten) {
    const HelperProcess process(macWithSuppressedCorners());
    const std::string path = DockHotCornerOverride::defaultSnapshotPath();
    writeFile(path, cornersOfTheUser);
    simulator::onCall("CFPreferencesAppSynchronize", [&] { std::filesystem::remove(path); });
    failCalls("CFPreferencesAppSynchronize", false);
    restoreHotCorners("cold-start", std::nullopt);
    simulator::clearFaults();
    simulator::onCall("CFPreferencesAppSynchronize", [] {});
    writeFile(path, R"({"liveActions":[1,4,1,1],"liveModifiers":[0,0,0,0],"trCorner":4})");
    restoreHotCorners("safety-tick", std::nullopt);
    EXPECT_EQ(simulator::machine()["dock"]["cornerActions"], (json{1, 4, 1, 1}));
}

TEST(TwoAtOnce, AHotCornerRestoreThatRanOutOfMemoryStartsFromTheFileNextTime) {
    const HelperProcess process(macWithSuppressedCorners());
    const std::string path = DockHotCornerOverride::defaultSnapshotPath();
    writeFile(path, cornersOfTheUser);
    simulator::onCall("CFPreferencesAppSynchronize", [done = std::make_shared<bool>(false)] {
        if (!std::exchange(*done, true)) {
            throw std::bad_alloc();
        }
    });
    EXPECT_THROW(restoreHotCorners("cold-start", std::nullopt), std::bad_alloc);
    writeFile(path, R"({"liveActions":[1,4,1,1],"liveModifiers":[0,0,0,0],"trCorner":4})");
    restoreHotCorners("safety-tick", std::nullopt);
    EXPECT_EQ(simulator::machine()["dock"]["cornerActions"], (json{1, 4, 1, 1}));
}

/// A main application that starts, hides the Dock and stays.
void startAndHideDock() {
    simulator::perform({{"launch", {{"bundle", "com.morvelli.Tolvaran"}, {"pid", 812}}}});
    inAnotherProcess([] {
        DockAutoHideOverride::markPending(false, DockAutoHideOverride::defaultSnapshotPath());
        CoreDockSetAutoHideEnabled(1);
    });
}

// The list of running applications stays as it is until both runs have ended.
TEST(TwoAtOnce, ARunThatFollowsAnotherAtOnceLeavesAloneWhatWasWrittenDuringIt) {
    const HelperProcess process({{"dock", {{"autoHide", false}}}});
    const auto helper = Helper::make();
    helper->start();
    simulator::advance(1);
    reconfigurationCallback(1, 0, nullptr);
    reconfigurationCallback(1, 0, nullptr);
    duringFirst("CGAssociateMouseAndMouseCursorPosition", startAndHideDock);
    simulator::advance(0);
    EXPECT_EQ(simulator::machine()["dock"]["autoHide"], true);
    EXPECT_TRUE(DockAutoHideOverride::isPending(DockAutoHideOverride::defaultSnapshotPath()));
    simulator::perform({{"exit", 812}});
    simulator::advance(1);
    EXPECT_EQ(simulator::machine()["dock"]["autoHide"], false);
    EXPECT_FALSE(DockAutoHideOverride::isPending(DockAutoHideOverride::defaultSnapshotPath()));
}

/// The displays with a recorded mode in the file, one letter each.
std::string recordedModes(const std::string& path) {
    std::string displays;
    for (const auto& [display, spec] : ResolutionOriginalsStore::pendingEntries(path)) {
        displays += display;
    }
    return displays;
}

/// Records the modes of two displays, one after the other.
void recordTwoModes(const std::string& path) {
    const DisplayModeSpec mode{.width = 800, .height = 600, .scaled = false, .hz = 60};
    ResolutionOriginalsStore::recordIfAbsent("a", mode, path);
    ResolutionOriginalsStore::recordIfAbsent("b", mode, path);
}

class ARemovalBesideTwoWrites : public testing::TestWithParam<bool> {
  protected:
    /// The helper makes `j` calls, the main application `k`, the helper one more; then each makes
    /// the rest, unless the helper is killed after that one.
    CallCounts check(std::size_t j, std::size_t k) const {
        const HelperProcess process;
        const std::string path = process.state("modes");
        const DisplayModeSpec mode{.width = 1, .height = 1, .scaled = false, .hz = 0};
        ResolutionOriginalsStore::recordIfAbsent("x", mode, path);
        const files::Recovery begun(TolvaranPaths::stateDir(), files::Recovery::Scope::directory);
        const CallCounts calls =
            tests::play({.helper = [&] { files::removeIfPossible(path); },
                         .mainApplication = [&] { recordTwoModes(path); }},
                        {{.actor = Actor::helper, .calls = j},
                         {.actor = Actor::mainApplication, .calls = k},
                         {.actor = Actor::helper, .calls = 1, .endsKilled = GetParam()},
                         {.actor = Actor::mainApplication}});
        files::removeAbandonedFiles(TolvaranPaths::stateDir());
        const std::string recorded = recordedModes(path);
        EXPECT_TRUE(recorded == "ab" || recorded == "abx") << recorded;
        EXPECT_EQ(filesBelow(TolvaranPaths::stateDir()), Lines{"modes"});
        return calls;
    }
};

TEST_P(ARemovalBesideTwoWrites, LosesNeither) {
    const CallCounts whole = check(0, 0);
    const std::size_t pairs = whole.helper * whole.mainApplication;
    ASSERT_GT(pairs, 100U);
    for (std::size_t pair = 0; pair < pairs; pair += wideStride(pairs, 200)) {
        const std::size_t j = pair % whole.helper;
        const std::size_t k = pair / whole.helper;
        SCOPED_TRACE(std::to_string(j) + " calls of the helper, " + std::to_string(k) +
                     " of the main application");
        check(j, k);
    }
}

INSTANTIATE_TEST_SUITE_P(Helper, ARemovalBesideTwoWrites, testing::Bool(),
                         [](const auto& isKilled) {
                             return isKilled.param ? "IsKilled" : "GoesOn";
                         });

TEST(TwoAtOnce, AWriterThatHasLookedDoesNotReviveARemovedRecord) {
    const DisplayModeSpec mode{.width = 800, .height = 600, .scaled = false, .hz = 60};
    for (std::size_t k = 0, end = 1; k < end; k += effort() == Effort::all ? 1 : 2) {
        for (std::size_t j = 1; j < 6; ++j) {
            SCOPED_TRACE(std::to_string(k) + " calls of the writer, " + std::to_string(j) +
                         " of the removal");
            const HelperProcess process;
            const std::string path = process.state("modes");
            ResolutionOriginalsStore::recordIfAbsent("x", mode, path);
            const CallCounts calls = tests::play(
                {.helper = [&] { files::removeIfPossible(path); },
                 .mainApplication =
                     [&] { ResolutionOriginalsStore::recordIfAbsent("a", mode, path); }},
                {{.actor = Actor::mainApplication, .calls = k},
                 {.actor = Actor::helper, .calls = j},
                 {.actor = Actor::mainApplication}});
            end = std::max(end, calls.mainApplication);
            const std::string recorded = recordedModes(path);
            // Before the removal has begun, the writer's whole change may be what is removed.
            EXPECT_TRUE(recorded == "a" || recorded == "") << recorded;
        }
    }
}

}  // namespace
}  // namespace tolvaran::tests
