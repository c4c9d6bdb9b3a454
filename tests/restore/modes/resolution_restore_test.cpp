#include "restore/modes/resolution_restore.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "restore/modes/formats.hpp"
#include "simulator/simulator.hpp"
#include "tests/restore/modes/modes_mac.hpp"
#include "tests/support/simulated_process.hpp"
#include "tests/support/twin_warning.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using Entries = std::map<std::string, DisplayModeSpec>;

const std::string storeUnusable =
    "warn: resolution originals file missing/wrong version/unparseable, starting fresh";

/// The display with one value replaced.
json displayWith(std::uint32_t id, const std::string& key, const json& value) {
    json result = displayWithModes(id);
    result[key] = value;
    return result;
}

const std::string firstID = hardwareIDOf(1);
const std::string secondID = hardwareIDOf(2);
const DisplayModeSpec small{1280, 720, false, 60};
const DisplayModeSpec smallOfAnyRate{1280, 720, false, 0};
const DisplayModeSpec large{1920, 1080, false, 60};

std::string restored(const std::string& id, const std::string& mode = "1280 × 720 @ 60 Hz") {
    return "info: resolution restore: " + id + " -> " + mode;
}

std::string noExactMode(const std::string& id, const std::string& mode = "1280 × 720 @ 60 Hz") {
    return "warn: resolution restore: no exact mode " + mode + " for " + id + "; keeping entry";
}

std::string applyFailed(const std::string& id, const std::string& mode = "1280 × 720 @ 60 Hz") {
    return "warn: resolution restore: apply failed for " + id + " " + mode + "; keeping entry";
}

/// A display that is switched to a mode.
struct Switch {
    std::uint32_t display;
    std::int32_t mode;
};

/// The calls for the switch, with the results of the last two.
Lines callsOf(const Switch& wanted, int refusal = 0, int completion = 0) {
    return {callLine("CGBeginDisplayConfiguration", json::array(), 0),
            callLine("CGSConfigureDisplayMode", {wanted.display, wanted.mode}, refusal),
            callLine("CGCompleteDisplayConfiguration", json::array({1}), completion)};
}

class ResolutionRestoring : public ProcessTest {
  protected:
    void record(const Entries& entries) const {
        ResolutionOriginalsStore::save({.version = 1, .entries = entries}, path_);
    }

    /// Expects the file to hold exactly these entries, or no file if there are none.
    void expectRecorded(const Entries& entries) const {
        const ResolutionOriginalsFile file{.version = 1, .entries = entries};
        EXPECT_EQ(readFile(path_),
                  entries.empty() ? std::nullopt : std::optional(tolvaran::json::write(file)));
    }

    std::int64_t restore() const {
        return ResolutionRestore::restorePendingUsingSystemDisplays(path_);
    }

    void resetMac(const std::vector<json>& displays) { start({{"displays", displays}}); }

    /// The modes that the displays show, by display; null for none.
    static std::map<std::uint32_t, json> shown() {
        const json machine = simulator::machine();
        std::map<std::uint32_t, json> modes;
        for (const json& display : machine["displays"]) {
            modes[display["id"]] = display["mode"];
        }
        return modes;
    }

    /// Counts the calls of a function from here on.
    static std::shared_ptr<int> countCalls(const std::string& function) {
        auto count = std::make_shared<int>(0);
        simulator::onCall(function, [count] { ++*count; });
        return count;
    }

    const std::string path_ = state(".resolution-originals");
};

/// One restore, and everything that is expected of it.
struct RestoreRow {
    std::string name;
    std::vector<json> displays = {displayWithModes(1)};
    Entries recorded;
    std::vector<json> faults = {};
    std::string preferences = "{}";
    std::vector<Switch> switched = {};
    std::optional<int> listings = {};  // of modes
    Entries left = {};
    Lines log = {};
};

