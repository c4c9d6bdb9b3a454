#include "player/player.hpp"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <map>

#include "tests/simulator/simulator_test.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

class Player : public SimulatorTest {};

constexpr const char* marker = "State/dock-autohide-pending.json";

/// A scenario with a crash, with these keys in place of its own.
json crash(const char* keys = "{}") {
    json document = json::parse(R"({
        "mac": {"applications": [{"bundle": "com.morvelli.Tolvaran", "pid": 812}]},
        "files": {"State/dock-autohide-pending.json": {"version": 1, "restoreTo": true}},
        "timeline": [{"at": 5, "exit": 812}]})");
    document.update(json::parse(keys));
    return document;
}

Outcome playQuietly(const json& document, std::optional<std::string> root = std::nullopt) {
    return play(readScenario(document, "", "test"), {std::move(root), true});
}

std::vector<std::string> names(const json& list, const char* key) {
    std::vector<std::string> all;
    for (const json& entry : list) {
        all.push_back(entry[key]);
    }
    return all;
}

TEST_F(Player, PlaysACrash) {
    const json result = playQuietly(crash()).result;
    EXPECT_THAT(
        names(result["calls"], "call"),
        testing::IsSupersetOf({"CoreDockGetAutoHideEnabled", "CoreDockSetAutoHideEnabled"}));
    EXPECT_EQ(result["mac"]["dock"]["autoHide"], true);
    EXPECT_EQ(result["mac"]["applications"], json::array());
    EXPECT_FALSE(result["files"].contains(marker));
    EXPECT_TRUE(result["files"].contains("State/.helper-heartbeat"));
    EXPECT_EQ(result["notifications"], json::array());
    EXPECT_EQ(result["log"][0],
              (json{{"at", 0}, {"level", "info"}, {"message", "Helper starting (pid 501)"}}));
    EXPECT_THAT(names(result["log"], "message"),
                testing::Contains("dock auto-hide restoreIfPending: forced back to true"));
}

json observed(const json& document) {
    return play(readScenario(document, "", "test"), {.quiet = true, .observes = true}).result;
}

TEST_F(Player, ReportsHowTheScenarioWasPlayed) {
    const json document = crash(R"({"until": 5.5, "timeline": [
        {"at": 5, "exit": 812}, {"at": 2, "wake": true}, {"at": 9, "wake": true}]})");
    const json result = observed(document);
    EXPECT_EQ(result["scenario"], (json{{"name", "test"}, {"clock", "virtual"}, {"until", 5.5}}));
    EXPECT_EQ(result["timeline"], (json{{{"at", 2}, {"wake", true}}, {{"at", 5}, {"exit", 812}}}))
        << "as played: in the order of time, without what comes after the end";
    EXPECT_FALSE(playQuietly(document).result.contains("timeline")) << "unless it was asked for";
}

TEST_F(Player, PassesOnWhatTheScenarioSaysAboutItself) {
    json told = observed(crash(R"({"about": {"macOS": "14.1"},
        "log": ["[2026-01-01 10:00:00.000] [   1.500] [helper] [warn] said", "no line"]})"));
    json& facts = told["scenario"];
    EXPECT_EQ(facts["about"], (json{{"macOS", "14.1"}}));
    EXPECT_EQ(facts["log"],
              (json{{{"time", "2026-01-01 10:00:00.000"}, {"level", "warn"}, {"message", "said"}},
                    {{"time", ""}, {"level", ""}, {"message", "no line"}}}));
    facts.erase("about");
    facts.erase("log");
    EXPECT_EQ(told, observed(crash())) << "and does not act on it";
}

TEST_F(Player, WritesBytesThatAreNotText) {
    json document = {
        {"files", {{"State/a", {{"$data", "/wB7"}}}}},
        {"timeline",
         {{{"at", 0.5}, {"write", {{"path", "State/b"}, {"content", {{"$data", "/w=="}}}}}}}}};
    const TemporaryDirectory root;
    playQuietly(document, root.path());
    EXPECT_EQ(readFile(root.path() + "/ApplicationSupport/State/a"), std::string("\xff\0{", 3));
    EXPECT_EQ(readFile(root.path() + "/ApplicationSupport/State/b"), "\xff");
}

