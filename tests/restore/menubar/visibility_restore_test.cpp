#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "restore/menubar/menu_bar_autohide.hpp"
#include "simulator/devices/displays.hpp"
#include "tests/restore/menubar/menu_bar_mac.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using testing::IsEmpty;
using Snapshot = MenuBarAutohideSnapshot;
using Record = MenuBarDisplayVisibilityOverride;
using Records = std::vector<Record>;
using Outcome = MenuBarRestoreOutcome;

/// A snapshot whose global preferences are already restored, so that only its records matter.
Snapshot ofRecords(const Records& records) {
    return {.displayVisibilityOverrides = records, .globalRestored = true};
}

/// An outcome in which the global preferences are back.
Outcome outcome(const Records& unsettled, bool onlyAbsent) {
    return {.globalRestored = true, .unsettled = unsettled, .onlyAbsent = onlyAbsent};
}

const std::string setter = "SLSSetMenuBarVisibilityOverrideOnDisplay";

// Two displays, and records whose overrides differ from theirs.
const json firstDisplay = display(7, 1, 1, false);
const json secondDisplay = display(8, 2, 2, true);
const Records theirRecords = {recordOf(1, 1, true), recordOf(2, 2, false)};

TEST(MenuBarRestore, PutsTheGlobalPreferencesAndEveryDisplayBack) {
    json mac = macWith({firstDisplay, secondDisplay});
    mac["preferences"] = {{"global", {{hideKey, true}, {visibleInFullscreenKey, false}}}};
    mac["menuBar"] = {{"autoHide", true}};
    SimulatedProcess process(mac);
    const Snapshot snapshot{
        .hideMenuBar = 0,
        .visibleInFullscreen = 1,
        .displayVisibilityOverrides = {{recordOf(2, 2, false), recordOf(1, 1, true)}}};
    EXPECT_EQ(MenuBarAutohide::restoreDetailed(snapshot), outcome({}, true));
    EXPECT_EQ(callLines(), appliesGlobal(false, true) + putsBack(8, false) + putsBack(7, true));
    EXPECT_EQ(globalPreferences(), (json{{hideKey, false}, {visibleInFullscreenKey, true}}));
    EXPECT_FALSE(autoHides());
    EXPECT_TRUE(menuBarOverride(7));
    EXPECT_FALSE(menuBarOverride(8));
    EXPECT_THAT(process.takeWarnings(), IsEmpty());
    EXPECT_EQ(simulator::now(), 0.0);
}

TEST(MenuBarRestore, LeavesRestoredGlobalPreferencesAlone) {
    for (const Snapshot& restored :
         {Snapshot{.hideMenuBar = 1, .globalRestored = true},
          Snapshot{.hideMenuBar = 1, .pendingOnly = true},
          Snapshot{.hideMenuBar = 1, .globalRestored = false, .pendingOnly = true}}) {
        SimulatedProcess process;
        EXPECT_EQ(MenuBarAutohide::restoreDetailed(restored), outcome({}, true));
        EXPECT_EQ(callLines(), Lines{});
        EXPECT_EQ(simulator::notifications(), json::array());
        EXPECT_FALSE(autoHides());
    }
}

TEST(MenuBarRestore, FlagsThatAreFalseDoNotCount) {
    SimulatedProcess process;
    const Snapshot snapshot{.hideMenuBar = 1, .globalRestored = false, .pendingOnly = false};
    EXPECT_EQ(MenuBarAutohide::restoreDetailed(snapshot), outcome({}, true));
    EXPECT_EQ(callLines(), appliesGlobal(true, std::nullopt));
}

TEST(MenuBarRestore, RemovesAPreferenceThatWasNotSet) {
    json mac = json{{"preferences", {{"global", {{hideKey, true}}}}}};
    mac["menuBar"] = {{"autoHide", true}};
    SimulatedProcess process(mac);
    EXPECT_EQ(MenuBarAutohide::restoreDetailed(Snapshot{}), outcome({}, true));
    EXPECT_EQ(callLines(), appliesGlobal(std::nullopt, std::nullopt));
    EXPECT_EQ(globalPreferences(), json::object());
    EXPECT_FALSE(autoHides());
}

