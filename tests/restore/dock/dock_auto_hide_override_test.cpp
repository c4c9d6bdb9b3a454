#include "restore/dock/dock_auto_hide_override.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

std::string gets(bool value) {
    return callLine("CoreDockGetAutoHideEnabled", json::array(), value);
}

std::string setsTo(bool value) {
    return callLine("CoreDockSetAutoHideEnabled", {value});
}

class DockAutoHide : public ProcessTest {
  protected:
    void dockHides(bool autoHide) { start({{"dock", {{"autoHide", autoHide}}}}); }
    bool dockHides() const { return simulator::machine()["dock"]["autoHide"]; }

    const std::string marker_ = state("dock-autohide-pending.json");
};

TEST_F(DockAutoHide, ForcesTheDockBackToTheRecordedValueUnlessItShowsThat) {
    const std::string forced = "info: dock auto-hide restoreIfPending: forced back to ";
    struct Row {
        bool before;
        bool recorded;
        Lines calls;
        Lines log;
    };
    for (const Row& row :
         {Row{false, true, {gets(false), setsTo(true)}, {forced + "true"}},
          Row{true, false, {gets(true), setsTo(false)}, {forced + "false"}},
          Row{true, true, {gets(true)}, {}}, Row{false, false, {gets(false)}, {}}}) {
        SCOPED_TRACE(testing::PrintToString(row.calls));
        dockHides(row.before);
        writeFile(marker_, json{{"version", 1}, {"restoreTo", row.recorded}}.dump());
        EXPECT_EQ(DockAutoHideOverride::restoreIfPending(marker_), row.before != row.recorded);
        EXPECT_EQ(dockHides(), row.recorded);
        EXPECT_EQ(takeCalls(), row.calls);
        EXPECT_EQ(takeLog(), row.log);
        EXPECT_EQ(files(), Lines{"State/"});
    }
}

TEST_F(DockAutoHide, WithoutAMarkerDoesNothing) {
    dockHides(false);
    EXPECT_FALSE(DockAutoHideOverride::isPending(marker_));
    EXPECT_EQ(DockAutoHideOverride::pendingRestoreValue(marker_), std::nullopt);
    EXPECT_FALSE(DockAutoHideOverride::restoreIfPending(marker_));
    DockAutoHideOverride::clearPending(marker_);
    EXPECT_EQ(takeCalls(), Lines{});
    EXPECT_EQ(takeLog(), Lines{});
    EXPECT_EQ(files(), Lines{});
}

// The system writes its own markers and nobody repairs them by hand, so one that cannot be used is
// thrown away rather than kept in the way of later ones.
TEST_F(DockAutoHide, RemovesAMarkerThatCannotBeUsed) {
    const std::string good = R"({"version":1,"restoreTo":true})";
    std::vector<std::string> contents = {
        R"({"version":2,"restoreTo":true})",
        R"({"version":0,"restoreTo":true})",
        R"({"version":4294967297,"restoreTo":true})",
        R"({"version":18446744073709551617,"restoreTo":true})",
        R"({"version":1.5,"restoreTo":true})",
        R"({"version":true,"restoreTo":true})",
        R"({"version":"1","restoreTo":true})",
        R"({"version":null,"restoreTo":true})",
        R"({"restoreTo":true})",
        R"({"version":1})",
        R"({"version":1,"restoreTo":null})",
        R"({"version":1,"restoreTo":1})",
        R"({"version":1,"restoreTo":"true"})",
        R"([{"version":1,"restoreTo":true}])",
        R"({"version":1,"restoreTo":true} trailing)",
        "{\"version\":1,\"restoreTo\":true,\"\xff\":0}",
        "true",
        std::string(100000, '['),
        std::string(50 * 1000 * 1000, 'x'),
    };
    for (std::size_t length = 0; length < good.size(); ++length) {
        contents.push_back(good.substr(0, length));
    }
    for (const std::string& content : contents) {
        SCOPED_TRACE(content.substr(0, 100));
        dockHides(false);
        writeFile(marker_, content);
        EXPECT_TRUE(DockAutoHideOverride::isPending(marker_));
        EXPECT_EQ(DockAutoHideOverride::pendingRestoreValue(marker_), std::nullopt);
        EXPECT_TRUE(DockAutoHideOverride::isPending(marker_));
        EXPECT_FALSE(DockAutoHideOverride::restoreIfPending(marker_));
        EXPECT_EQ(takeCalls(), Lines{});
        EXPECT_EQ(takeLog(), Lines{});
        EXPECT_EQ(files(), Lines{"State/"});
    }
}

