#include "tools/describe/health.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "simulator/simulator.hpp"
#include "tests/tools/describe/reported.hpp"
#include "tools/describe/health_text.hpp"

namespace tolvaran {
namespace {

using describe::Health;
using nlohmann::json;
using simulator::report::Terminal;
using tests::FoundMac;
using tests::writeFile;

constexpr pid_t helper = 501;
const Terminal plain{};

bool isHelper(pid_t pid) {
    return pid == helper;
}

bool noProcessExists(pid_t) {
    return false;
}

const std::string start =
    "[2026-01-01 00:00:00.000] [   0.000] [helper] [info] Helper starting (pid 501)\n";

std::string line(const std::string& level, const std::string& message) {
    return "[2026-01-01 00:01:00.000] [  60.000] [helper] [" + level + "] " + message + "\n";
}

const std::string endOfRun =
    line("info", "restoreCursorAssociation [safety-tick]: re-associated cursor");

/// Two displays side by side, the second one with two modes; their canonical IDs are HW-1-2-3 and
/// HW-4-5-6.
json twoDisplays() {
    return json::parse(R"([
        {"id": 1, "vendor": 1, "model": 2, "serial": 3, "frame": [0, 0, 100, 80],
         "portUUID": "AAAAAAAA-0000-4000-8000-000000000001"},
        {"id": 2, "vendor": 4, "model": 5, "serial": 6, "frame": [100, 0, 100, 80],
         "portUUID": "AAAAAAAA-0000-4000-8000-000000000002",
         "modes": [{"number": 0, "flags": 1, "width": 100, "height": 80, "hz": 60, "density": 1},
                   {"number": 1, "flags": 1, "width": 200, "height": 160, "hz": 60, "density": 1}],
         "mode": 0}])");
}

/// A Mac on which a living helper has just started.
FoundMac macWith(json files, json mac) {
    if (!mac.contains("displays")) {
        mac["displays"] = twoDisplays();
    }
    if (!files.contains("State/.helper-heartbeat")) {
        files["State/.helper-heartbeat"] = 1767225600000;
    }
    return FoundMac(simulator::readScenario({{"mac", mac}, {"files", files}}, "", ""),
                    FoundMac::Helper::neverRan);
}

struct Found {
    Health health;
    std::string text;
};

/// What --health finds on this Mac, where it may change nothing.
Found found(const json& files, const json& mac = {}, const std::string& log = start,
            bool (*processExists)(pid_t) = isHelper) {
    const FoundMac foundMac = macWith(files, mac);
    writeFile(foundMac.log(), log);
    Found result;
    foundMac.visit([&] {
        const json before = simulator::machine();
        result.health = describe::checkHealth(processExists);
        EXPECT_EQ(simulator::machine(), before);
        EXPECT_EQ(simulator::notifications(), json::array());
        for (const auto& [path, content] : files.items()) {
            EXPECT_NE(tests::readFile(foundMac.file(path)), std::nullopt) << path;
        }
    });
    result.text = describe::healthText(result.health, plain);
    return result;
}

TEST(Health, IsFineIfNothingWaits) {
    const Found fine = found(json::object());
    EXPECT_EQ(fine.health.exitStatus(), 0);
    EXPECT_EQ(fine.text,
              "The helper is alive. Last heartbeat 0 seconds ago. Process 501, started "
              "2026-01-01 00:00:00.000.\n"
              "Tolvaran is not running.\n"
              "Nothing waits to be put back.\n");
}

TEST(Health, KnowsADeadHelperByItsHeartbeatOrItsProcess) {
    EXPECT_EQ(found({{"State/.helper-heartbeat", 1767225300000}}).health.exitStatus(), 0);
    const Found stale = found({{"State/.helper-heartbeat", 1767225299999}});
    EXPECT_EQ(stale.health.exitStatus(), 2);
    EXPECT_THAT(stale.text, testing::StartsWith("The helper is dead. Nothing puts this Mac back. "
                                                "Last heartbeat 5 minutes ago. It was process "
                                                "501, started 2026-01-01 00:00:00.000.\n"));
    EXPECT_EQ(found(json::object(), {}, start, noProcessExists).health.exitStatus(), 2);
    EXPECT_EQ(found(json::object(), {}, "", noProcessExists).health.exitStatus(), 0)
        << "an empty log does not contradict a fresh heartbeat";
    EXPECT_EQ(found({{"State/.helper-heartbeat", "no number"}}, {}, "").health.helper,
              Health::Helper::neverThere);
    EXPECT_EQ(found({{"State/.helper-heartbeat", "no number"}}, {}, start).health.helper,
              Health::Helper::dead);
}

TEST(Health, SaysThatTheHelperHasNeverRun) {
    const Found never = found({{"State/.helper-heartbeat", ""}}, {}, "");
    EXPECT_EQ(never.health.exitStatus(), 2);
    EXPECT_THAT(never.text, testing::StartsWith("The helper has never run."));
}

TEST(Health, SaysWhatThisMacOSLacksAndWhatThatCosts) {
    const Found lacking =
        found({}, {{"unavailable", {"SkyLight", "CoreDockSetExposeCornerActionWithModifier"}}});
    EXPECT_EQ(lacking.health.exitStatus(), 0);
    EXPECT_THAT(lacking.text,
                testing::HasSubstr("This macOS lacks SkyLight: the menu bar of single displays is "
                                   "not put back; its global setting is.\n"));
    EXPECT_THAT(lacking.text, testing::HasSubstr("lacks CoreDockSetExposeCornerActionWithModifier: "
                                                 "the Dock's preferences are put back"));
    EXPECT_THAT(found({}, {{"unavailable", {"SLSCopyActiveMenuBarDisplayIdentifier"}}}).text,
                testing::HasSubstr("Identifier: nothing that is put back depends on it.\n"));
}

/// A record in one of its states, and the text below its title.
struct State {
    const char* what;
    json files;
    const char* said;
    json mac = nullptr;
};

const char* const modes = "State/.resolution-originals";
const char* const menuBar = "State/menubar-state.json";
const char* const corners = "State/hot-corners-snapshot.json";
const char* const dock = "State/dock-autohide-pending.json";

json parsed(const char* text) {
    return json::parse(text);
}

/// The second display below and to the right of the first.
json zigzag() {
    json displays = twoDisplays();
    displays[1]["frame"] = {100, 80, 100, 80};
    return {{"displays", displays}};
}

const json arrangement = parsed(R"({"version": 2, "arrangements": {"HW-1-2-3,HW-4-5-6": [
    {"uuid": "HW-1-2-3", "x": 10, "y": 0}, {"uuid": "HW-4-5-6", "x": 110, "y": 20}]}})");