TEST(MenuBarRestore, AttemptsTheRecordsWhenTheGlobalPreferencesFail) {
    const std::vector<std::pair<json, std::string>> troubles = {
        {{{"call", "CFPreferencesSynchronize"}, {"result", false}},
         "CFPreferencesSynchronize returned false for menu bar prefs"},
        {{{"call", "CGSSetMenuBarAutohideEnabled"}, {"result", 1003}},
         "CGSSetMenuBarAutohideEnabled returned 1003"}};
    for (const auto& [fault, warning] : troubles) {
        SimulatedProcess process(macWith({firstDisplay}));
        simulator::addFault(fault);
        const Snapshot snapshot{.displayVisibilityOverrides = {{recordOf(1, 1, true)}}};
        EXPECT_EQ(MenuBarAutohide::restoreDetailed(snapshot), (Outcome{false, {}, true}));
        EXPECT_EQ(process.takeWarnings(), Lines{warning});
        EXPECT_TRUE(menuBarOverride(7));
    }
}

TEST(MenuBarRestore, WithoutRecordsDoesNotAskForDisplays) {
    for (const Snapshot& snapshot : {Snapshot{.globalRestored = true}, ofRecords({})}) {
        SimulatedProcess process(json{{"unavailable", {"SkyLight"}}});
        simulator::addFault({{"call", "CGGetActiveDisplayList"}, {"result", 1000}});
        EXPECT_EQ(MenuBarAutohide::restoreDetailed(snapshot), outcome({}, true));
        EXPECT_EQ(simulator::faultsMet(), 0U);
        EXPECT_THAT(process.takeWarnings(), IsEmpty());
    }
}

const Records twoRecords = {recordOf(2, 2, false), recordOf(9, 3, true)};  // the second is absent

TEST(MenuBarRestore, KeepsEveryRecordIfDisplaysCannotBeHandled) {
    for (const SkyLight& skyLight : SkyLight::all()) {
        SCOPED_TRACE(skyLight.missing());
        json mac = macWith({secondDisplay});
        mac["unavailable"] = skyLight.missing();
        SimulatedProcess process(mac);
        simulator::addFault({{"call", "CGGetActiveDisplayList"}, {"effect", true}});
        const bool complete = skyLight.isComplete();
        EXPECT_EQ(MenuBarAutohide::restoreDetailed(ofRecords(twoRecords)),
                  complete ? outcome({twoRecords[1]}, true) : outcome(twoRecords, false));
        EXPECT_EQ(callLines(), complete ? putsBack(8, false) : Lines{});
        EXPECT_EQ(process.takeWarnings(), skyLight.warnings());
        EXPECT_EQ(simulator::faultsMet(), complete ? 2U : 0U);
    }
}

TEST(MenuBarRestore, KeepsEveryRecordWhenTheDisplaysCannotBeListed) {
    for (const int failing : {0, 1}) {
        SimulatedProcess process(macWith({secondDisplay}));
        simulator::addFault({{"call", "CGGetActiveDisplayList"},
                             {"skip", failing},
                             {"result", 1000},
                             {"effect", true}});
        EXPECT_EQ(MenuBarAutohide::restoreDetailed(ofRecords(twoRecords)),
                  outcome(twoRecords, false));
        EXPECT_EQ(callLines(), Lines{});
        EXPECT_EQ(simulator::faultsMet(), 1U);
    }
}

TEST(MenuBarRestore, EveryRecordIsAbsentOnAMacWithoutDisplays) {
    SimulatedProcess process(json{{"displays", json::array()}});
    EXPECT_EQ(MenuBarAutohide::restoreDetailed(ofRecords(twoRecords)), outcome(twoRecords, true));
    EXPECT_EQ(callLines(), Lines{});
}

/// What happens between counting the displays and listing them.
struct ForeignChange {
    std::string name;
    std::vector<json> before;
    std::function<void()> change;
    Lines calls;
    Outcome outcome;
};

