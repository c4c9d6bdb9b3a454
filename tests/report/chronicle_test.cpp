#include "report/chronicle.hpp"

#include "tests/report/results.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::report;

using testing::ElementsAre;

/// "kind what | detail | detail", one for each entry.
std::vector<std::string> shown(const json& result) {
    std::vector<std::string> all;
    for (const Entry& entry : chronicleOf(result)) {
        std::string line = std::string(nameOf(entry.kind)) + " " + entry.what;
        for (const std::string& detail : entry.details) {
            line += " | " + detail;
        }
        all.push_back(line);
    }
    return all;
}

json emptyResult() {
    const json mac = macWith({});
    return resultOf(mac, mac);
}

TEST(Chronicle, CoversACrashFromTheEventToTheLastCall) {
    json result = emptyResult();
    addLine(result, 0, "info", "Helper starting (pid 1)");
    addEvent(result, 1, {{"exit", 812}});
    addLine(result, 1, "info", "PROC_EXIT fired for Tolvaran (pid 812)");
    addCall(result, 1.2, "CGBeginDisplayConfiguration", json::array(), 0);
    addCall(result, 1.2, "CGSConfigureDisplayMode", {2, 1}, 0);
    addCall(result, 1.2, "CGCompleteDisplayConfiguration", {1}, 1001);
    addLine(result, 1.2, "info", "restoreDockAutoHide [proc-exit]: marker found, restoring");
    addCall(result, 1.2, "CoreDockSetAutoHideEnabled", {true}, nullptr);
    addLine(result, 1.2, "info", "dock auto-hide restoreIfPending: forced back to true");
    addLine(result, 1.2, "info", "restoreDockAutoHide [proc-exit]: done");
    addCall(result, 1.2, "CGAssociateMouseAndMouseCursorPosition", {true}, 0);
    addLine(result, 1.2, "info", "restoreCursorAssociation [proc-exit]: re-associated cursor");
    EXPECT_THAT(
        shown(result),
        ElementsAre("event exit 812", "trigger PROC_EXIT fired for Tolvaran (pid 812)",
                    "trigger Restore run “proc-exit”: Tolvaran's process had ended",
                    "step Display modes", "call CGBeginDisplayConfiguration() → 0",
                    "call CGSConfigureDisplayMode(2, 1) → 0",
                    "call CGCompleteDisplayConfiguration(1) → 1001",
                    "step Dock | marker found, restoring | done",
                    "call CoreDockSetAutoHideEnabled(true)", "step Cursor | re-associated cursor",
                    "call CGAssociateMouseAndMouseCursorPosition(true) → 0"));
    const std::vector<Entry> entries = chronicleOf(result);
    EXPECT_EQ(entries[1].at, 1);
    EXPECT_EQ(entries[1].logIndex, 1U);
    EXPECT_EQ(entries[2].at, 1.2);
    EXPECT_EQ(entries[2].logIndex, 2U);
    EXPECT_EQ(entries[3].logIndex, std::nullopt);
}

TEST(Chronicle, RunsAtTheSameTimeAreToldApartByTheirStepsAndTags) {
    json result = emptyResult();
    for (const char* const tag : {"safety-tick", "display-reconfig", "display-reconfig"}) {
        addLine(result, 60, "debug", std::string("checkInvariant [") + tag + "]: holds");
        addCall(result, 60, "CGAssociateMouseAndMouseCursorPosition", {true}, 0);
        addLine(result, 60, "info", std::string("restoreCursorAssociation [") + tag + "]: back");
    }
    // A run that was cut short, and one that begins with a call.
    addLine(result, 61, "debug", "checkInvariant [cold-start]: holds");
    addLine(result, 61, "debug", "checkInvariant [unheard-of]: holds");
    addCall(result, 61, "SLSSetMenuBarVisibilityOverrideOnDisplay", {1, true}, 0);
    addCall(result, 62, "CGBeginDisplayConfiguration", json::array(), 0);
    addCall(result, 62, "CGConfigureDisplayOrigin", {1, 0, 0}, 0);
    const std::string cursor = "call CGAssociateMouseAndMouseCursorPosition(true) → 0";
    const std::string tick = "trigger Restore run “safety-tick”: 60 seconds had passed";
    const std::string reconfigured =
        "trigger Restore run “display-reconfig”: the displays were reconfigured";
    EXPECT_THAT(
        shown(result),
        ElementsAre(tick, "step Arrangement | holds", "step Cursor | back", cursor, reconfigured,
                    "step Arrangement | holds", "step Cursor | back", cursor, reconfigured,
                    "step Arrangement | holds", "step Cursor | back", cursor,
                    "trigger Restore run “cold-start”: the helper started and Tolvaran was not "
                    "running",
                    "step Arrangement | holds", "trigger Restore run “unheard-of”",
                    "step Arrangement | holds", "step Menu bar",
                    "call SLSSetMenuBarVisibilityOverrideOnDisplay(1, true) → 0",
                    "trigger Restore run", "step Arrangement",
                    "call CGBeginDisplayConfiguration() → 0",
                    "call CGConfigureDisplayOrigin(1, 0, 0) → 0"));
}

TEST(Chronicle, KnowsTheStepOfEveryCall) {
    const struct {
        const char* call;
        json args;
        const char* step;
    } rows[] = {
        {"CGConfigureDisplayOrigin", {1, 0, 0}, "Arrangement"},
        {"CGSConfigureDisplayMode", {1, 2}, "Display modes"},
        {"CFPreferencesSetValue", {"_HIHideMenuBar", true, "any"}, "Menu bar"},
        {"CGSSetMenuBarAutohideEnabled", {true}, "Menu bar"},
        {"CFNotificationCenterPostNotification", {"AppleInterfaceX", nullptr}, "Menu bar"},
        {"SLSGetMenuBarVisibilityOverrideOnDisplay", {1}, "Menu bar"},
        {"CFPreferencesSetValue", {"wvous-tl-corner", 2, "com.apple.dock"}, "Hot corners"},
        {"CFPreferencesAppSynchronize", {"com.apple.dock"}, "Hot corners"},
        {"CFNotificationCenterPostNotification", {"com.apple.dock.x", nullptr}, "Hot corners"},
        {"CoreDockGetExposeCornerActionsWithModifiers", json::array(), "Hot corners"},
        {"CoreDockGetAutoHideEnabled", json::array(), "Dock"},
        {"CGAssociateMouseAndMouseCursorPosition", {true}, "Cursor"},
    };
    for (const auto& row : rows) {
        json result = emptyResult();
        addCall(result, 0, row.call, row.args, nullptr);
        EXPECT_EQ(chronicleOf(result)[1].what, row.step) << row.call;
    }
}

TEST(Chronicle, CallsAsText) {
    json result = emptyResult();
    addCall(result, 0, "f", {1, "x\n", nullptr, {{"a", true}}}, 5);
    EXPECT_EQ(callText(result["calls"][0]), R"(f(1, "x\n", null, {"a":true}) → 5)");
    EXPECT_EQ(plainCallText(result["calls"][0]), R"(f(1, "x\n", null, {"a":true}) -> 5)");
}

}  // namespace
}  // namespace tolvaran::tests