class ResolutionRestoringRows : public ResolutionRestoring {
  protected:
    void expectRow(const RestoreRow& row) {
        resetMac(row.displays);
        writeFile(settings("preferences.json"), row.preferences);
        record(row.recorded);
        for (const json& fault : row.faults) {
            simulator::addFault(fault);
        }
        auto modes = shown();
        Lines calls;
        for (const Switch& wanted : row.switched) {
            modes[wanted.display] = wanted.mode;
            calls = calls + callsOf(wanted);
        }
        const auto listings = countCalls("CGSGetNumberOfDisplayModes");
        EXPECT_EQ(restore(), row.switched.size());
        EXPECT_EQ(*listings, row.listings.value_or(*listings));
        EXPECT_EQ(callLines(), calls);
        EXPECT_EQ(shown(), modes);
        expectRecorded(row.left);
        EXPECT_EQ(takeLog(), row.log);
        EXPECT_EQ(simulator::faultsMet() > 0, !row.faults.empty());
    }
};

std::vector<RestoreRow> restoreRows() {
    constexpr std::int64_t huge = std::numeric_limits<std::int64_t>::max();
    const Entries inexact{{firstID, {3008, 1692, true, 0}}, {secondID, {1280, 720, true, 50}}};
    json bare = displayWith(1, "modes", json::array());
    bare.erase("mode");
    const std::string portUUID = "37D8832A-2D66-02CA-B9F7-8F30A301B230";
    json twin = displayWith(2, "serial", 1);
    twin["portUUID"] = portUUID;
    const std::string twins = twinWarning("10-20-1");
    std::vector<RestoreRow> rows{
        {.name = "puts back every display",
         .displays = {displayWithModes(1), displayWithModes(2)},
         .recorded = {{firstID, small}, {secondID, {1280, 720, true, 60}}},
         .switched = {{1, 2}, {2, 4}},
         .log = {restored(firstID), restored(secondID)}},
        {.name = "lists the modes again for the match",
         .recorded = {{firstID, small}},
         .switched = {{1, 2}},
         .listings = 2,
         .log = {restored(firstID)}},
        {.name = "keeps the record of an absent display silently",
         .recorded = {{firstID, small}, {secondID, small}},
         .switched = {{1, 2}},
         .left = {{secondID, small}},
         .log = {restored(firstID)}},
        {.name = "drops invalid records with the first that is removed",
         .recorded = {{firstID, small}, {"invalid", {0, 0, false, 0}}},
         .switched = {{1, 2}},
         .log = {restored(firstID)}},
        {.name = "applies a mode of any rate even if it may be shown already",
         .displays = {displayWith(1, "mode", 2)},
         .recorded = {{firstID, smallOfAnyRate}},
         .switched = {{1, 2}},
         .log = {restored(firstID, "1280 × 720")}},
        {.name = "applies if the shown mode is unknown",
         .displays = {displayWith(1, "mode", nullptr)},
         .recorded = {{firstID, small}},
         .switched = {{1, 2}},
         .listings = 1,  // for the match only
         .log = {restored(firstID)}},
        {.name = "applies if the shown mode cannot be read",
         .recorded = {{firstID, large}},
         .faults = {{{"call", "CGSGetCurrentDisplayMode"}, {"result", 1001}}},
         .switched = {{1, 1}},
         .log = {restored(firstID, "1920 × 1080 @ 60 Hz")}},
        {.name = "restores only the later of two displays with one canonical ID",
         .displays = {displayWithModes(1), displayWithModes(2)},
         .recorded = {{"desk", small}, {firstID, small}},
         .preferences = R"({"knownDisplays":[{"ids":["desk","HW-10-20-1","HW-10-20-2"]}]})",
         .switched = {{2, 2}},
         .left = {{firstID, small}},
         .log = {restored("desk")}},
        {.name = "loads the alias map once and goes on without it",
         .displays = {displayWithModes(1), displayWithModes(2)},
         .recorded = {{firstID, small}, {secondID, small}},
         .preferences = R"({"knownDisplays":[{}]})",
         .switched = {{1, 2}, {2, 2}},
         .log = {"warn: AliasMap: preferences.json unparseable, falling back to identity",
                 restored(firstID), restored(secondID)}},
        {.name = "tells identical monitors apart by their ports",
         .displays = {displayWithModes(1), twin},
         .recorded = {{portUUID, small}, {firstID, small}},
         .switched = {{2, 2}},
         .left = {{firstID, small}},
         .log = {twins, twins, restored(portUUID)}},
        {.name = "only forgets what is shown already",
         .displays = {displayWithModes(1), displayWithModes(2)},
         .recorded = {{firstID, large}, {"elsewhere", small}},
         .left = {{"elsewhere", small}}},
        {.name = "removes the file with the last record that is shown already",
         .recorded = {{firstID, large}}},
        {.name = "forgets a mode of unknown rate that is shown without one",
         .displays = {displayWith(1, "modes", json::array({usableMode(1, 1280, 720, 0.25)}))},
         .recorded = {{firstID, smallOfAnyRate}}},
        {.name = "keeps a record without an exact mode",
         .displays = {displayWithModes(1), displayWithModes(2)},
         .recorded = inexact,
         .left = inexact,
         .log = {noExactMode(firstID, "3008 × 1692"), noExactMode(secondID, "1280 × 720 @ 50 Hz")}},
        {.name = "keeps a record of a display that lists no modes",
         .displays = {bare},
         .recorded = {{firstID, small}},
         .left = {{firstID, small}},
         .log = {noExactMode(firstID)}},
        {.name = "keeps a record of a size that no display can have",
         .recorded = {{firstID, {huge, huge, true, huge}}},
         .left = {{firstID, {huge, huge, true, huge}}},
         .log = {noExactMode(
             firstID, "9223372036854775807 × 9223372036854775807 @ 9223372036854775807 Hz")}},
        {.name = "restores nothing when the displays cannot be listed",
         .recorded = {{firstID, small}},
         .faults = {{{"call", "CGGetActiveDisplayList"}, {"result", 1000}, {"effect", true}}},
         .left = {{firstID, small}}},
    };
    for (const std::string call :
         {"CGSGetNumberOfDisplayModes", "CGSGetDisplayModeDescriptionOfLength",
          "CGSGetCurrentDisplayMode"}) {
        rows.push_back(
            {.name = "goes by what the window server fills in whatever it returns: " + call,
             .displays = {displayWithModes(1), displayWithModes(2)},
             .recorded = {{firstID, large}, {secondID, small}},
             .faults = {{{"call", call}, {"result", 1001}, {"effect", true}}},
             .switched = {{2, 2}},
             .log = {restored(secondID)}});
    }
    return rows;
}