TEST_F(Player, TheOrderNamesWhatHappenedOneByOne) {
    const json result = observed(crash());
    std::map<std::string, std::size_t> found;
    for (const json& word : result["order"]) {
        ++found[word];
    }
    EXPECT_EQ(found["event"], result["timeline"].size());
    EXPECT_EQ(found["log"], result["log"].size());
    EXPECT_EQ(found["call"], result["calls"].size());
    EXPECT_EQ(found.size(), 3U);
    // The application ends; later the Dock is read and set between two lines of the log.
    EXPECT_EQ(result["order"], (json{"log", "log", "log", "event", "log", "log", "log", "log",
                                     "call", "call", "log", "log", "call", "log"}));
}

TEST_F(Player, ReportsTheMacBeforeTheHelperChangedIt) {
    const json before = observed(crash(R"({"timeline": [
        {"at": 5, "exit": 812}, {"at": 1, "wake": true}, {"at": 3, "set": {"cursorAssociated": false}},
        {"at": 9, "set": {"dock": {"autoHide": false}}}]})"))["before"];
    EXPECT_EQ(before["at"], 5.2);
    EXPECT_EQ(before["mac"]["cursorAssociated"], false);
    EXPECT_EQ(before["mac"]["dock"]["autoHide"], false);
    EXPECT_EQ(before["mac"]["applications"], json::array()) << "it had ended by then";
    EXPECT_TRUE(before["files"].contains(marker));
    EXPECT_TRUE(before["files"].contains("State/.helper-heartbeat"));
}

TEST_F(Player, BeforeIsTheEndWhenTheHelperChangesNothing) {
    const json result = observed(crash(R"({"until": 3, "timeline": [
        {"at": 1, "set": {"cursorAssociated": false}},
        {"at": 2, "write": {"path": "State/other", "content": "x"}}]})"));
    EXPECT_EQ(result["before"],
              (json{{"at", 3}, {"mac", result["mac"]}, {"files", result["files"]}}));
}

TEST_F(Player, WhatTheHelperChangesAtItsStartHasABefore) {
    const json result = observed(crash(R"({"mac": {"cursorAssociated": false}, "timeline": []})"));
    EXPECT_EQ(result["before"]["at"], 0);
    EXPECT_EQ(result["before"]["mac"]["cursorAssociated"], false);
    EXPECT_TRUE(result["before"]["files"].contains(marker));
    EXPECT_EQ(result["mac"]["cursorAssociated"], true);
}

// The helper waits in the middle of its work for an override that never shows; meanwhile something
// else dissociates the cursor. Neither is a change that the helper made.
TEST_F(Player, WhatOthersChangeWhileTheHelperWaitsIsNotItsDoing) {
    json document = json::parse(R"({
        "mac": {"displays": [{"id": 1, "frame": [0, 0, 1512, 982], "menuBarOverride": false,
                              "portUUID": "37D8832A-2D66-02CA-B9F7-8F30A301B230"}]},
        "files": {"State/menubar-state.json": {"hideMenuBar": 0, "displayVisibilityOverrides": [
            {"canonicalID": "37D8832A-2D66-02CA-B9F7-8F30A301B230",
             "portUUID": "37D8832A-2D66-02CA-B9F7-8F30A301B230", "enabled": true}]}},
        "faults": [{"call": "SLSSetMenuBarVisibilityOverrideOnDisplay", "effect": false},
                   {"call": "CFPreferencesSetValue", "effect": false}],
        "timeline": [{"at": 0.03, "set": {"cursorAssociated": false}}]})");
    const json result = observed(document);
    const json& order = result["order"];
    ASSERT_GT(order.size(), 0U);
    EXPECT_NE(order.back(), "event");
    EXPECT_EQ(result["before"]["mac"]["cursorAssociated"], false);
    EXPECT_EQ(result["before"]["at"], 0.03);
}

