#include "player/scenario.hpp"

#include "simulator/simulator.hpp"
#include "tests/simulator/simulator_test.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

class ScenarioReading : public SimulatorTest {};

Scenario read(const json& document, const std::string& directory = "") {
    return readScenario(document, directory, "file.json");
}

TEST_F(ScenarioReading, EverythingHasADefault) {
    const Scenario scenario = read(json::object());
    EXPECT_EQ(scenario.name, "file.json");
    EXPECT_EQ(scenario.clock, clock::Kind::virtualTime);
    EXPECT_EQ(scenario.until, clock::second);
    EXPECT_TRUE(scenario.timeline.empty());
    EXPECT_EQ(scenario.filesFrom, std::nullopt);
}

TEST_F(ScenarioReading, TheEndIsASecondAfterTheLastEvent) {
    const struct {
        const char* document;
        double until;
    } rows[] = {
        {R"({"timeline": [{"at": 0, "wake": true}]})", 1},
        {R"({"timeline": [{"at": 5, "wake": true}, {"at": 2.5, "wake": true}]})", 6},
        {R"({"timeline": [{"at": 5, "wake": true}], "until": 3})", 3},
        {R"({"until": 0})", 0},
    };
    for (const auto& [document, until] : rows) {
        EXPECT_EQ(read(json::parse(document)).until, clock::fromSeconds(until)) << document;
    }
}

TEST_F(ScenarioReading, MalformedScenariosAreRefused) {
    const struct {
        const char* document;
        const char* message;
    } rows[] = {
        {"[]", "the document: must be an object"},
        {"null", "the document: must be an object"},
        {R"({"names": "a"})", "names: unknown key"},
        {R"({"name": 1})", "name: must be a string"},
        {R"({"clock": "fast"})", R"(clock: must be "virtual" or "real")"},
        {R"({"clock": 1})", "clock: must be a string"},
        {R"({"mac": []})", "mac: must be an object"},
        {R"({"mac": {"displays": [{"id": 1, "frame": [0, 0, 1, 1]},
                                  {"id": 1, "frame": [1, 0, 1, 1]}]}})",
         "mac.displays[1]: has the same id as an earlier one"},
        {R"({"mac": {"screens": []}})", "mac.screens: unknown key"},
        {R"({"files": []})", "files: must be an object"},
        {R"({"files": {"/etc/passwd": ""}})",
         "files./etc/passwd: must be a path relative to the application-support directory, and "
         "below it"},
        {R"({"files": {"../a": ""}})",
         "files.../a: must be a path relative to the application-support directory, and below it"},
        {R"({"files": {"State/a": {"$data": "?"}}})", "files.State/a: must be base64"},
        {R"({"about": "a Mac"})", "about: must be an object"},
        {R"({"log": {}})", "log: must be a list"},
        {R"({"log": [1]})", "log[0]: must be a string"},
        {R"({"filesFrom": 1})", "filesFrom: must be a string"},
        {R"({"filesFrom": "/no/such"})", "filesFrom: there is no directory /no/such"},
        {R"({"timeline": {}})", "timeline: must be a list"},
        {R"({"timeline": [1]})", "timeline[0]: must be an object"},
        {R"({"timeline": [{"wake": true}]})", "timeline[0].at: is missing"},
        {R"({"timeline": [{"at": -0.1, "wake": true}]})", "timeline[0].at: must not be negative"},
        {R"({"timeline": [{"at": 1e30, "wake": true}]})", "timeline[0].at: is too far away"},
        {R"({"timeline": [{"at": "0", "wake": true}]})", "timeline[0].at: must be a number"},
        {R"({"timeline": [{"at": 0, "wake": true}, {"at": 0}]})", "timeline[1]: has no event"},
        {R"({"timeline": [{"at": 0, "sleep": true}]})", "timeline[0].sleep: unknown event"},
        {R"({"timeline": [{"at": 0, "launch": {"bundle": "a"}}]})",
         "timeline[0].launch.pid: is missing"},
        {R"({"clock": "real", "timeline": [{"at": 0, "launch": {"bundle": "a", "pid": 1}}]})",
         "timeline[0].launch.pid: unknown key"},
        {R"({"until": -1})", "until: must not be negative"},
        {R"({"until": true})", "until: must be a number"},
        {R"({"faults": {}})", "faults: must be a list"},
        {R"({"faults": [{"result": 1}]})", "faults[0].call: is missing"},
        {R"({"faults": [{"call": "open", "result": 1}, {"call": "open", "results": 1}]})",
         "faults[1].results: unknown key"},
        {R"({"expect": []})", "expect: must be an object"},
        {R"({"expect": {"logs": []}})", "expect.logs: unknown key"},
        {R"({"expect": {"log": {}}})", "expect.log: must be a list"},
        {R"({"expect": {"log": [{"level": "info"}]}})", "expect.log[0]: must be a string"},
        {R"({"expect": {"calls": {}}})", "expect.calls: must be a list"},
        {R"({"expect": {"notifications": null}})", "expect.notifications: must be a list"},
        {R"({"expect": {"mac": []}})", "expect.mac: must be an object"},
        {R"({"expect": {"files": "a"}})", "expect.files: must be an object"},
    };
    for (const auto& [document, message] : rows) {
        EXPECT_EQ(thrownBy<ScenarioError>([&, text = document] { read(json::parse(text)); }),
                  message);
    }
}

TEST_F(ScenarioReading, FilesFromIsRelativeToTheScenario) {
    const TemporaryDirectory directory;
    writeFile(directory / "state/a", "");
    writeFile(directory / "scenario.json", R"({"filesFrom": "state"})");
    EXPECT_EQ(loadScenario(directory / "scenario.json").filesFrom, directory / "state");
}

TEST_F(ScenarioReading, FilesThatAreNotJSONAreRefused) {
    const TemporaryDirectory directory;
    const auto messageFor = [&](const std::string& content) {
        writeFile(directory / "scenario.json", content);
        return thrownBy<ScenarioError>([&] { loadScenario(directory / "scenario.json"); });
    };
    EXPECT_THAT(messageFor("{"), testing::HasSubstr("parse error"));
    EXPECT_THAT(messageFor(""), testing::HasSubstr("parse error"));
    EXPECT_THAT(messageFor("{\"name\": \"\xFF\"}"), testing::HasSubstr("parse error"));
    EXPECT_THAT(messageFor("{\"until\": 1e999}"), testing::HasSubstr("out_of_range"));
    EXPECT_EQ(messageFor(std::string(100000, '[')), "nested more than 100 levels deep");
    for (const std::string& path : {directory / "missing.json", directory.path()}) {
        EXPECT_EQ(thrownBy<ScenarioError>([&] { loadScenario(path); }), "cannot be read");
    }
}

}  // namespace
}  // namespace tolvaran::tests
