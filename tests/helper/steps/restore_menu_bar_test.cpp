#include "helper/steps/steps.hpp"

#include <gmock/gmock.h>

#include "restore/menubar/formats.hpp"
#include "restore/menubar/menu_bar_autohide.hpp"
#include "tests/helper/steps/step_test.hpp"
#include "tests/restore/menubar/menu_bar_mac.hpp"

namespace tolvaran::tests {
namespace {

using Json = nlohmann::json;
using Snapshot = MenuBarAutohideSnapshot;
using testing::ElementsAre;
using testing::StartsWith;

const std::string fileName = "menubar-state.json";
const std::string applyingMenuBar = "info: restoreMenuBar [cold-start]: applying snapshot";
const std::string applyFailed =
    "warn: restoreMenuBar [cold-start]: CGS apply failed; snapshot kept";
const std::string deleted = "info: restoreMenuBar [cold-start]: snapshot deleted";

std::string kept(int count) {
    return "info: restoreMenuBar [cold-start]: kept " + std::to_string(count) +
           " unsettled display(s)";
}

/// The step with a snapshot file.
class RestoreMenuBar : public StepTest {
  protected:
    RestoreMenuBar() : StepTest(restoreMenuBar, "restoreMenuBar") {}

    void arrange(const Json& mac, const std::string& content) {
        start(mac);
        write(fileName, content);
    }
    void arrange(const Json& mac, const Snapshot& snapshot) {
        arrange(mac, tolvaran::json::write(snapshot));
    }