TEST_F(ResolutionRestoringRows, EndAsTheySay) {
    for (const RestoreRow& row : restoreRows()) {
        SCOPED_TRACE(row.name);
        expectRow(row);
    }
}

TEST_F(ResolutionRestoring, WithoutRecordsAsksTheWindowServerForNothing) {
    resetMac({displayWithModes(1)});
    const auto listings = countCalls("CGGetActiveDisplayList");
    const auto reads = countCalls("CGSGetCurrentDisplayMode");
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(ResolutionRestore::restorePending({{firstID, 1}}, path_), 0);
    EXPECT_EQ(*listings, 0);
    EXPECT_EQ(*reads, 0);
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(ResolutionRestoring, TreatsAnotherVersionAsNoRecordsAndKeepsTheFile) {
    resetMac({displayWithModes(1)});
    const std::string text = R"({"entries":{"HW-10-20-1":{"height":720,"hz":60,"scaled":false,)"
                             R"("width":1280}},"version":2})";
    writeFile(path_, text);
    const auto listings = countCalls("CGGetActiveDisplayList");
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(*listings, 0);
    EXPECT_EQ(takeLog(), Lines{storeUnusable});
    EXPECT_EQ(readFile(path_), text);
    EXPECT_EQ(shown()[1], 1);
}

TEST_F(ResolutionRestoring, ComparesTheShownModeInAllOfItsSpec) {
    // Shown: 1280 × 720 at 59.94 Hz, which rounds to 60.
    const std::vector<std::pair<DisplayModeSpec, bool>> cases{
        {{1280, 720, false, 60}, true},  {{1280, 720, false, 59}, false},
        {{1280, 720, false, 0}, false},  {{1280, 720, true, 60}, false},
        {{1281, 720, false, 60}, false}, {{1280, 721, false, 60}, false}};
    for (const auto& [spec, alreadyShown] : cases) {
        resetMac({displayWith(1, "mode", 3)});
        record({{firstID, spec}});
        const std::int64_t count = restore();
        const bool untouched = count == 0 && readFile(path_) == std::nullopt;
        EXPECT_EQ(untouched, alreadyShown) << spec.logDescription();
    }
}

TEST_F(ResolutionRestoring, PassesOverARefusalOfTheModeItself) {
    resetMac({displayWithModes(1)});
    record({{firstID, small}});
    failCalls("CGSConfigureDisplayMode", 1001);
    EXPECT_EQ(restore(), 1);
    EXPECT_EQ(callLines(), callsOf({1, 2}, 1001));
    EXPECT_EQ(shown()[1], 1);
    expectRecorded({});
    EXPECT_EQ(takeLog(), Lines{restored(firstID)});
}

TEST_F(ResolutionRestoring, DoesNotCancelAFailedCompletion) {
    resetMac({displayWithModes(1)});
    record({{firstID, smallOfAnyRate}});
    failCalls("CGCompleteDisplayConfiguration", 1004);
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(callLines(), callsOf({1, 2}, 0, 1004));
    EXPECT_EQ(takeLog(), Lines{applyFailed(firstID, "1280 × 720")});
    EXPECT_EQ(simulator::openConfigurations(), 0U);
}

TEST_F(ResolutionRestoring, KeepsARecordThatCannotBeAppliedAndTriesAgain) {
    const std::vector<json> faults{
        {{"call", "CGBeginDisplayConfiguration"}, {"result", 1000}, {"times", 1}},
        {{"call", "CGBeginDisplayConfiguration"}, {"effect", false}, {"times", 1}},
        {{"call", "CGCompleteDisplayConfiguration"}, {"result", 1004}, {"times", 1}}};
    for (const json& fault : faults) {
        SCOPED_TRACE(fault);
        resetMac({displayWithModes(1), displayWithModes(2)});
        record({{firstID, small}, {secondID, small}});
        simulator::addFault(fault);
        EXPECT_EQ(restore(), 1);
        expectRecorded({{firstID, small}});
        EXPECT_EQ(shown()[1], 1);
        EXPECT_EQ(takeLog(), (Lines{applyFailed(firstID), restored(secondID)}));
        EXPECT_EQ(restore(), 1);
        expectRecorded({});
        EXPECT_EQ(simulator::openConfigurations(), 0U);
        EXPECT_EQ(takeLog(), Lines{restored(firstID)});
    }
}

TEST_F(ResolutionRestoring, SeesSixteenDisplays) {
    std::vector<json> displays;
    Entries recorded;
    for (std::uint32_t id = 1; id <= 17; ++id) {
        displays.push_back(displayWithModes(id));
        recorded.emplace(hardwareIDOf(id), small);
    }
    resetMac(displays);
    record(recorded);
    EXPECT_EQ(restore(), 16);
    EXPECT_EQ(shown()[16], 2);
    EXPECT_EQ(shown()[17], 1);
    expectRecorded({{hardwareIDOf(17), small}});
}

TEST_F(ResolutionRestoring, TakesTheDisplaysThatItIsGiven) {
    resetMac({displayWithModes(1), displayWithModes(2)});
    record({{"a", small}, {"b", small}, {"c", small}});
    EXPECT_EQ(ResolutionRestore::restorePending({{"b", 2}, {"d", 1}}, path_), 1);
    EXPECT_EQ(shown()[1], 1);
    EXPECT_EQ(shown()[2], 2);
    expectRecorded({{"a", small}, {"c", small}});
    EXPECT_EQ(ResolutionRestore::restorePending({}, path_), 0);
    EXPECT_EQ(takeLog(), Lines{restored("b")});
    // Display 99 has gone meanwhile.
    EXPECT_EQ(ResolutionRestore::restorePending({{"a", 99}}, path_), 0);
    EXPECT_EQ(takeLog(), Lines{noExactMode("a")});
}

// The main application at work between two of our reads. It acts during a call to the window
// server, after the restore has read the records.

class ResolutionRestoringMeanwhile : public ResolutionRestoring {
  protected:
    void SetUp() override {
        resetMac({displayWithModes(1), displayWithModes(2)});
        record({{firstID, small}, {secondID, small}});
    }

    /// Does `work` once, during the first call of the function.
    static void during(const std::string& function, std::function<void()> work) {
        simulator::onCall(function, [work, done = std::make_shared<bool>(false)] {
            if (!std::exchange(*done, true)) {
                work();
            }
        });
    }
};

TEST_F(ResolutionRestoringMeanwhile, KeepsARecordThatWasAdded) {
    during("CGCompleteDisplayConfiguration", [this] {
        ResolutionOriginalsStore::recordIfAbsent("new", {800, 600, false, 60}, path_);
    });
    EXPECT_EQ(restore(), 2);
    expectRecorded({{"new", {800, 600, false, 60}}});
}

TEST_F(ResolutionRestoringMeanwhile, DoesNotBringBackARecordThatWasCleared) {
    simulator::addFault(
        {{"call", "CGCompleteDisplayConfiguration"}, {"result", 1004}, {"skip", 1}});
    during("CGCompleteDisplayConfiguration",
           [this] { ResolutionOriginalsStore::clear(secondID, path_); });
    EXPECT_EQ(restore(), 1);
    expectRecorded({});
}

TEST_F(ResolutionRestoringMeanwhile, WritesNothingWhenItsOwnRecordWasCleared) {
    const std::string text =
        R"( {"version":1,"entries":{"x":{"width":1,"height":1,"scaled":false,"hz":0}}} )";
    during("CGCompleteDisplayConfiguration", [&] { writeFile(path_, text); });
    EXPECT_EQ(restore(), 2);
    EXPECT_EQ(readFile(path_), text);
}

TEST_F(ResolutionRestoringMeanwhile, WritesNothingWhenTheFileWasRemoved) {
    during("CGCompleteDisplayConfiguration", [this] {
        ResolutionOriginalsStore::clear(firstID, path_);
        ResolutionOriginalsStore::clear(secondID, path_);
    });
    EXPECT_EQ(restore(), 2);
    expectRecorded({});
}

TEST_F(ResolutionRestoringMeanwhile, AddsAndClearsAtOnce) {
    during("CGSGetCurrentDisplayMode", [this] {
        ResolutionOriginalsStore::clear(secondID, path_);
        ResolutionOriginalsStore::recordIfAbsent("new", small, path_);
    });
    EXPECT_EQ(restore(), 2);
    expectRecorded({{"new", small}});
}

TEST_F(ResolutionRestoringMeanwhile, RestoresNothingThatIsClearedWhileDisplaysAreListed) {
    during("CGGetActiveDisplayList", [this] {
        ResolutionOriginalsStore::clear(firstID, path_);
        ResolutionOriginalsStore::clear(secondID, path_);
    });
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(shown()[1], 1);
    EXPECT_EQ(callLines(), Lines{});
}

TEST_F(ResolutionRestoringMeanwhile, LeavesATornFileAlone) {
    during("CGCompleteDisplayConfiguration", [this] { writeFile(path_, "{torn"); });
    EXPECT_EQ(restore(), 2);
    EXPECT_EQ(readFile(path_), "{torn");
    EXPECT_EQ(takeLog(),
              (Lines{restored(firstID), storeUnusable, restored(secondID), storeUnusable}));
}

}  // namespace
}  // namespace tolvaran::tests
