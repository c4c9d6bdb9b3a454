#include "simulator/loop/timeline.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include <utility>
#include <vector>

#include "simulator/loop/clock.hpp"
#include "tests/simulator/simulator_test.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

class Timeline : public SimulatorTest {};

TEST_F(Timeline, ApplicationsComeAndGo) {
    perform({{"launch", {{"bundle", "a"}, {"pid", 5}}}});
    perform({{"launch", {{"bundle", nullptr}, {"pid", 4}}}});
    perform({{"terminated", 5}});
    EXPECT_EQ(machine()["applications"],
              json::parse(R"([{"bundle": "a", "pid": 5, "terminated": true},
                              {"bundle": null, "pid": 4, "terminated": false}])"));
    perform({{"exit", 5}});
    EXPECT_EQ(machine()["applications"].size(), 1U);
}

TEST_F(Timeline, DisplaysMoveComeAndGo) {
    perform({{"connect", {{"id", 2}, {"frame", {1440, 0, 100, 100}}}}});
    perform({{"arrange", {{"2", {-100, 5.5}}}}});
    EXPECT_EQ(machine()["displays"][1]["frame"], json::parse("[-100, 5.5, 100, 100]"));
    perform({{"disconnect", 1}});
    EXPECT_EQ(machine()["displays"].size(), 1U);
    EXPECT_EQ(machine()["mainDisplay"], 2);
}

TEST_F(Timeline, ReconfigurationsReachTheCallbacks) {
    static std::vector<std::pair<CGDirectDisplayID, CGDisplayChangeSummaryFlags>> seen;
    seen.clear();
    CGDisplayRegisterReconfigurationCallback(
        [](CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags, void*) {
            seen.emplace_back(display, flags);
        },
        nullptr);
    perform({{"reconfigure", {{"display", 9}, {"flags", 3}}}});
    advance(0);
    EXPECT_THAT(seen, testing::ElementsAre(std::pair(9U, 3U)));
}

TEST_F(Timeline, SettingIsSilent) {
    perform({{"set", {{"dock", {{"autoHide", true}}}}}});
    EXPECT_EQ(machine()["dock"]["autoHide"], true);
    EXPECT_EQ(calls(), json::array());
}

TEST_F(Timeline, FilesAreWrittenAndRemoved) {
    const TemporaryDirectory directory;
    const ScopedEnvironment root("TOLVARAN_APPLICATION_SUPPORT_DIR", directory.path());
    perform({{"write", {{"path", "State/a.json"}, {"content", {{"b", 1}}}}}});
    perform({{"write", {{"path", "text"}, {"content", "{torn"}}}});
    EXPECT_EQ(readFile(directory / "State/a.json"), R"({"b":1})");
    EXPECT_EQ(readFile(directory / "text"), "{torn");
    perform({{"remove", "State/a.json"}});
    EXPECT_EQ(readFile(directory / "State/a.json"), std::nullopt);
    EXPECT_EQ(thrownBy([] {
                  perform({{"remove", "State/a.json"}});
              }).substr(0, 25),
              "remove: there is no file ");
}

TEST_F(Timeline, WithTheRealClockNamesStandForProcesses) {
    clock::restart(clock::Kind::realTime);
    perform({{"launch", {{"bundle", "a"}, {"as", "first"}}}});
    perform({{"launch", {{"bundle", "a"}}}});
    EXPECT_EQ(thrownBy([] {
                  perform({{"exit", "second"}});
              }),
              "exit: no earlier launch has given this name");
    EXPECT_EQ(thrownBy([] {
                  perform({{"launch", {{"bundle", "a"}, {"pid", 5}}}});
              }),
              "launch.pid: unknown key");
    perform({{"exit", "first"}});
    advance(0.1);
    EXPECT_EQ(machine()["applications"].size(), 1U);
}

