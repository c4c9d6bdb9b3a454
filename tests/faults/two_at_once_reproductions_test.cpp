// Two processes that change the same records: each test is one known conflict.
#include <gtest/gtest.h>

#include "helper/steps/steps.hpp"
#include "restore/tolvaran_restore.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/other_process.hpp"
#include "tests/support/simulated_process.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

const json userCorners{5, 1, 1, 13};

json suppressedMac() {
    return {{"preferences",
             {{"com.apple.dock",
               {{"wvous-tl-corner", 1},
                {"wvous-tr-corner", 1},
                {"wvous-bl-corner", 1},
                {"wvous-br-corner", 1}}}}},
            {"dock", {{"cornerActions", {1, 1, 1, 1}}, {"cornerModifiers", {0, 0, 0, 0}}}}};
}

const char* const cornersOfTheUser =
    R"({"brCorner":13,"liveActions":[5,1,1,13],"liveModifiers":[0,0,0,0],"tlCorner":5})";

/// Has another process do `work` during the first call of the function.
void duringFirst(const std::string& function, const std::function<void()>& work) {
    simulator::onCall(function, [=, done = std::make_shared<bool>(false)] {
        if (!std::exchange(*done, true)) {
            inAnotherProcess(work);
        }
    });
}

TEST(TwoAtOnce, ANewSuppressionDuringARestoreCanBeUndone) {
    const HelperProcess process(suppressedMac());
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

/// A store of several entries, of whatever kind.
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

TEST(TwoAtOnce, AHotCornerRestoreThatRanOutOfMemoryStartsFromTheFileNextTime) {
    const HelperProcess process(suppressedMac());
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

}  // namespace
}  // namespace tolvaran::tests