const json otherArrangement = parsed(R"({"version": 2, "arrangements": {"HW-7-8-9": [
    {"uuid": "HW-7-8-9", "x": 0, "y": 0}]}})");

/// A mark of the layout of twoDisplays().
const json layoutMark = parsed(R"({"version": 2, "arrangements": {"HW-1-2-3,HW-4-5-6": [[
    {"uuid": "HW-4-5-6", "x": 100, "y": 0}]]}})");

const json hiddenDock = {{dock, parsed(R"({"version": 1, "restoreTo": true})")}};

json modeOf(const char* id, int width, int height) {
    return {
        {"version", 1},
        {"entries", {{id, {{"width", width}, {"height", height}, {"scaled", false}, {"hz", 60}}}}}};
}

json overrideOf(const char* id, const char* port) {
    return {{"pendingOnly", true},
            {"displayVisibilityOverrides",
             {{{"canonicalID", id}, {"hardwareID", id}, {"portUUID", port}, {"enabled", false}}}}};
}

const std::vector<State> states = {
    {"an arrangement that is in force", {{"State/.display-originals", arrangement}}, ""},
    {"an exact arrangement",
     {{"State/.display-originals", arrangement}},
     "Arrangement\n  Display 2 - 4/5, ID 2\n    Origin: 100, 80 -> 100, 20\n"
     "  waits: the next run, within a minute\n",
     zigzag()},
    {"a zigzag without a record, put into a row",
     {},
     "Arrangement\n  Display 2 - 4/5, ID 2\n    Origin: 100, 80 -> 100, 0\n"
     "  waits: the next run, within a minute\n",
     zigzag()},
    {"arrangements of other displays only, in a layout that is marked",
     {{"State/.display-originals", otherArrangement}, {"State/side-pinned-sets.json", layoutMark}},
     "Arrangement\n  waits: no saved arrangement fits the displays that are connected\n"},
    {"a layout that is marked and saved",
     {{"State/.display-originals", parsed(R"({"version": 2, "arrangements": {
           "HW-1-2-3,HW-4-5-6": [{"uuid": "HW-1-2-3", "x": 10, "y": 0},
                                 {"uuid": "HW-4-5-6", "x": 110, "y": 0}],
           "HW-4-5-6": [{"uuid": "HW-4-5-6", "x": 0, "y": 80}]}})")},
      {"State/side-pinned-sets.json", layoutMark}},
     "Arrangement\n  waits: the displays stand as saved; only a mark of theirs is left to "
     "remove\n"},
    {"a mark that is out of date",
     {{"State/separated-sets.json",
       parsed(R"({"version": 1, "signatures": ["HW-1-2-3,HW-4-5-6"]})")}},
     "Arrangement\n  waits: the displays are in order; only their mark is left to remove\n"},
    {"a mark of other displays",
     {{"State/separated-sets.json", parsed(R"({"version": 1, "signatures": ["HW-7-8-9"]})")}},
     ""},
    {"originals that cannot be read",
     {{"State/.display-originals", "{"}},
     "Arrangement\n  waits: a record cannot be read: originals file missing/wrong "
     "version/unparseable, starting fresh\n"},
    {"a mode",
     {{modes, modeOf("HW-4-5-6", 200, 160)}},
     "Display modes\n  Display 2 - 4/5, ID 2\n    Mode: 100 x 80, 60 Hz -> 200 x 160, 60 Hz\n"
     "  waits: the next run, within a minute\n"},
    {"a mode that is in force",
     {{modes, modeOf("HW-4-5-6", 100, 80)}},
     "Display modes\n  waits: everything is as recorded; only the record is left to remove\n"},
    {"a mode that the display lacks",
     {{modes, modeOf("HW-4-5-6", 300, 200)}},
     "Display modes\n  waits: HW-4-5-6 has no mode 300 x 200 @ 60 Hz now\n"},
    {"a mode of an absent display",
     {{modes, modeOf("HW-7-8-9", 300, 200)}},
     "Display modes\n  HW-7-8-9, not connected\n    Mode: 300 x 200 @ 60 Hz\n"
     "  waits: HW-7-8-9 is not connected\n"},
    {"modes that cannot be read",
     {{modes, "[]"}},
     "Display modes\n  waits: a record cannot be read: resolution originals file missing/wrong "
     "version/unparseable, starting fresh\n"},
    {"the menu bar's global setting",
     {{menuBar, parsed(R"({"hideMenuBar": 0})")}},
     "Menu bar\n  Hides itself: yes -> no\n  Hides itself, as stored: true -> false\n"
     "  waits: the next run, within a minute\n",
     {{"menuBar", {{"autoHide", true}}},
      {"preferences", {{"global", {{"_HIHideMenuBar", true}}}}}}},
    {"a display's menu bar",
     {{menuBar, overrideOf("HW-4-5-6", "AAAAAAAA-0000-4000-8000-000000000002")}},
     "Menu bar\n  Display 2 - 4/5, ID 2\n    Menu bar: shown -> hidden\n"
     "  waits: the next run, within a minute\n"},
    {"the menu bar of an absent display",
     {{menuBar, overrideOf("HW-7-8-9", "AAAAAAAA-0000-4000-8000-000000000009")}},
     "Menu bar\n  HW-7-8-9, not connected\n    Menu bar: hidden\n"
     "  waits: HW-7-8-9 is not connected\n"},
    {"a display's menu bar without the functions",
     {{menuBar, overrideOf("HW-4-5-6", "AAAAAAAA-0000-4000-8000-000000000002")}},
     "Menu bar\n  waits: this macOS lacks functions for the menu bar of single displays\n",
     {{"unavailable", {"SkyLight"}}}},
    {"a menu bar snapshot that cannot be read",
     {{menuBar, "{"}},
     "Menu bar\n  waits: a record cannot be read: menu bar snapshot at "},
    {"hot corners",
     {{corners, parsed(R"({"tlCorner": 5, "tlModifier": 0})")}},
     "Hot corners\n  Top left: nothing (1) -> start screen saver (5)\n"
     "  Top left, as stored: not set -> start screen saver (5)\n"
     "  waits: the next run, within a minute\n",
     {{"dock", {{"cornerActions", {1, 1, 1, 1}}}}}},
    {"hot corners without the functions",
     {{corners, parsed(R"({"tlCorner": 5})")}},
     "Hot corners\n  Top left, as stored: not set -> start screen saver (5)\n"
     "  waits: this macOS lacks functions for the running Dock's hot corners\n",
     {{"unavailable", {"HIServices"}}}},
    {"a hot corner snapshot that cannot be read",
     {{corners, "[]"}},
     "Hot corners\n  waits: a record cannot be read: hot-corner snapshot at "},
    {"a hold",
     {{"State/hot-corner-screen-saver-hold", "1"}},
     "Screen saver\n  Hot corners\n    The screen saver's own: held back -> in force\n"
     "  waits: the next run, within a minute\n"},
    {"the Dock", hiddenDock,
     "Dock\n  Hides itself: no -> yes\n  waits: the next run, within a minute\n"},
    {"the Dock as recorded",
     {{dock, parsed(R"({"version": 1, "restoreTo": false})")}},
     "Dock\n  waits: everything is as recorded; only the record is left to remove\n"},
    {"a Dock record that cannot be read",
     {{dock, "{}"}},
     "Dock\n  waits: the record cannot be read; the next run removes it\n"},
};