TEST_F(Player, EveryVirtualRunIsTheSame) {
    const json first = playQuietly(crash()).result;
    EXPECT_EQ(playQuietly(crash()).result, first);
    EXPECT_GT(first["log"].size(), 4U);
}

TEST_F(Player, TheLogNamesFilesByTheirPathBelowTheDirectory) {
    const json document =
        crash(R"({"files": {"State/menubar-state.json": "torn"}, "timeline": [], "mac": {}})");
    const json first = playQuietly(document).result;
    const std::vector<std::string> messages = names(first["log"], "message");
    EXPECT_THAT(messages, testing::Contains(testing::StartsWith(
                              "menu bar snapshot at State/menubar-state.json failed to decode: ")));
    EXPECT_THAT(messages, testing::Each(testing::Not(testing::HasSubstr("ApplicationSupport"))));
    EXPECT_EQ(playQuietly(document).result["log"], first["log"]);
}

TEST_F(Player, RunsUntilTheEnd) {
    EXPECT_EQ(playQuietly(crash(R"({"until": 5.1})")).result["mac"]["dock"]["autoHide"], false)
        << "the restore comes 0.2 s after the exit";
    const json log = playQuietly(crash(R"({"until": 3600})")).result["log"];
    EXPECT_EQ(log.back()["at"], 3600);
}

TEST_F(Player, EventsOfTimeZeroComeBeforeTheHelperStarts) {
    const json result = playQuietly(crash(R"({"mac": {}, "timeline": [
        {"at": 0, "launch": {"bundle": "com.morvelli.Tolvaran", "pid": 5}},
        {"at": 0, "write": {"path": "State/dock-autohide-pending.json", "content": "torn"}}]})"))
                            .result;
    EXPECT_THAT(names(result["log"], "message"),
                testing::Contains("Tolvaran already running at helper start (pid 5)"));
    EXPECT_EQ(result["files"][marker], "torn");
}

TEST_F(Player, ComparesWithWhatIsExpected) {
    json document = crash(R"({"expect": {"mac": {"dock": {"autoHide": true}},
                                         "files": {"State/dock-autohide-pending.json": null}}})");
    EXPECT_THAT(playQuietly(document).failures, testing::IsEmpty());
    document["expect"]["mac"]["dock"]["autoHide"] = false;
    EXPECT_THAT(playQuietly(document).failures,
                testing::ElementsAre("expect.mac.dock.autoHide: expected false, found true"));
}

TEST_F(Player, FaultsMeetTheHelper) {
    const json result = playQuietly(crash(R"({"faults": [
        {"call": "CoreDockSetAutoHideEnabled", "effect": false},
        {"call": "unlink", "result": "EACCES"}]})"))
                            .result;
    EXPECT_EQ(result["mac"]["dock"]["autoHide"], false);
    EXPECT_TRUE(result["files"].contains(marker));
    EXPECT_FALSE(playQuietly(crash()).result["files"].contains(marker))
        << "the faults ended with their run";
}

TEST_F(Player, FilesComeFromADirectoryAndThenFromTheScenario) {
    const TemporaryDirectory directory;
    writeFile(directory / "from/State/dock-autohide-pending.json", "overwritten");
    writeFile(directory / "from/Settings/deep/other.txt", "kept");
    json document = crash();
    document["filesFrom"] = directory / "from";
    const json result = playQuietly(document).result;
    EXPECT_EQ(result["mac"]["dock"]["autoHide"], true);
    EXPECT_EQ(result["files"]["Settings/deep/other.txt"], "kept");
    EXPECT_EQ(readFile(directory / "from/State/dock-autohide-pending.json"), "overwritten");
}

TEST_F(Player, TheRootIsKept) {
    const TemporaryDirectory directory;
    playQuietly(crash(), directory / "root");
    EXPECT_TRUE(readFile(directory / "root/ApplicationSupport/State/.helper-heartbeat"));
    EXPECT_THAT(readFile(directory / "root/Logs/tolvaran-helper.log").value_or(""),
                testing::HasSubstr("Helper starting"));
}