TEST_F(DockAutoHide, ReadsAMarkerWhateverItsLayout) {
    const std::vector<std::string> contents = {
        "{\n  \"restoreTo\" : true,\n  \"version\" : 1\n}\n",
        R"({"version":1.0,"restoreTo":true})",
        R"({"version":1,"restoreTo":false,"restoreTo":true,"else":[{}]})",
    };
    for (const std::string& content : contents) {
        writeFile(marker_, content);
        EXPECT_EQ(DockAutoHideOverride::pendingRestoreValue(marker_), true) << content;
    }
}

TEST_F(DockAutoHide, CannotRemoveADirectoryInTheMarkersPlace) {
    dockHides(false);
    std::filesystem::create_directories(marker_);
    EXPECT_TRUE(DockAutoHideOverride::isPending(marker_));
    EXPECT_FALSE(DockAutoHideOverride::restoreIfPending(marker_));
    EXPECT_EQ(takeCalls(), Lines{});
    EXPECT_EQ(takeLog(), Lines{});
    EXPECT_EQ(files(), (Lines{"State/", "State/dock-autohide-pending.json/"}));
}

TEST_F(DockAutoHide, MarksInADirectoryThatDoesNotExistYet) {
    const std::string deep = path("a/b/c/marker.json");
    DockAutoHideOverride::markPending(true, deep);
    EXPECT_EQ(files(), (Lines{"a/", "a/b/", "a/b/c/", "a/b/c/marker.json"}));
    EXPECT_EQ(json::parse(readFile(deep).value_or("")),
              (json{{"version", 1}, {"restoreTo", true}}));
    EXPECT_EQ(DockAutoHideOverride::pendingRestoreValue(deep), true);
}

TEST_F(DockAutoHide, TheLatestMarkCounts) {
    DockAutoHideOverride::markPending(true, marker_);
    DockAutoHideOverride::markPending(false, marker_);
    EXPECT_EQ(DockAutoHideOverride::pendingRestoreValue(marker_), false);
    DockAutoHideOverride::clearPending(marker_);
    EXPECT_EQ(files(), Lines{"State/"});
}

TEST_F(DockAutoHide, KeepsTheOlderMarkWhenTheNewOneCannotBeWritten) {
    DockAutoHideOverride::markPending(true, marker_);
    failCalls("rename", "EIO");
    DockAutoHideOverride::markPending(false, marker_);
    simulator::clearFaults();
    EXPECT_EQ(DockAutoHideOverride::pendingRestoreValue(marker_), true);
    EXPECT_EQ(files(), (Lines{"State/", "State/dock-autohide-pending.json"}));
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(DockAutoHide, SaysNothingWhenItCannotMark) {
    writeFile(path("file"), "");
    DockAutoHideOverride::markPending(true, path("file/State/marker.json"));
    EXPECT_EQ(files(), Lines{"file"});
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(DockAutoHide, ForcesTheDockBackAgainWhileTheMarkerCannotBeRemoved) {
    dockHides(false);
    DockAutoHideOverride::markPending(true, marker_);
    failCalls("unlink", "EIO");
    EXPECT_TRUE(DockAutoHideOverride::restoreIfPending(marker_));
    EXPECT_FALSE(DockAutoHideOverride::restoreIfPending(marker_));
    EXPECT_TRUE(DockAutoHideOverride::isPending(marker_));
    simulator::clearFaults();
    EXPECT_FALSE(DockAutoHideOverride::restoreIfPending(marker_));
    EXPECT_FALSE(DockAutoHideOverride::isPending(marker_));
}

TEST_F(DockAutoHide, LeavesAMarkerThatIsWrittenDuringItsRestore) {
    const std::string newer = R"({"version":1,"restoreTo":false})";
    dockHides(false);
    DockAutoHideOverride::markPending(true, marker_);
    simulator::onCall("CoreDockSetAutoHideEnabled", [&] {
        std::filesystem::remove(marker_);
        writeFile(marker_, newer);
    });
    EXPECT_FALSE(DockAutoHideOverride::restoreIfPending(marker_));
    EXPECT_EQ(takeLog(),
              (Lines{"info: dock auto-hide restoreIfPending: forced back to true",
                     "info: dock auto-hide restoreIfPending: marker was changed by another process "
                     "meanwhile and is left alone"}));
    EXPECT_EQ(readFile(marker_), newer);
}

TEST_F(DockAutoHide, HasItsMarkerInTheStateDirectory) {
    EXPECT_EQ(DockAutoHideOverride::defaultSnapshotPath(), marker_);
}

}  // namespace
}  // namespace tolvaran::tests