TEST(Health, DescribesEachRecordInEachOfItsStates) {
    for (const State& state : states) {
        const Found result = found(state.files, state.mac);
        const std::size_t list = result.text.find("\n\n");
        const std::string said = list == std::string::npos ? "" : result.text.substr(list + 2);
        EXPECT_EQ(said.substr(0, std::string(state.said).size()), state.said) << state.what;
        EXPECT_EQ(said.empty(), std::string(state.said).empty()) << state.what << ": " << said;
        EXPECT_EQ(result.health.exitStatus(), said.empty() ? 0 : 1) << state.what;
    }
}

TEST(Health, TwinsThatCannotBeToldApartKeepTheRecord) {
    json displays = twoDisplays();
    displays[1]["vendor"] = 1;
    displays[1]["model"] = 2;
    displays[1]["serial"] = 3;
    EXPECT_THAT(found({{menuBar, overrideOf("HW-1-2-3", "AAAAAAAA-0000-4000-8000-000000000009")}},
                      {{"displays", displays}})
                    .text,
                testing::HasSubstr("waits: several displays may be HW-1-2-3\n"));
}

TEST(Health, RecordsWaitForTolvaranAndForAHelper) {
    const json running = {{"applications", {{{"bundle", "com.morvelli.Tolvaran"}, {"pid", 812}}}}};
    const Found waiting = found(hiddenDock, running);
    EXPECT_THAT(waiting.text, testing::HasSubstr("Tolvaran is running (process 812).\n1 record"));
    EXPECT_THAT(waiting.text, testing::EndsWith("yes\n  waits: Tolvaran is running\n"));
    const Found dead = found(hiddenDock, running, start, noProcessExists);
    EXPECT_EQ(dead.health.exitStatus(), 2);
    EXPECT_THAT(dead.text, testing::EndsWith("yes\n  waits: Tolvaran is running\n"
                                             "  waits: no helper is running\n"));
}