TEST(MenuBarRestore, DisplaysMayComeAndGoWhileTheyAreListed) {
    const auto disconnect = [](CGDirectDisplayID id) {
        return [id] { simulator::devices::disconnect(id); };
    };
    const auto connect = [](const json& arriving) {
        return [arriving] { simulator::perform({{"connect", arriving}}); };
    };
    const std::vector<ForeignChange> changes = {
        {"the last one goes",
         {firstDisplay, secondDisplay},
         disconnect(8),
         putsBack(7, true),
         outcome({theirRecords[1]}, true)},
        {"the first one goes",
         {firstDisplay, secondDisplay},
         disconnect(7),
         putsBack(8, false),
         outcome({theirRecords[0]}, true)},
        {"the only one goes", {firstDisplay}, disconnect(7), {}, outcome(theirRecords, true)},
        // There is room only for as many as were counted; the next run sees the other one.
        {"one comes",
         {firstDisplay},
         connect(secondDisplay),
         putsBack(7, true),
         outcome({theirRecords[1]}, true)},
        {"the first one comes", {}, connect(firstDisplay), {}, outcome(theirRecords, true)},
    };
    for (const ForeignChange& change : changes) {
        SCOPED_TRACE(change.name);
        SimulatedProcess process(macWith(change.before));
        int calls = 0;
        simulator::onCall("CGGetActiveDisplayList", [&] {
            if (++calls == 2) {
                change.change();
            }
        });
        EXPECT_EQ(MenuBarAutohide::restoreDetailed(ofRecords(theirRecords)), change.outcome);
        EXPECT_EQ(callLines(), change.calls);
    }
}

TEST(MenuBarRestore, ARecordOfAnAbsentDisplayWaits) {
    SimulatedProcess process(macWith({secondDisplay}));
    EXPECT_EQ(MenuBarAutohide::restoreDetailed(ofRecords({recordOf(9, 3, true)})),
              outcome({recordOf(9, 3, true)}, true));
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_TRUE(MenuBarAutohide::restoreDetailed(ofRecords({recordOf(9, 3, true)})).succeeded());
}

TEST(MenuBarRestore, OneOfTwoRecordsOfADisplayIsRestoredAndTheOtherDropped) {
    SimulatedProcess process(macWith({firstDisplay}));
    process.knowDisplays({{"desk", hardwareID(1)}});
    const Record byAlias{.canonicalID = "desk", .portUUID = port(3), .enabled = true};
    const Record byUUID{.canonicalID = hardwareID(1), .portUUID = port(3), .enabled = false};
    EXPECT_EQ(MenuBarAutohide::restoreDetailed(ofRecords({byUUID, byAlias})), outcome({}, true));
    EXPECT_EQ(callLines(), putsBack(7, true));
    EXPECT_THAT(process.takeWarnings(), IsEmpty());
}

TEST(MenuBarRestore, ARecordThatFitsTwoDisplaysEquallyWellIsKept) {
    SimulatedProcess process(macWith({firstDisplay, display(8, 2, 2, false)}));
    process.knowDisplays({{"desk", hardwareID(1), hardwareID(2)}});
    const Record either{.canonicalID = "desk", .portUUID = port(3), .enabled = true};
    EXPECT_EQ(MenuBarAutohide::restoreDetailed(ofRecords({either})), outcome({either}, false));
    EXPECT_EQ(callLines(), Lines{});
}

TEST(MenuBarRestore, TheAliasMapIsLoadedOnce) {
    SimulatedProcess process(macWith({firstDisplay, secondDisplay}));
    writeFile(process.path("Settings/preferences.json"), "{");
    EXPECT_EQ(MenuBarAutohide::restoreDetailed(ofRecords(theirRecords)), outcome({}, true));
    EXPECT_EQ(process.takeWarnings(),
              Lines{"AliasMap: preferences.json unparseable, falling back to identity"});
}