TEST_F(Player, LeavesNoTrace) {
    const TemporaryDirectory temporary;
    const ScopedEnvironment where("TMPDIR", temporary.path());
    const ScopedEnvironment support("TOLVARAN_APPLICATION_SUPPORT_DIR", "/mine");
    const ScopedEnvironment config("TOLVARAN_CONFIG_DIR", "/mine/too");
    const ScopedEnvironment logs("TOLVARAN_LOGS_DIR", std::nullopt);
    const std::size_t live = liveObjects();
    playQuietly(crash());
    EXPECT_THAT(temporary.list(), testing::IsEmpty());
    EXPECT_STREQ(std::getenv("TOLVARAN_APPLICATION_SUPPORT_DIR"), "/mine");
    EXPECT_STREQ(std::getenv("TOLVARAN_CONFIG_DIR"), "/mine/too");
    EXPECT_EQ(std::getenv("TOLVARAN_LOGS_DIR"), nullptr);
    EXPECT_EQ(liveObjects(), live);
    EXPECT_NE(getpid(), 501);
}

TEST_F(Player, TheHelpersLogGoesToStandardErrorUnlessQuiet) {
    testing::internal::CaptureStderr();
    play(readScenario(crash(), "", "test"), {std::nullopt, false});
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("Helper starting"));
    testing::internal::CaptureStderr();
    playQuietly(crash());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Player, WithTheRealClockARealProcessIsKilled) {
    const json document = json::parse(R"({
        "clock": "real",
        "files": {"State/dock-autohide-pending.json": {"version": 1, "restoreTo": true}},
        "timeline": [{"at": 0, "launch": {"bundle": "com.morvelli.Tolvaran", "as": "app"}},
                     {"at": 0.1, "exit": "app"}],
        "until": 0.6})");
    const json result = playQuietly(document).result;
    EXPECT_EQ(result["mac"]["dock"]["autoHide"], true);
    EXPECT_FALSE(result["files"].contains(marker));
    const std::string pid = std::to_string(getpid());
    EXPECT_EQ(result["log"][0]["message"], "Helper starting (pid " + pid + ")");
}

TEST_F(Player, ARunThatItsOwnReconfigurationsKeepGoingReachesItsEnd) {
    // Each of two arrangements undoes the other, so that every restore causes the next.
    const json document = json::parse(R"({
        "mac": {"displays": [
            {"id": 1, "vendor": 1, "model": 1, "serial": 1, "frame": [0, 0, 1000, 800]},
            {"id": 2, "vendor": 1, "model": 1, "serial": 2, "frame": [1000, 800, 1000, 800]},
            {"id": 3, "vendor": 1, "model": 1, "serial": 3, "frame": [2000, 800, 1000, 800]}]},
        "files": {"State/.display-originals": {"version": 2, "arrangements": {
            "HW-1-1-2,HW-1-1-3": [{"uuid": "HW-1-1-2", "x": 1000, "y": 800},
                                  {"uuid": "HW-1-1-3", "x": 2000, "y": 800}],
            "HW-1-1-2": [{"uuid": "HW-1-1-2", "x": -1000, "y": -800}]}}},
        "timeline": [{"at": 1, "write": {"path": "State/end", "content": "reached"}}],
        "until": 1})");
    const json result = playQuietly(document).result;
    EXPECT_GT(result["log"].size(), 50U);
    EXPECT_EQ(result["files"]["State/end"], "reached");
    EXPECT_EQ(playQuietly(document).result, result);
}

TEST_F(Player, EventsThatCannotHappenAreErrors) {
    const auto thrown = [](const json& document) {
        return thrownBy<ScenarioError>([&] { playQuietly(document); });
    };
    EXPECT_EQ(thrown(crash(R"({"timeline": [{"at": 1, "exit": 4711}]})")),
              "timeline[0].exit: no application with this pid is running");
    json document = crash();
    document["files"]["State"] = "a file where a directory must be";
    EXPECT_THAT(thrown(document), testing::StartsWith("files: "));
    EXPECT_EQ(playQuietly(crash()).result["mac"]["dock"]["autoHide"], true)
        << "the next run is not disturbed";
}

}  // namespace
}  // namespace tolvaran::tests
