#include "tools/describe/report.hpp"

#include <filesystem>
#include <fstream>

#include "tests/tools/describe/describe_mac.hpp"
#include "tests/tools/describe/reported.hpp"

namespace tolvaran {
namespace {

using describe::Settings;
using nlohmann::json;
using tests::FoundMac;
using tests::playedReport;
using tests::writeFile;

constexpr const char* settingsPath = "Settings/preferences.json";

simulator::Scenario scenarioOf(const json& document) {
    return simulator::readScenario(document, "", "");
}

FoundMac crashedMac() {
    return FoundMac(simulator::loadScenario(TOLVARAN_SCENARIOS "/replay-example.json"));
}

/// The result of playing the Mac itself, as far as a report covers it: the helper reads no other
/// settings, and a report holds no other file.
json reportedResult(json result, const json& report) {
    for (const auto& [path, content] : report["files"].items()) {
        if (path == settingsPath && result["files"].contains(path)) {
            result["files"][path] = content;
        }
    }
    return result;
}

class EveryScenario : public testing::TestWithParam<std::string> {};

TEST_P(EveryScenario, LeavesAMacWhoseReportEndsTheSame) {
    const FoundMac found(simulator::loadScenario(GetParam()));
    const json report = found.report();
    EXPECT_EQ(playedReport(report).dump(1), reportedResult(found.played(), report).dump(1));
    EXPECT_FALSE(report["log"].empty());
}

INSTANTIATE_TEST_SUITE_P(Scenarios, EveryScenario, testing::ValuesIn(tests::scenarioPaths()),
                         tests::scenarioName);

TEST(Report, HoldsWhatTheHelperReadsAndLogged) {
    const FoundMac found = crashedMac();
    writeFile(found.file("State/.display-originals"), "\xff\x00");
    writeFile(found.file("State/below/other"), "text\n");
    const json report = found.report();
    EXPECT_EQ(report["files"]["State/.display-originals"], (json{{"$data", "/w=="}}));
    EXPECT_EQ(report["files"]["State/below/other"], "text\n");
    EXPECT_TRUE(report["files"].contains("State/.helper-heartbeat"));
    EXPECT_EQ(report["about"]["macOS"], "14.1 (23B74)");
    EXPECT_EQ(report["about"]["helper"], TOLVARAN_VERSION);
    EXPECT_EQ(report["about"]["time"], "2026-01-01 00:00:00");
    EXPECT_THAT(report["log"][0].get<std::string>(),
                testing::EndsWith("[helper] [info] Helper starting (pid 501)"));
}

TEST(Report, HoldsOnlyTheSettingsThatAreRead) {
    const FoundMac found(scenarioOf(json::object()));
    const json settings = {
        {"knownDisplays",
         {{{"ids", {"HW-1-2-3", "a"}}, {"name", "Desk"}}, {{"ids", json::array()}}}},
        {"secret", 1}};
    writeFile(found.file(settingsPath), settings.dump());
    EXPECT_EQ(found.report()["files"][settingsPath],
              json::parse(R"({"knownDisplays": [{"ids": ["HW-1-2-3", "a"]}, {"ids": []}]})"));
    EXPECT_EQ(found.report(Settings::all)["files"][settingsPath], settings);
    writeFile(found.file(settingsPath), R"({"secret": 1})");
    EXPECT_EQ(found.report()["files"][settingsPath], json::object());
}

TEST(Report, ReplacesSettingsThatCannotBeRead) {
    const FoundMac found(scenarioOf(json::object()));
    for (const char* const settings :
         {"", "{\"secret", "[]", "{\"knownDisplays\": 1, \"secret\": 1}",
          "{\"knownDisplays\": [{\"name\": \"secret\"}]}", "{\"knownDisplays\": [\"secret\"]}"}) {
        writeFile(found.file(settingsPath), settings);
        const json report = found.report();
        EXPECT_EQ(report["files"][settingsPath], "{") << settings;
        EXPECT_THAT(report["about"]["left out"],
                    testing::Contains("files.Settings/preferences.json is replaced: the helper "
                                      "cannot read it"));
        EXPECT_EQ(playedReport(report)["log"], found.played()["log"]) << settings;
        EXPECT_EQ(found.report(Settings::all)["files"][settingsPath],
                  describe::contentForm(settings));
    }
}

TEST(Report, SaysWhichFilesAreLeftOut) {
    const FoundMac found(scenarioOf(json::object()));
    std::filesystem::create_directories(found.file("State/empty"));
    std::filesystem::create_symlink("nowhere", found.file("State/dangling"));
    writeFile(found.file("State/huge"), "x");
    std::filesystem::resize_file(found.file("State/huge"), 8 * 1024 * 1024 + 1);
    const json report = found.report();
    EXPECT_THAT(report["about"]["left out"],
                testing::IsSupersetOf({"files.State/empty is left out: it is an empty directory",
                                       "files.State/dangling is left out: it cannot be read",
                                       "files.State/huge is left out: it has 8388609 bytes"}));
    EXPECT_EQ(report["files"].size(), 1U) << "the heartbeat";
}

TEST(Report, HoldsTheEndOfTheLog) {
    const FoundMac found(scenarioOf(json::object()));
    const auto lines = [](int first, int last) {
        std::string text;
        for (int i = first; i <= last; ++i) {
            text += std::to_string(i) + "\n";
        }
        return text;
    };
    json report;
    found.visit([&] {
        const std::string log =
            std::string(std::getenv("TOLVARAN_LOGS_DIR")) + "/tolvaran-helper.log";
        writeFile(log + ".prev", lines(1, 1500));
        writeFile(log, lines(1501, 2100) + "cannot read " +
                           std::getenv("TOLVARAN_APPLICATION_SUPPORT_DIR") + "/State/a \xff");
        report = describe::makeReport("", Settings::thoseRead).scenario;
    });
    EXPECT_EQ(report["log"].size(), 2000U);
    EXPECT_EQ(report["log"][0], "102");
    EXPECT_EQ(report["log"][1999], "cannot read State/a \xEF\xBF\xBD");
}

TEST(Report, EveryContentIsWrittenUnchanged) {
    for (const std::string content :
         {"", "{}", "[1.5,\"a\"]", "{\"a\" : 1}", "\"text\"", "1", "{\"$data\":\"AA==\"}",
          "{\"a\":1,\"a\":2}", "1e999", "2.0", "\xc3\xa4", "\xff", "null"}) {
        const json form = describe::contentForm(content);
        const FoundMac found(scenarioOf({{"files", {{"State/a", form}}}}));
        EXPECT_EQ(tests::readFile(found.file("State/a")), content) << form;
    }
    EXPECT_EQ(describe::contentForm("{\"a\":[1,2.5]}"), (json{{"a", {1, 2.5}}}));
    EXPECT_TRUE(describe::contentForm(std::string(2000, '[')).is_string());
    EXPECT_EQ(describe::contentForm(std::string("1\0", 2)), std::string("1\0", 2));
}

TEST(Report, EverySpoiledFileReplaysTheSame) {
    tests::forSomeSpoiledFiles(31, [](const FoundMac& found, const std::string& what) {
        EXPECT_EQ(playedReport(found.report())["log"], found.played()["log"]) << what;
    });
}

TEST(Report, SaysWhatIsPersonalInIt) {
    EXPECT_THAT(
        describe::personalContent(crashedMac().report()),
        testing::ElementsAre(
            "2 displays: names, serial numbers and UUIDs", testing::StartsWith("3 files: "),
            testing::MatchesRegex("[0-9]+ lines of the log, from 2026-01-01 00:00:00.000 to "
                                  "2026-01-01 00:00:2.*: the same, and when your Mac was "
                                  "in use")));
}

}  // namespace
}  // namespace tolvaran