const std::string twinsWarning =
    "Multiple displays with fingerprint 1552-41234-1, disambiguating via port-UUID";

TEST(MenuBarRestore, ATwinThatHasAppearedDoesNotTakeADisplaysRecord) {
    SimulatedProcess process(macWith({firstDisplay, display(8, 1, 2, false)}));
    EXPECT_EQ(MenuBarAutohide::restoreDetailed(ofRecords({recordOf(1, 2, true)})),
              outcome({}, true));
    EXPECT_EQ(callLines(), putsBack(8, true));
    EXPECT_EQ(process.takeWarnings(), (Lines{twinsWarning, twinsWarning}));
}

TEST(MenuBarRestore, ARecordOfAnotherPortFitsBothTwins) {
    SimulatedProcess process(macWith({firstDisplay, display(8, 1, 2, false)}));
    EXPECT_EQ(MenuBarAutohide::restoreDetailed(ofRecords({recordOf(1, 3, true)})),
              outcome({recordOf(1, 3, true)}, false));
    EXPECT_EQ(callLines(), Lines{});
}

TEST(MenuBarRestore, TwinsAreToldApartByTheirPorts) {
    SimulatedProcess process(macWith({firstDisplay, display(8, 1, 2, true)}));
    const auto ofPort = [](int number, bool enabled) {
        return Record{.canonicalID = port(number),
                      .hardwareID = port(number),
                      .portUUID = port(number),
                      .enabled = enabled};
    };
    EXPECT_EQ(MenuBarAutohide::restoreDetailed(ofRecords({ofPort(1, true), ofPort(2, false)})),
              outcome({}, true));
    EXPECT_EQ(callLines(), putsBack(7, true) + putsBack(8, false));
}

TEST(MenuBarRestore, ADisplayWithoutUUIDIsKnownByItsNumber) {
    json nameless = display(7, 0, 1, false);
    nameless["vendor"] = 0;
    nameless["portUUID"] = nullptr;
    SimulatedProcess process(macWith({nameless}));
    const Record record{.canonicalID = "Display-7", .portUUID = "Display-7", .enabled = true};
    EXPECT_EQ(MenuBarAutohide::restoreDetailed(ofRecords({record})), outcome({}, true));
    EXPECT_EQ(callLines(), putsBack(7, true));
}

TEST(MenuBarRestore, ARefusedOverrideIsNotReadBackAndStopsNoOther) {
    SimulatedProcess process(macWith({firstDisplay, secondDisplay}));
    simulator::addFault({{"call", setter}, {"result", -1}, {"times", 1}, {"effect", true}});
    EXPECT_EQ(MenuBarAutohide::restoreDetailed(ofRecords(theirRecords)),
              outcome({theirRecords[0]}, false));
    EXPECT_EQ(callLines(), Lines{setsOverride(7, true, -1)} + putsBack(8, false));
    EXPECT_EQ(process.takeWarnings(), Lines{setter + " returned -1 for display 7"});
    EXPECT_EQ(simulator::now(), 0.0);
}

/// The times of the read-backs so far.
std::vector<double> readTimes() {
    std::vector<double> times;
    for (const json& call : simulator::calls()) {
        if (call["call"] == "SLSGetMenuBarVisibilityOverrideOnDisplay") {
            times.push_back(call["at"]);
        }
    }
    return times;
}

/// The times of a read at once and of another after each of this many waits of 0.025 s.
std::vector<double> readsAfter(int waits) {
    std::vector<double> times;
    for (int wait = 0; wait <= waits; ++wait) {
        times.push_back(0.025 * wait);
    }
    return times;
}

struct ReadBack {
    json fault;
    int sleeps;
    bool settles;
};