TEST_F(Timeline, MalformedEventsAreRefused) {
    const struct {
        const char* event;
        const char* message;
    } rows[] = {
        {"[]", "the document: must be an object"},
        {"{}", "the document: has no event"},
        {R"({"at": 1})", "the document: has no event"},
        {R"({"sleep": true})", "sleep: unknown event"},
        {R"({"exit": 1, "wake": true})", "the document: must have exactly one event"},
        {R"({"launch": 5})", "launch: must be an object"},
        {R"({"launch": {"pid": 5}})", "launch.bundle: is missing"},
        {R"({"launch": {"bundle": "a"}})", "launch.pid: is missing"},
        {R"({"launch": {"bundle": "a", "pid": 5, "as": "b"}})", "launch.as: unknown key"},
        {R"({"launch": {"bundle": "a", "pid": -5}})",
         "launch.pid: must be a whole number from 1 to 2147483647"},
        {R"({"exit": 0})", "exit: must be a whole number from 1 to 2147483647"},
        {R"({"terminated": "a"})", "terminated: must be a whole number from 1 to 2147483647"},
        {R"({"wake": false})", "wake: must be true"},
        {R"({"wake": 1})", "wake: must be true or false"},
        {R"({"arrange": [1]})", "arrange: must be an object"},
        {R"({"arrange": {"one": [0, 0]}})", "arrange.one: the key must be a display ID"},
        {R"({"arrange": {"-1": [0, 0]}})", "arrange.-1: the key must be a display ID"},
        {R"({"arrange": {"1": [0]}})", "arrange.1: must have 2 elements"},
        {R"({"arrange": {"1": [0, true]}})", "arrange.1[1]: must be a number"},
        {R"({"connect": {"id": 2}})", "connect.frame: is missing"},
        {R"({"disconnect": "1"})", "disconnect: must be a whole number from 1 to 4294967295"},
        {R"({"reconfigure": {"display": 1}})", "reconfigure.flags: is missing"},
        {R"({"reconfigure": {"display": 1, "flags": -1}})",
         "reconfigure.flags: must be a whole number from 0 to 4294967295"},
        {R"({"set": {"displays": []}})", "set.displays: unknown key"},
        {R"({"set": {"dock": {"autoHide": 1}}})", "set.dock.autoHide: must be true or false"},
        {R"({"write": "a"})", "write: must be an object"},
        {R"({"write": {"path": "a"}})", "write.content: is missing"},
        {R"({"write": {"path": "/a", "content": ""}})",
         "write.path: must be a path relative to the application-support directory, and below it"},
        {R"({"remove": "a/../../b"})",
         "remove: must be a path relative to the application-support directory, and below it"},
        {R"({"remove": ""})",
         "remove: must be a path relative to the application-support directory, and below it"},
        {R"({"remove": "directory/"})",
         "remove: must be a path relative to the application-support directory, and below it"},
    };
    for (const auto& [event, message] : rows) {
        EXPECT_EQ(thrownBy([&, text = event] { perform(json::parse(text)); }), message);
    }
}

TEST_F(Timeline, ImpossibleEventsAreRefusedWhenTheyAreDue) {
    const ScopedEnvironment root("TOLVARAN_APPLICATION_SUPPORT_DIR", std::nullopt);
    reset(json::parse(R"({"applications": [{"bundle": "a", "pid": 5}]})"));
    const struct {
        const char* event;
        const char* message;
    } rows[] = {
        {R"({"exit": 6})", "exit: no application with this pid is running"},
        {R"({"terminated": 6})", "terminated: no application with this pid is running"},
        {R"({"exit": "a"})", "exit: no earlier launch has given this name"},
        {R"({"write": {"path": "a", "content": ""}})",
         "write: TOLVARAN_APPLICATION_SUPPORT_DIR does not name a directory"},
    };
    for (const auto& [event, message] : rows) {
        const json document = json::parse(event);
        const Event read = readEvent(JsonReader(document, ""));
        EXPECT_EQ(thrownBy<EventError>(read), message);
    }
    for (const char* const event : {R"({"connect": {"id": 1, "frame": [0, 0, 1, 1]}})",
                                    R"({"disconnect": 2})", R"({"arrange": {"2": [0, 0]}})"}) {
        const json document = json::parse(event);
        EXPECT_NE(thrownBy<EventError>(readEvent(JsonReader(document, ""))), "") << event;
    }
}

}  // namespace
}  // namespace tolvaran::tests