    /// The file's content; none if there is no file.
    std::optional<std::string> file() const { return read(fileName); }
};

Snapshot ofRecords(const std::vector<MenuBarDisplayVisibilityOverride>& records) {
    return {.hideMenuBar = 0, .visibleInFullscreen = 1, .displayVisibilityOverrides = records};
}

Snapshot flagged(Snapshot snapshot, std::optional<bool> globalRestored,
                 std::optional<bool> pendingOnly) {
    snapshot.globalRestored = globalRestored;
    snapshot.pendingOnly = pendingOnly;
    return snapshot;
}

const auto here = recordOf(1, 1, true);
const auto away = recordOf(2, 2, true);
const Json macOfHere = macWith({display(7, 1, 1, false)});

TEST_F(RestoreMenuBar, WithoutASnapshotDoesNothing) {
    start(macOfHere);
    EXPECT_EQ(run(), Lines{});
    EXPECT_EQ(callLines(), Lines{});
}

TEST_F(RestoreMenuBar, LeavesEverythingToARunningTolvaran) {
    arrange(whileTolvaranRuns({812}, macOfHere), ofRecords({here}));
    EXPECT_EQ(run("proc-exit", 811), Lines{skips("proc-exit", 812)});
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_EQ(file(), tolvaran::json::write(ofRecords({here})));
}

TEST_F(RestoreMenuBar, DoesNotCountTheExitedInstanceAsRunning) {
    arrange(whileTolvaranRuns({812}, macOfHere), ofRecords({here}));
    EXPECT_EQ(run("proc-exit", 812), (Lines{"info: restoreMenuBar [proc-exit]: applying snapshot",
                                            "info: restoreMenuBar [proc-exit]: snapshot deleted"}));
    EXPECT_EQ(file(), std::nullopt);
}

TEST_F(RestoreMenuBar, DeletesASnapshotThatIsWhollyRestored) {
    arrange(macOfHere, ofRecords({here}));
    EXPECT_EQ(run(), (Lines{applyingMenuBar, deleted}));
    EXPECT_EQ(callLines(), appliesGlobal(false, true) + putsBack(7, true));
    EXPECT_EQ(file(), std::nullopt);
}

TEST_F(RestoreMenuBar, RestoresAnEmptySnapshot) {
    arrange(macOfHere, "{}");
    EXPECT_EQ(run(), (Lines{applyingMenuBar, deleted}));
    EXPECT_EQ(callLines(), appliesGlobal(std::nullopt, std::nullopt));
    EXPECT_EQ(file(), std::nullopt);
}

TEST_F(RestoreMenuBar, KeepsEveryRecordWhileOneIsUnsettled) {
    arrange(macOfHere, ofRecords({here, away}));
    EXPECT_EQ(run(), (Lines{applyingMenuBar, kept(1)}));
    EXPECT_EQ(file(), tolvaran::json::write(flagged(ofRecords({here, away}), true, true)));
}

TEST_F(RestoreMenuBar, KeepsTheGlobalPreferencesWhenTheyFail) {
    arrange(macOfHere, ofRecords({here, away}));
    failCalls("CGSSetMenuBarAutohideEnabled", 1000);
    EXPECT_EQ(run(), (Lines{applyingMenuBar, "warn: CGSSetMenuBarAutohideEnabled returned 1000",
                            applyFailed}));
    EXPECT_EQ(file(), tolvaran::json::write(ofRecords({here, away})));
}

TEST_F(RestoreMenuBar, DropsFlagsThatSayNothing) {
    arrange(macOfHere, flagged(ofRecords({here}), false, std::nullopt));
    failCalls("CFPreferencesSynchronize", false);
    EXPECT_EQ(run(), (Lines{applyingMenuBar,
                            "warn: CFPreferencesSynchronize returned false for menu bar prefs",
                            applyFailed, kept(0)}));
    EXPECT_EQ(file(), tolvaran::json::write(ofRecords({here})));
}

TEST_F(RestoreMenuBar, KeepsEverythingIfDisplaysCannotBeHandled) {
    Json mac = macOfHere;
    mac["unavailable"] = {"SkyLight"};
    arrange(mac, ofRecords({here, away}));
    const std::string unavailable = "warn: " + unavailableWarning;
    EXPECT_EQ(run(), (Lines{applyingMenuBar, unavailable, applyFailed, kept(2)}));
    EXPECT_EQ(file(), tolvaran::json::write(flagged(ofRecords({here, away}), true, std::nullopt)));
    // The functions are looked up once, so the next run does not warn about them again.
    EXPECT_EQ(run(), (Lines{applyingMenuBar, applyFailed}));
    EXPECT_EQ(file(), tolvaran::json::write(flagged(ofRecords({here, away}), true, std::nullopt)));
}

TEST_F(RestoreMenuBar, WaitsInSilenceForAbsentDisplays) {
    const std::string content =
        tolvaran::json::write(flagged(ofRecords({away}), true, true)) + "\n";
    arrange(macOfHere, content);
    EXPECT_EQ(run(), Lines{});
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_EQ(file(), content);  // with its line end, so it has not been written again
}

TEST_F(RestoreMenuBar, LeavesAnUndecodableSnapshotInPlace) {
    arrange(macOfHere, R"({"hideMenuBar":true})");
    EXPECT_EQ(run(), Lines{"warn: menu bar snapshot at " + state(fileName) +
                           R"( failed to decode: "hideMenuBar": is not an integer)"});
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_EQ(file(), R"({"hideMenuBar":true})");
}

TEST_F(RestoreMenuBar, SaysWhenTheSnapshotCannotBeDeleted) {
    arrange(macOfHere, ofRecords({here}));
    simulator::addFault({{"call", "unlink"}, {"result", "EPERM"}, {"times", 1}});
    EXPECT_THAT(run(), ElementsAre(applyingMenuBar,
                                   StartsWith("warn: menu bar snapshot at " + state(fileName) +
                                              " could not be deleted: "),
                                   "warn: restoreMenuBar [cold-start]: snapshot could not be "
                                   "deleted"));
    EXPECT_EQ(file(), tolvaran::json::write(ofRecords({here})));
    EXPECT_EQ(run(), (Lines{applyingMenuBar, deleted}));
}

TEST_F(RestoreMenuBar, SaysWhenPendingRecordsCannotBeSaved) {
    arrange(macOfHere, ofRecords({here, away}));
    simulator::addFault({{"call", "rename"}, {"result", "ENOSPC"}, {"times", 1}});
    EXPECT_THAT(
        run(), ElementsAre(applyingMenuBar, StartsWith("warn: Failed to write menu bar snapshot: "),
                           "warn: restoreMenuBar [cold-start]: pending records could not "
                           "be saved"));
    EXPECT_EQ(file(), tolvaran::json::write(ofRecords({here, away})));
    EXPECT_EQ(run(), (Lines{applyingMenuBar, kept(1)}));
}

TEST_F(RestoreMenuBar, DropsARecordWhoseDisplayAnotherRecordOwns) {
    MenuBarDisplayVisibilityOverride older = here;
    older.portUUID = port(5);
    older.enabled = false;
    arrange(macOfHere, ofRecords({here, older}));
    EXPECT_EQ(run(), (Lines{applyingMenuBar, deleted}));
    EXPECT_EQ(callLines(), appliesGlobal(false, true) + putsBack(7, true));
    EXPECT_EQ(file(), std::nullopt);
}

// One snapshot through several runs.

/// What changes before a run, and what the run is expected to do.
struct OneRun {
    std::string name;
    std::vector<Json> events;
    std::vector<Json> faults;
    Lines log;
    Lines calls;
    std::optional<Snapshot> remaining;
};

class RestoreMenuBarRuns : public RestoreMenuBar {
  protected:
    void expectRuns(const std::vector<OneRun>& runs) {
        for (const OneRun& expected : runs) {
            simulator::clearFaults();
            for (const Json& fault : expected.faults) {
                simulator::addFault(fault);
            }
            for (const Json& event : expected.events) {
                simulator::perform(event);
            }
            EXPECT_EQ(run(), expected.log) << expected.name;
            EXPECT_EQ(takeCalls(), expected.calls) << expected.name;
            EXPECT_EQ(file(), expected.remaining
                                  ? std::optional(tolvaran::json::write(*expected.remaining))
                                  : std::nullopt)
                << expected.name;
        }
    }
};

Json connects(const Json& arriving) {
    return {{"connect", arriving}};
}

Json disconnects(CGDirectDisplayID id) {
    return {{"disconnect", id}};
}

const Json usersChange = {
    {"set", {{"preferences", {{"global", {{hideKey, true}}}}}, {"menuBar", {{"autoHide", true}}}}}};

TEST_F(RestoreMenuBarRuns, GlobalsAreRestoredOnceAndDisplaysAsTheyCome) {
    const auto third = recordOf(3, 3, false);
    const Snapshot whole = ofRecords({here, away, third});
    const Snapshot pendingOnly = flagged(whole, true, true);
    const Snapshot pending = flagged(whole, true, std::nullopt);
    const Json refusal = {
        {"call", "SLSSetMenuBarVisibilityOverrideOnDisplay"}, {"skip", 1}, {"result", 1000}};
    arrange(macOfHere, whole);
    expectRuns({
        {"one display of three",
         {},
         {},
         {applyingMenuBar, kept(2)},
         appliesGlobal(false, true) + putsBack(7, true),
         pendingOnly},
        {"nothing new", {}, {}, {}, putsBack(7, true), pendingOnly},
        {"the second comes and refuses",
         {connects(display(8, 2, 2, false))},
         {refusal},
         {"warn: SLSSetMenuBarVisibilityOverrideOnDisplay returned 1000 for display 8", applyFailed,
          kept(2)},
         putsBack(7, true) + Lines{setsOverride(8, true, 1000)},
         pending},
        {"it refuses again, after the user has hidden the menu bar",
         {usersChange},
         {refusal},
         {applyingMenuBar,
          "warn: SLSSetMenuBarVisibilityOverrideOnDisplay returned 1000 for display 8",
          applyFailed},
         putsBack(7, true) + Lines{setsOverride(8, true, 1000)},
         pending},
        {"it goes",
         {disconnects(8)},
         {},
         {applyingMenuBar, kept(2)},
         putsBack(7, true),
         pendingOnly},
        {"it comes back and accepts, and the first one goes",
         {connects(display(8, 2, 2, false)), disconnects(7)},
         {},
         {},
         putsBack(8, true),
         pendingOnly},
        {"all are there",
         {connects(display(9, 3, 3, true)), connects(display(7, 1, 1, false))},
         {},
         {deleted},
         putsBack(7, true) + putsBack(8, true) + putsBack(9, false),
         std::nullopt},
        {"nothing is left", {}, {}, {}, {}, std::nullopt},
    });
    // The user's changes since the first run are still there.
    EXPECT_EQ(globalPreferences(), (Json{{hideKey, true}, {visibleInFullscreenKey, true}}));
    EXPECT_TRUE(autoHides());
}

TEST_F(RestoreMenuBarRuns, GlobalsThatFailAreTriedAgainUntilTheyAreBack) {
    const Snapshot whole = ofRecords({here, away});
    const Json refusal = {{"call", "CFPreferencesSynchronize"}, {"result", false}};
    const std::string refused = "warn: CFPreferencesSynchronize returned false for menu bar prefs";
    arrange(macOfHere, whole);
    expectRuns({
        {"refused",
         {},
         {refusal},
         {applyingMenuBar, refused, applyFailed},
         appliesGlobal(false, true, false) + putsBack(7, true),
         whole},
        {"refused without any display",
         {disconnects(7)},
         {refusal},
         {applyingMenuBar, refused, applyFailed},
         appliesGlobal(false, true, false),
         whole},
        {"accepted without any display",
         {},
         {},
         {applyingMenuBar, kept(2)},
         appliesGlobal(false, true),
         flagged(whole, true, true)},
        {"the displays come",
         {connects(display(7, 1, 1, false)), connects(display(8, 2, 2, false))},
         {},
         {deleted},
         putsBack(7, true) + putsBack(8, true),
         std::nullopt},
        {"nothing is left", {}, {}, {}, {}, std::nullopt},
    });
}

TEST_F(RestoreMenuBarRuns, GlobalsThatFailAreTriedAgainAfterTheDisplaysAreBack) {
    const Snapshot whole = ofRecords({here});
    arrange(macOfHere, whole);
    expectRuns({
        {"refused",
         {},
         {{{"call", "CGSSetMenuBarAutohideEnabled"}, {"result", 1000}}},
         {applyingMenuBar, "warn: CGSSetMenuBarAutohideEnabled returned 1000", applyFailed},
         appliesGlobal(false, true, true, 1000) + putsBack(7, true),
         whole},
        {"accepted",
         {},
         {},
         {applyingMenuBar, deleted},
         appliesGlobal(false, true) + putsBack(7, true),
         std::nullopt},
    });
}

}  // namespace
}  // namespace tolvaran::tests