TEST(MenuBarRestore, AnOverrideIsReadBackUntilItShows) {
    std::vector<ReadBack> rows;
    for (int delay = 0; delay <= 7; ++delay) {
        rows.push_back({{{"call", setter}, {"delayReads", delay}}, delay, true});
    }
    rows.push_back({{{"call", setter}, {"delayReads", 8}}, 7, false});
    rows.push_back({{{"call", setter}, {"effect", false}}, 7, false});
    for (const bool enabled : {true, false}) {
        for (const ReadBack& row : rows) {
            SCOPED_TRACE(row.fault);
            SimulatedProcess process(macWith({display(7, 1, 1, !enabled)}));
            simulator::addFault(row.fault);
            simulator::addFault({{"call", "nanosleep"}, {"effect", true}});  // to count them
            const Record record = recordOf(1, 1, enabled);
            EXPECT_EQ(MenuBarAutohide::restoreDetailed(ofRecords({record})),
                      row.settles ? outcome({}, true) : outcome({record}, false));
            EXPECT_THAT(readTimes(),
                        testing::Pointwise(testing::DoubleNear(1e-9), readsAfter(row.sleeps)));
            EXPECT_EQ(simulator::faultsMet(), static_cast<std::size_t>(row.sleeps) + 1);
            EXPECT_THAT(process.takeWarnings(), IsEmpty());
        }
    }
}

TEST(MenuBarRestore, EachOverrideIsReadBackBeforeTheNextIsSet) {
    SimulatedProcess process(macWith({firstDisplay, secondDisplay}));
    simulator::addFault({{"call", setter}, {"delayReads", 1}});
    EXPECT_EQ(
        MenuBarAutohide::restoreDetailed(ofRecords({recordOf(2, 2, false), recordOf(1, 1, true)})),
        outcome({}, true));
    EXPECT_EQ(callLines(),
              (Lines{setsOverride(8, false), readsOverride(8, true), readsOverride(8, false),
                     setsOverride(7, true), readsOverride(7, false), readsOverride(7, true)}));
}

TEST(MenuBarRestore, EveryUnsettledRecordIsKeptInItsOrder) {
    SimulatedProcess process(macWith({firstDisplay, display(8, 2, 2, false),
                                      display(9, 3, 3, false), display(10, 4, 4, false)}));
    process.knowDisplays({{"either", hardwareID(3), hardwareID(4)}});
    simulator::addFault({{"call", setter}, {"result", 1000}, {"skip", 1}, {"times", 1}});
    const Record settled = recordOf(1, 1, true);
    const Record absent = recordOf(9, 9, true);
    const Record failed = recordOf(2, 2, true);
    const Record superseded{.canonicalID = hardwareID(1), .portUUID = port(9), .enabled = false};
    const Record ambiguous{.canonicalID = "either", .portUUID = port(9), .enabled = true};
    EXPECT_EQ(MenuBarAutohide::restoreDetailed(
                  ofRecords({absent, superseded, settled, failed, ambiguous})),
              outcome({absent, failed, ambiguous}, false));
    EXPECT_EQ(callLines(), putsBack(7, true) + Lines{setsOverride(8, true, 1000)});
}

TEST(MenuBarRestore, AnyOtherTroubleMeansNotOnlyAbsent) {
    const Record absent = recordOf(9, 9, true);
    const Record failed = recordOf(1, 1, true);
    for (const Records& records : {Records{absent, failed}, Records{failed, absent}}) {
        SimulatedProcess process(macWith({firstDisplay}));
        simulator::addFault({{"call", setter}, {"effect", false}});
        EXPECT_EQ(MenuBarAutohide::restoreDetailed(ofRecords(records)), outcome(records, false));
    }
}

struct Whole {
    std::string name;
    std::optional<json> fault;
    Records records;
    bool restored;
};

TEST(MenuBarRestore, IsCompleteOnlyWhenNothingIsLeft) {
    const Record here = recordOf(1, 1, true);
    const std::vector<Whole> rows = {
        {"everything back", {}, {here}, true},
        {"no records", {}, {}, true},
        {"a display absent", {}, {here, recordOf(9, 9, true)}, false},
        {"an override refused", json{{"call", setter}, {"result", 1}}, {here}, false},
        {"the switch refused",
         json{{"call", "CGSSetMenuBarAutohideEnabled"}, {"result", 1}},
         {here},
         false},
        {"the displays not listed",
         json{{"call", "CGGetActiveDisplayList"}, {"result", 1}},
         {here},
         false},
    };
    for (const Whole& row : rows) {
        SimulatedProcess process(macWith({firstDisplay}));
        if (row.fault) {
            simulator::addFault(*row.fault);
        }
        EXPECT_EQ(MenuBarAutohide::restore({.displayVisibilityOverrides = row.records}),
                  row.restored)
            << row.name;
        process.takeWarnings();
    }
}