TEST(Health, QuotesWhatTheLastRunFailedAt) {
    const json files = {{dock, parsed(R"({"version": 1, "restoreTo": true})")},
                        {corners, parsed(R"({"tlCorner": 5})")},
                        {modes, modeOf("HW-4-5-6", 200, 160)},
                        {menuBar, parsed(R"({"hideMenuBar": 1})")},
                        {"State/hot-corner-screen-saver-hold", "1"}};
    const std::string log =
        start + line("warn", "resolution restore: of an earlier run") + endOfRun +
        line("info", "Tolvaran launched (pid 3)") +
        line("error", "checkInvariant [safety-tick]: rejected") +
        line("warn", "resolution restore: apply failed") +
        line("warn", "CGSSetMenuBarAutohideEnabled returned 1000") +
        line("warn", "restoreMenuBar [safety-tick]: CGS apply failed; snapshot kept") +
        line("warn", "screen-saver hot-corner hold marker could not be removed (x)") +
        line("warn", "hot-corner restore could not be verified") +
        line("error", "restoreHotCorners [safety-tick]: gave up: out of memory") +
        line("error", "restoreDockAutoHide [safety-tick]: gave up: out of memory") +
        line("info", "restoreDockAutoHide [safety-tick]: marker found, restoring") +
        line("warn", "restoreCursorAssociation [safety-tick]: refused") +
        line("warn", "hot-corner of a run that goes on");
    const Health health = found(files, zigzag(), log).health;
    std::vector<std::string> reasons;
    for (const describe::WaitingRecord& record : health.waiting) {
        for (const std::string& reason : record.reasons) {
            reasons.push_back(record.title + ": " + reason);
        }
    }
    EXPECT_THAT(
        reasons,
        testing::ElementsAre(
            "Arrangement: the last run says: checkInvariant [safety-tick]: rejected",
            "Display modes: the last run says: resolution restore: apply failed",
            "Menu bar: the last run says: CGSSetMenuBarAutohideEnabled returned 1000",
            "Menu bar: the last run says: restoreMenuBar [safety-tick]: CGS apply failed; snapshot "
            "kept",
            "Screen saver: the last run says: screen-saver hot-corner hold marker could not be "
            "removed (x)",
            "Hot corners: the last run says: hot-corner restore could not be verified",
            "Hot corners: the last run says: restoreHotCorners [safety-tick]: gave up: out of "
            "memory",
            "Dock: the last run says: restoreDockAutoHide [safety-tick]: gave up: out of memory"));
}

