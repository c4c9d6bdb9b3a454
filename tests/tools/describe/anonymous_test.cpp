#include "tools/describe/anonymous.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/support/patterns.hpp"
#include "tests/tools/describe/reported.hpp"
#include "tools/describe/pseudonyms.hpp"

namespace tolvaran {
namespace {

using describe::Pseudonyms;
using describe::Settings;
using nlohmann::json;
using tests::FoundMac;
using tests::playedReport;
using tests::replaced;
using tests::writeFile;

const std::string home = "/Users/anna.muster";

json anonymous(const json& report) {
    const describe::Anonymous result = describe::anonymized(report, home);
    EXPECT_FALSE(result.isLeaky);
    EXPECT_THAT(result.notes, testing::IsEmpty());
    return result.scenario;
}

/// The result of a run with a placeholder for every name, so that a report's result can be compared
/// with that of its anonymous version. Files that are not JSON are compared by size.
std::string withoutNames(const json& result) {
    json comparable = result;
    for (json& content : comparable["files"]) {
        content = content.is_string() ? json(content.get<std::string>().size()) : content;
    }
    std::string text = comparable.dump(1);
    text = replaced(text, R"re(("portUUID": )"[^"]*")re", "$1UUID");
    text = replaced(text, "[0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}", "UUID");
    text = replaced(text, R"((\d+-\d+-)(\d+|S[A-Za-z0-9\x80-\xff]+))", "$1#");
    return replaced(text, R"re(("(DisplaySerialString|serial)": )[^,\n]+)re", "$1#");
}

/// Whether this report's files may give displays names of any form.
bool hasFreeNames(const json& report) {
    return report.dump().find("knownDisplays") != std::string::npos;
}

class EveryAnonymousScenario : public testing::TestWithParam<std::string> {};

TEST_P(EveryAnonymousScenario, LeavesAMacWhoseAnonymousReportEndsTheSame) {
    const FoundMac found(simulator::loadScenario(GetParam()));
    const json report = found.report();
    const json changed = anonymous(report);
    json original = playedReport(report);
    json replayed = playedReport(changed);
    for (json* const result : {&original, &replayed}) {
        for (json& display : (*result)["mac"]["displays"]) {
            EXPECT_TRUE(display.contains("serial"));
        }
    }
    EXPECT_EQ(replayed["calls"], original["calls"]);
    EXPECT_EQ(replayed["notifications"], original["notifications"]);
    if (!hasFreeNames(report)) {
        EXPECT_EQ(withoutNames(replayed), withoutNames(original));
    } else {
        EXPECT_EQ(replayed["log"].size(), original["log"].size());
        EXPECT_EQ(replayed["files"].size(), original["files"].size());
    }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, EveryAnonymousScenario,
                         testing::ValuesIn(tests::scenarioPaths()), tests::scenarioName);

/// A report in which everything is personal.
json personalReport() {
    const FoundMac found(simulator::readScenario(json::parse(R"({
        "mac": {
            "displays": [
                {"id": 1, "vendor": 1552, "model": 41040, "serial": 4251086178,
                 "portUUID": "37D8832A-2D66-02CA-B9F7-8F30A301B230", "frame": [0, 0, 100, 80]},
                {"id": 2, "vendor": 10, "model": 20, "serial": 0,
                 "portUUID": "5c0f1a4e-9b1d-4e8c-8a55-1f6d3a1b7c02", "frame": [100, 80, 100, 80]},
                {"id": 3, "vendor": 30, "model": 40, "serial": 712345,
                 "portUUID": "5C0F1A4E-9B1D-4E8C-8A55-1F6D3A1B7C03", "frame": [200, 160, 100, 80]}],
            "registry": [
                {"DisplayVendorID": 10, "DisplayProductID": 20, "DisplaySerialString": "CN0ÄF42",
                 "DisplayProductName": {"en_US": "Annas Screen", "de_DE": "Annas Schirm"}},
                {"DisplayVendorID": 30, "DisplayProductID": 40, "DisplayProductName": "Annas TV"}],
            "menuBar": {"activeDisplay": "5C0F1A4E-9B1D-4E8C-8A55-1F6D3A1B7C03"}},
        "files": {
            "Settings/preferences.json": {
                "knownDisplays": [{"ids": ["Annas left one", "HW-30-40-712345"], "name": "Anna 3"}],
                "greeting": "Hello Anna", "Anna": {"712345": 4251086178}},
            "State/.resolution-originals": {"version": 1, "entries": {
                "Annas left one": {"width": 1, "height": 2, "scaled": false, "hz": 60},
                "HW-99-99-98765432": {"width": 1, "height": 2, "scaled": false, "hz": 60}}},
            "State/separated-sets.json": "{\"version\": 1, \"signatures\": [\"Annas left one,HW-1552-41040-42510",
            "State/note": {"$data": "QW5uYf8="},
            "State/copy.json": {"portUUID": "5c0f1a4e-9b1d-4e8c-8a55-1f6d3a1b7c02",
                                "other": "12345678-9b1d-4e8c-8a55-1f6d3a1b7c02"},
            "State/number": "4251086178 and more",
            "State/menubar-state.json": {"pendingOnly": true, "displayVisibilityOverrides": [
                {"canonicalID": "HW-10-20-SCN0ÄF42", "hardwareID": "HW-10-20-SCN0ÄF42",
                 "portUUID": "12345678-9b1d-4e8c-8a55-1f6d3a1b7c02", "enabled": false}]}}})"),
                                                 "", ""));
    json report = found.report(Settings::all);
    report["log"].push_back(
        "[t] [0] [helper] [warn] cannot open /Users/anna.muster/x /Users/berta/y");
    return report;
}

TEST(Anonymous, NothingPersonalIsLeft) {
    const json report = personalReport();
    const std::string before = report.dump();
    const std::string after = anonymous(report).dump();
    for (const char* const secret :
         {"4251086178", "42510", "712345", "98765432", "CN0ÄF42", "Anna", "anna", "berta", "Hello",
          "37D8832A", "5c0f1a4e", "5C0F1A4E", "12345678", "QW5uYf8="}) {
        EXPECT_NE(before.find(secret), std::string::npos) << secret;
        EXPECT_EQ(after.find(secret), std::string::npos) << secret << "\n" << after;
    }
}

TEST(Anonymous, IsPlayedTheSame) {
    const json report = personalReport();
    const json original = playedReport(report);
    const json replayed = playedReport(anonymous(report));
    EXPECT_EQ(replayed["calls"], original["calls"]);
    EXPECT_EQ(replayed["log"].size(), original["log"].size());
    EXPECT_EQ(replayed["files"].size(), original["files"].size());
    EXPECT_EQ(replayed["mac"]["displays"].size(), 3U);
    EXPECT_THAT(original["log"].dump(), testing::HasSubstr("separated-sets file wrong version"));
    EXPECT_THAT(replayed["log"].dump(), testing::HasSubstr("separated-sets file wrong version"));
}

TEST(Anonymous, TheLineAboutARepeatedAttemptStaysReadable) {
    json report = personalReport();
    report["log"].push_back(
        "[t] [0] [helper] [warn] checkInvariant [proc-exit]: candidate sig=Annas left one,HW-30-40-"
        "712345 was applied 3 times without settling the displays; skipping for 10 minutes");
    const std::string line = anonymous(report)["log"].back();
    EXPECT_THAT(line, testing::EndsWith(" was applied 3 times without settling the displays; "
                                        "skipping for 10 minutes"));
    EXPECT_THAT(line, testing::Not(testing::HasSubstr("Anna")));
    EXPECT_THAT(line, testing::Not(testing::HasSubstr("712345")));
}

TEST(Anonymous, ATextThatIsStillThereIsNoticed) {
    json report = personalReport();
    report["name"] = "A Mac with serial number 4251086178";
    EXPECT_TRUE(describe::anonymized(report, home).isLeaky);
    report["name"] = home;
    EXPECT_TRUE(describe::anonymized(report, home).isLeaky);
}

TEST(Anonymous, EverySpoiledFileReplaysToTheSameLine) {
    tests::forSomeSpoiledFiles(37, [](const FoundMac& found, const std::string& what) {
        const json report = found.report();
        const describe::Anonymous changed = describe::anonymized(report, home);
        const json original = playedReport(report)["log"];
        const json replayed = playedReport(changed.scenario)["log"];
        ASSERT_EQ(replayed.size(), original.size()) << what;
        for (std::size_t i = 0; i < original.size(); ++i) {
            const auto line = original[i]["message"].get<std::string>();
            EXPECT_EQ(replayed[i]["level"], original[i]["level"]);
            EXPECT_EQ(replayed[i]["message"].get<std::string>().substr(0, 30), line.substr(0, 30))
                << what;
            if (line.find("failed to decode") != std::string::npos &&
                line.find('"') == std::string::npos) {
                EXPECT_EQ(replayed[i]["message"], line) << what;
            }
        }
    });
}

/// The pseudonyms of display IDs, in the order of the originals.
std::vector<std::string> pseudonymsOf(const std::set<std::string>& ids) {
    const Pseudonyms pseudonyms(ids, {}, {});
    std::vector<std::string> result;
    for (const std::string& id : ids) {
        result.push_back(pseudonyms.id(id));
    }
    return result;
}

TEST(Pseudonyms, KeepTheirForm) {
    EXPECT_EQ(pseudonymsOf({"HW-1-2-0", "HW-1-2-77", "HW-1-2-SABC", "Display-3", ""}),
              (std::vector<std::string>{"", "Display-3", "HW-1-2-0", "HW-1-2-1001", "HW-1-2-SN1"}));
    EXPECT_EQ(pseudonymsOf({"5C0F1A4E-9B1D-4E8C-8A55-1F6D3A1B7C02"}),
              (std::vector<std::string>{"50000001-AAAA-4AAA-8AAA-AAAAAAAAAAAA"}));
}

TEST(Pseudonyms, KeepTheirOrder) {
    const std::vector<std::string> names = pseudonymsOf({"37D8832A-2D66-02CA-B9F7-8F30A301B230",
                                                         "5C0F1A4E-9B1D-4E8C-8A55-1F6D3A1B7C02",
                                                         "5C0F1A4E-9B1D-4E8C-8A55-1F6D3A1B7C03",
                                                         "Annas",
                                                         "Annas other",
                                                         "Display-3",
                                                         "Display-x",
                                                         "FF0F1A4E-9B1D-4E8C-8A55-1F6D3A1B7C03",
                                                         "HW-1-2-0",
                                                         "HW-1-2-10",
                                                         "HW-1-2-100",
                                                         "HW-1-2-9",
                                                         "HW-1-2-SA",
                                                         "HW-1-2-SB",
                                                         "HW-1-22-3",
                                                         "HW-1-x",
                                                         "a",
                                                         "aa",
                                                         "b",
                                                         "\xc3\xa4"});
    EXPECT_TRUE(std::ranges::is_sorted(names)) << testing::PrintToString(names);
    EXPECT_EQ(std::ranges::adjacent_find(names), names.end()) << testing::PrintToString(names);
}

TEST(Pseudonyms, TwinsStayTwinsAndCasesApart) {
    const Pseudonyms pseudonyms({"HW-1-2-77", "HW-3-4-77", "5C0F1A4E-9B1D-4E8C-8A55-1F6D3A1B7C02",
                                 "5c0f1a4e-9b1d-4e8c-8a55-1f6d3a1b7c02"},
                                {"77"}, {});
    EXPECT_EQ(pseudonyms.id("HW-1-2-77"), "HW-1-2-" + pseudonyms.serial("77"));
    EXPECT_EQ(pseudonyms.id("HW-3-4-77"), "HW-3-4-" + pseudonyms.serial("77"));
    EXPECT_EQ(pseudonyms.id("5c0f1a4e-9b1d-4e8c-8a55-1f6d3a1b7c02"),
              "50000001-aaaa-4aaa-8aaa-aaaaaaaaaaaa");
    EXPECT_EQ(pseudonyms.signature("HW-1-2-77,unknown,"), "HW-1-2-1001,unknown,");
}

TEST(Pseudonyms, AreNotOriginalsOfOthers) {
    const Pseudonyms pseudonyms({"HW-1-2-1001", "HW-1-2-1002", "HW-1-2-100"}, {}, {});
    for (const char* const serial : {"1001", "1002", "100"}) {
        EXPECT_EQ(pseudonyms.serial(serial).find("100"), std::string::npos);
    }
}

}  // namespace
}  // namespace tolvaran