// Displays without a record of their own.

const MenuBarDisplayIdentity deskIdentity(7, hardwareID(1), hardwareID(1), port(1));
const MenuBarDisplayIdentity projectorIdentity(8, port(2), std::nullopt, port(2));
const MenuBarDisplayIdentity folded(9, "canonical", hardwareID(3), port(3));

json macOfIdentities() {
    json nameless = display(8, 0, 2);
    nameless["vendor"] = 0;
    return macWith({display(7, 1, 1), nameless, display(9, 3, 3)});
}

std::vector<CGDirectDisplayID> withoutBaseline(const Records& records) {
    std::vector<CGDirectDisplayID> result;
    for (const auto& identity : MenuBarAutohide::displaysWithoutBaseline(
             {folded, projectorIdentity, deskIdentity}, records)) {
        result.push_back(identity.displayID);
    }
    return result;
}

struct Baseline {
    std::string name;
    Records records;
    std::vector<CGDirectDisplayID> without;
};

TEST(MenuBarBaseline, DisplaysWithoutARecordHaveNone) {
    const Record ofDesk = recordOf(1, 1, true);
    const Record ofProjector{.canonicalID = port(2), .portUUID = port(2), .enabled = true};
    const Record ofFolded{.canonicalID = "canonical", .portUUID = port(9), .enabled = true};
    const Record either{.canonicalID = "nobody", .portUUID = port(9), .enabled = true};
    const std::vector<Baseline> rows = {
        {"no records", {}, {9, 8, 7}},
        {"a record of another display", {either}, {9, 8, 7}},
        {"all", {ofDesk, ofProjector, ofFolded}, {}},
        {"one by its hardware ID", {ofDesk}, {9, 8}},
        {"one by its canonical ID", {ofFolded}, {8, 7}},
        {"one by its port", {ofProjector}, {9, 7}},
        {"one by the canonical ID in the place of its hardware ID",
         {{.canonicalID = "x", .hardwareID = port(2), .portUUID = port(9)}},
         {9, 7}},
        {"two records of one display", {ofDesk, ofDesk}, {9, 8}},
    };
    for (const Baseline& row : rows) {
        SimulatedProcess process(macOfIdentities());
        EXPECT_EQ(withoutBaseline(row.records), row.without) << row.name;
        EXPECT_EQ(callLines(), Lines{}) << row.name;
    }
}

TEST(MenuBarBaseline, AnAmbiguousRecordIsNotABaseline) {
    SimulatedProcess process(macOfIdentities());
    const MenuBarDisplayIdentity one(7, "same", hardwareID(1), port(1));
    const MenuBarDisplayIdentity other(9, "same", hardwareID(3), port(3));
    const Record either{.canonicalID = "same", .portUUID = port(9)};
    EXPECT_EQ(MenuBarAutohide::displaysWithoutBaseline({one, other}, {either}),
              (std::vector{one, other}));
}

TEST(MenuBarBaseline, ARecordMayMatchTheDisplaysOwnFingerprint) {
    SimulatedProcess process(macOfIdentities());
    const MenuBarDisplayIdentity twin(7, port(1), std::nullopt, port(1));
    EXPECT_THAT(MenuBarAutohide::displaysWithoutBaseline({twin}, {recordOf(1, 9, true)}),
                IsEmpty());
    EXPECT_EQ(MenuBarAutohide::displaysWithoutBaseline({twin}, {recordOf(2, 9, true)}),
              std::vector{twin});
}

}  // namespace
}  // namespace tolvaran::tests