/// The facts of the group with this title, of a display or of anything else.
std::vector<simulator::report::Fact> factsOf(const std::string& title, const json& before,
                                             const json& after) {
    for (const auto& groups : {simulator::report::displayFacts(before, after),
                               simulator::report::deskFacts(before, after)}) {
        for (const auto& group : groups) {
            if (group.title == title) {
                return group.facts;
            }
        }
    }
    return {};
}

TEST(Health, WhatWouldBePutBackIsWhatTheNextRunPutsBack) {
    for (const State& state : states) {
        const FoundMac mac = macWith(state.files, state.mac);
        Health before;
        mac.visit([&] { before = describe::checkHealth(isHelper); });
        const FoundMac restored(simulator::readScenario(
            {{"mac", mac.mac()}, {"files", state.files.is_null() ? json::object() : state.files}},
            "", ""));
        for (const describe::WaitingRecord& record : before.waiting) {
            for (const auto& group : record.changes) {
                if (!group.title.ends_with("not connected") && record.title != "Screen saver") {
                    EXPECT_THAT(factsOf(group.title, mac.mac(), restored.mac()),
                                testing::IsSupersetOf(group.facts))
                        << state.what;
                }
            }
        }
    }
}

TEST(Health, HasColourAndJSON) {
    const Found waiting = found(hiddenDock);
    const std::string coloured = describe::healthText(waiting.health, {true, true, true, 80});
    EXPECT_THAT(coloured, testing::StartsWith("\x1b[1;32mThe helper is alive.\x1b[0m"));
    EXPECT_THAT(coloured, testing::HasSubstr("Hides itself: no → yes"));
    EXPECT_EQ(waiting.text.find('\x1b'), std::string::npos);
    EXPECT_EQ(describe::healthJSON(waiting.health), parsed(R"({
        "status": 1,
        "helper": {"state": "alive", "heartbeatAge": 0.0, "pid": 501,
                   "started": "2026-01-01 00:00:00.000"},
        "tolvaran": null,
        "lacking": [],
        "waiting": [{"record": "Dock", "file": "State/dock-autohide-pending.json",
                     "changes": [{"of": "Dock", "facts": [
                         {"fact": "Hides itself", "now": "no", "then": "yes"}]}],
                     "reasons": ["the next run, within a minute"]}]})"));
}

}  // namespace
}  // namespace tolvaran
