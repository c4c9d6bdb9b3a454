#include "restore/modes/resolution_restore.hpp"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "restore/modes/resolution_originals_store.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;

using Entries = std::map<std::string, DisplayModeSpec>;

const std::string storeUnusable =
    "warn: resolution originals file missing/wrong version/unparseable, starting fresh";

constexpr std::uint32_t validMode = 1;

json mode(std::int32_t number, std::int32_t width, std::int32_t height, double hz,
          float density = 1.0F) {
    return {{"number", number}, {"flags", validMode}, {"width", width},    {"height", height},
            {"depth", 8},       {"hz", hz},           {"density", density}};
}

const json usualModes{mode(1, 1920, 1080, 60), mode(2, 1280, 720, 60), mode(3, 1280, 720, 59.94),
                      mode(4, 1280, 720, 60, 2.0F)};

/// A display whose canonical ID is "HW-10-20-" and its ID, showing the first of the usual modes.
json display(std::uint32_t id) {
    return {{"id", id},
            {"vendor", 10},
            {"model", 20},
            {"serial", id},
            {"frame", {1920 * (id - 1), 0, 1920, 1080}},
            {"modes", usualModes},
            {"mode", 1}};
}

std::string canonicalID(std::uint32_t id) {
    return "HW-10-20-" + std::to_string(id);
}

const DisplayModeSpec small{1280, 720, false, 60};

class ResolutionRestoring : public ProcessTest {
  protected:
    void record(const Entries& entries) const {
        ResolutionOriginalsStore::save({.version = 1, .entries = entries}, path_);
    }

    Entries entries() { return ResolutionOriginalsStore::pendingEntries(path_); }

    /// What is left on disk; none if there is no file.
    std::optional<std::string> content() const { return readFile(path_); }

    std::int64_t restore() const {
        return ResolutionRestore::restorePendingUsingSystemDisplays(path_);
    }

    void resetMac(const std::vector<json>& displays) { start({{"displays", displays}}); }

    static std::int32_t modeOf(std::size_t index) {
        return simulator::machine()["displays"][index]["mode"];
    }

    /// Counts the calls of a function from here on.
    static std::shared_ptr<int> countCalls(const std::string& function) {
        auto count = std::make_shared<int>(0);
        simulator::onCall(function, [count] { ++*count; });
        return count;
    }

    const std::string path_ = state(".resolution-originals");
};

TEST_F(ResolutionRestoring, WithoutRecordsAsksTheWindowServerForNothing) {
    resetMac({display(1)});
    const auto listings = countCalls("CGGetActiveDisplayList");
    const auto reads = countCalls("CGSGetCurrentDisplayMode");
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(ResolutionRestore::restorePending({{canonicalID(1), 1}}, path_), 0);
    EXPECT_EQ(*listings, 0);
    EXPECT_EQ(*reads, 0);
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(ResolutionRestoring, TreatsAnotherVersionAsNoRecordsAndKeepsTheFile) {
    resetMac({display(1)});
    const std::string text = R"({"entries":{"HW-10-20-1":{"height":720,"hz":60,"scaled":false,)"
                             R"("width":1280}},"version":2})";
    writeFile(path_, text);
    const auto listings = countCalls("CGGetActiveDisplayList");
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(*listings, 0);
    EXPECT_THAT(takeLog(), ElementsAre(storeUnusable));
    EXPECT_EQ(content(), text);
    EXPECT_EQ(modeOf(0), 1);
}

TEST_F(ResolutionRestoring, PutsBackEveryDisplay) {
    resetMac({display(1), display(2)});
    record({{canonicalID(1), small}, {canonicalID(2), {1280, 720, true, 60}}});
    EXPECT_EQ(restore(), 2);
    EXPECT_EQ(
        callLines(),
        (Lines{"CGBeginDisplayConfiguration [] = 0", "CGSConfigureDisplayMode [1,2] = 0",
               "CGCompleteDisplayConfiguration [1] = 0", "CGBeginDisplayConfiguration [] = 0",
               "CGSConfigureDisplayMode [2,4] = 0", "CGCompleteDisplayConfiguration [1] = 0"}));
    EXPECT_EQ(modeOf(0), 2);
    EXPECT_EQ(modeOf(1), 4);
    EXPECT_EQ(content(), std::nullopt);
    EXPECT_THAT(takeLog(),
                ElementsAre("info: resolution restore: HW-10-20-1 -> 1280 × 720 @ 60 Hz",
                            "info: resolution restore: HW-10-20-2 -> 1280 × 720 @ 60 Hz"));
}

TEST_F(ResolutionRestoring, KeepsTheRecordOfAnAbsentDisplaySilently) {
    resetMac({display(1)});
    record({{canonicalID(1), small}, {canonicalID(2), small}});
    EXPECT_EQ(restore(), 1);
    EXPECT_EQ(content(),
              R"({"entries":{"HW-10-20-2":{"height":720,"hz":60,"scaled":false,"width":1280}},)"
              R"("version":1})");
    EXPECT_THAT(takeLog(),
                ElementsAre("info: resolution restore: HW-10-20-1 -> 1280 × 720 @ 60 Hz"));
}

TEST_F(ResolutionRestoring, OnlyForgetsWhatIsShownAlready) {
    resetMac({display(1), display(2)});
    record({{canonicalID(1), {1920, 1080, false, 60}}, {"elsewhere", small}});
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(entries(), (Entries{{"elsewhere", small}}));
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(ResolutionRestoring, RemovesTheFileWithTheLastRecordThatIsShownAlready) {
    resetMac({display(1)});
    record({{canonicalID(1), {1920, 1080, false, 60}}});
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(content(), std::nullopt);
}

TEST_F(ResolutionRestoring, ComparesTheShownModeInAllOfItsSpec) {
    // Shown: 1280 × 720 at 59.94 Hz, which rounds to 60.
    json shown = display(1);
    shown["mode"] = 3;
    const std::vector<std::pair<DisplayModeSpec, bool>> cases{
        {{1280, 720, false, 60}, true},  {{1280, 720, false, 59}, false},
        {{1280, 720, false, 0}, false},  {{1280, 720, true, 60}, false},
        {{1281, 720, false, 60}, false}, {{1280, 721, false, 60}, false}};
    for (const auto& [spec, alreadyShown] : cases) {
        resetMac({shown});
        record({{canonicalID(1), spec}});
        const std::int64_t count = restore();
        const bool untouched = count == 0 && content() == std::nullopt;
        EXPECT_EQ(untouched, alreadyShown) << spec.logDescription();
    }
}

TEST_F(ResolutionRestoring, AppliesAModeOfAnyRateEvenIfItMayBeShownAlready) {
    json shown = display(1);
    shown["mode"] = 2;
    resetMac({shown});
    record({{canonicalID(1), {1280, 720, false, 0}}});
    EXPECT_EQ(restore(), 1);
    EXPECT_EQ(callLines()[1], "CGSConfigureDisplayMode [1,2] = 0");
    EXPECT_EQ(content(), std::nullopt);
    EXPECT_THAT(takeLog(), ElementsAre("info: resolution restore: HW-10-20-1 -> 1280 × 720"));
}

TEST_F(ResolutionRestoring, ForgetsAModeOfUnknownRateThatIsShownWithoutOne) {
    json panel = display(1);
    panel["modes"] = json::array({mode(6, 1280, 720, 0.25)});
    panel["mode"] = 6;
    resetMac({panel});
    record({{canonicalID(1), {1280, 720, false, 0}}});
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_EQ(content(), std::nullopt);
}

TEST_F(ResolutionRestoring, AppliesIfTheShownModeIsUnknown) {
    json none = display(1);
    none.erase("mode");
    resetMac({none});
    record({{canonicalID(1), small}});
    const auto listings = countCalls("CGSGetNumberOfDisplayModes");
    EXPECT_EQ(restore(), 1);
    EXPECT_EQ(*listings, 1);  // for the match only
    EXPECT_EQ(modeOf(0), 2);
}

TEST_F(ResolutionRestoring, AppliesIfTheShownModeCannotBeRead) {
    resetMac({display(1)});
    record({{canonicalID(1), {1920, 1080, false, 60}}});
    simulator::addFault({{"call", "CGSGetCurrentDisplayMode"}, {"result", 1001}});
    EXPECT_EQ(restore(), 1);
    EXPECT_EQ(content(), std::nullopt);
}

TEST_F(ResolutionRestoring, GoesByWhatTheWindowServerFillsInWhateverItReturns) {
    for (const std::string call :
         {"CGSGetNumberOfDisplayModes", "CGSGetDisplayModeDescriptionOfLength",
          "CGSGetCurrentDisplayMode"}) {
        resetMac({display(1), display(2)});
        record({{canonicalID(1), {1920, 1080, false, 60}}, {canonicalID(2), small}});
        simulator::addFault({{"call", call}, {"result", 1001}, {"effect", true}});
        EXPECT_EQ(restore(), 1) << call;
        EXPECT_GT(simulator::faultsMet(), 0U) << call;
        EXPECT_EQ(modeOf(1), 2) << call;
        EXPECT_EQ(content(), std::nullopt) << call;
        EXPECT_THAT(takeLog(),
                    ElementsAre("info: resolution restore: HW-10-20-2 -> 1280 × 720 @ 60 Hz"))
            << call;
    }
}

TEST_F(ResolutionRestoring, PassesOverARefusalOfTheModeItself) {
    resetMac({display(1)});
    record({{canonicalID(1), small}});
    simulator::addFault({{"call", "CGSConfigureDisplayMode"}, {"result", 1001}});
    EXPECT_EQ(restore(), 1);
    EXPECT_EQ(modeOf(0), 1);
    EXPECT_EQ(content(), std::nullopt);
    EXPECT_THAT(takeLog(),
                ElementsAre("info: resolution restore: HW-10-20-1 -> 1280 × 720 @ 60 Hz"));
}

TEST_F(ResolutionRestoring, ListsTheModesAgainForTheMatch) {
    resetMac({display(1)});
    record({{canonicalID(1), small}});
    const auto listings = countCalls("CGSGetNumberOfDisplayModes");
    EXPECT_EQ(restore(), 1);
    EXPECT_EQ(*listings, 2);
}

TEST_F(ResolutionRestoring, KeepsARecordWithoutAnExactMode) {
    resetMac({display(1), display(2)});
    record({{canonicalID(1), {3008, 1692, true, 0}}, {canonicalID(2), {1280, 720, true, 50}}});
    const std::optional<std::string> before = content();
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(content(), before);
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_THAT(takeLog(), ElementsAre("warn: resolution restore: no exact mode 3008 × 1692 for "
                                       "HW-10-20-1; keeping entry",
                                       "warn: resolution restore: no exact mode 1280 × 720 @ 50 "
                                       "Hz for HW-10-20-2; keeping entry"));
}

TEST_F(ResolutionRestoring, KeepsARecordOfADisplayThatListsNoModes) {
    json bare = display(1);
    bare["modes"] = json::array();
    bare.erase("mode");
    resetMac({bare});
    record({{canonicalID(1), small}});
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(entries(), (Entries{{canonicalID(1), small}}));
    EXPECT_THAT(takeLog(), ElementsAre("warn: resolution restore: no exact mode 1280 × 720 @ 60 Hz "
                                       "for HW-10-20-1; keeping entry"));
}

TEST_F(ResolutionRestoring, KeepsARecordOfASizeThatNoDisplayCanHave) {
    constexpr std::int64_t huge = std::numeric_limits<std::int64_t>::max();
    resetMac({display(1)});
    record({{canonicalID(1), {huge, huge, true, huge}}});
    EXPECT_EQ(restore(), 0);
    EXPECT_THAT(takeLog(),
                ElementsAre("warn: resolution restore: no exact mode 9223372036854775807 × "
                            "9223372036854775807 @ 9223372036854775807 Hz for HW-10-20-1; keeping "
                            "entry"));
}

TEST_F(ResolutionRestoring, KeepsARecordThatCannotBeAppliedAndTriesAgain) {
    const std::vector<json> faults{
        {{"call", "CGBeginDisplayConfiguration"}, {"result", 1000}, {"times", 1}},
        {{"call", "CGBeginDisplayConfiguration"}, {"effect", false}, {"times", 1}},
        {{"call", "CGCompleteDisplayConfiguration"}, {"result", 1004}, {"times", 1}}};
    for (const json& fault : faults) {
        resetMac({display(1), display(2)});
        record({{canonicalID(1), small}, {canonicalID(2), small}});
        simulator::addFault(fault);
        EXPECT_EQ(restore(), 1) << fault;
        EXPECT_EQ(entries(), (Entries{{canonicalID(1), small}})) << fault;
        EXPECT_EQ(modeOf(0), 1) << fault;
        EXPECT_THAT(takeLog(), ElementsAre("warn: resolution restore: apply failed for HW-10-20-1 "
                                           "1280 × 720 @ 60 Hz; keeping entry",
                                           "info: resolution restore: HW-10-20-2 -> 1280 × 720 @ "
                                           "60 Hz"))
            << fault;
        EXPECT_EQ(restore(), 1) << fault;
        EXPECT_EQ(content(), std::nullopt) << fault;
        EXPECT_THAT(takeLog(), ElementsAre("info: resolution restore: HW-10-20-1 -> 1280 × 720 @ "
                                           "60 Hz"))
            << fault;
    }
}

TEST_F(ResolutionRestoring, DoesNotCancelAFailedCompletion) {
    resetMac({display(1)});
    record({{canonicalID(1), {1280, 720, false, 0}}});
    simulator::addFault({{"call", "CGCompleteDisplayConfiguration"}, {"result", 1004}});
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(callLines(),
              (Lines{"CGBeginDisplayConfiguration [] = 0", "CGSConfigureDisplayMode [1,2] = 0",
                     "CGCompleteDisplayConfiguration [1] = 1004"}));
    EXPECT_THAT(takeLog(), ElementsAre("warn: resolution restore: apply failed for HW-10-20-1 1280 "
                                       "× 720; keeping entry"));
}

TEST_F(ResolutionRestoring, RestoresOnlyTheLaterOfTwoDisplaysWithOneCanonicalID) {
    resetMac({display(1), display(2)});
    writeFile(settings("preferences.json"),
              R"({"knownDisplays":[{"ids":["desk","HW-10-20-1","HW-10-20-2"]}]})");
    record({{"desk", small}, {canonicalID(1), small}});
    EXPECT_EQ(restore(), 1);
    EXPECT_EQ(modeOf(0), 1);
    EXPECT_EQ(modeOf(1), 2);
    EXPECT_EQ(entries(), (Entries{{canonicalID(1), small}}));
    EXPECT_THAT(takeLog(), ElementsAre("info: resolution restore: desk -> 1280 × 720 @ 60 Hz"));
}

TEST_F(ResolutionRestoring, LoadsTheAliasMapOnceAndGoesOnWithoutIt) {
    resetMac({display(1), display(2)});
    writeFile(settings("preferences.json"), R"({"knownDisplays":[{}]})");
    record({{canonicalID(1), small}, {canonicalID(2), small}});
    EXPECT_EQ(restore(), 2);
    EXPECT_THAT(takeLog(), ElementsAre("warn: AliasMap: preferences.json unparseable, falling back "
                                       "to identity",
                                       "info: resolution restore: HW-10-20-1 -> 1280 × 720 @ 60 Hz",
                                       "info: resolution restore: HW-10-20-2 -> 1280 × 720 @ 60 "
                                       "Hz"));
}

TEST_F(ResolutionRestoring, TellsIdenticalMonitorsApartByTheirPorts) {
    const std::string uuid = "37D8832A-2D66-02CA-B9F7-8F30A301B230";
    json left = display(1);
    json right = display(2);
    right["serial"] = left["serial"];
    right["portUUID"] = uuid;
    resetMac({left, right});
    record({{uuid, small}, {canonicalID(1), small}});
    EXPECT_EQ(restore(), 1);
    EXPECT_EQ(modeOf(0), 1);
    EXPECT_EQ(modeOf(1), 2);
    EXPECT_EQ(entries(), (Entries{{canonicalID(1), small}}));
}

TEST_F(ResolutionRestoring, SeesSixteenDisplays) {
    std::vector<json> displays;
    Entries recorded;
    for (std::uint32_t id = 1; id <= 17; ++id) {
        displays.push_back(display(id));
        recorded.emplace(canonicalID(id), small);
    }
    resetMac(displays);
    record(recorded);
    EXPECT_EQ(restore(), 16);
    EXPECT_EQ(modeOf(15), 2);
    EXPECT_EQ(modeOf(16), 1);
    EXPECT_EQ(entries(), (Entries{{canonicalID(17), small}}));
}

TEST_F(ResolutionRestoring, RestoresNothingWhenTheDisplaysCannotBeListed) {
    resetMac({display(1)});
    record({{canonicalID(1), small}});
    const std::optional<std::string> before = content();
    simulator::addFault({{"call", "CGGetActiveDisplayList"}, {"result", 1000}, {"effect", true}});
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(content(), before);
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(ResolutionRestoring, TakesTheDisplaysThatItIsGiven) {
    resetMac({display(1), display(2)});
    record({{"a", small}, {"b", small}, {"c", small}});
    EXPECT_EQ(ResolutionRestore::restorePending({{"b", 2}, {"d", 1}}, path_), 1);
    EXPECT_EQ(modeOf(0), 1);
    EXPECT_EQ(modeOf(1), 2);
    EXPECT_EQ(entries(), (Entries{{"a", small}, {"c", small}}));
    EXPECT_EQ(ResolutionRestore::restorePending({}, path_), 0);
    EXPECT_THAT(takeLog(), ElementsAre("info: resolution restore: b -> 1280 × 720 @ 60 Hz"));
}

TEST_F(ResolutionRestoring, KeepsARecordOfADisplayThatIsGoneMeanwhile) {
    resetMac({display(1)});
    record({{"a", small}});
    EXPECT_EQ(ResolutionRestore::restorePending({{"a", 99}}, path_), 0);
    EXPECT_THAT(takeLog(), ElementsAre("warn: resolution restore: no exact mode 1280 × 720 @ 60 Hz "
                                       "for a; keeping entry"));
}

TEST_F(ResolutionRestoring, DropsInvalidRecordsWithTheFirstThatIsRemoved) {
    resetMac({display(1)});
    record({{canonicalID(1), small}, {"invalid", {0, 0, false, 0}}});
    EXPECT_EQ(restore(), 1);
    EXPECT_EQ(content(), std::nullopt);
}

TEST_F(ResolutionRestoring, ClosesTheConfigurationOfAFailedCompletion) {
    resetMac({display(1), display(2)});
    record({{canonicalID(1), small}, {canonicalID(2), {3008, 1692, true, 60}}});
    simulator::addFault(
        {{"call", "CGCompleteDisplayConfiguration"}, {"result", 1004}, {"times", 1}});
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(restore(), 1);
    EXPECT_EQ(simulator::openConfigurations(), 0U);
}

// The main application at work between two of our reads. It acts during a call to the window
// server, when the copy that the restore uses is already in memory.

class ResolutionRestoringMeanwhile : public ResolutionRestoring {
  protected:
    void SetUp() override {
        resetMac({display(1), display(2)});
        record({{canonicalID(1), small}, {canonicalID(2), small}});
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
    EXPECT_EQ(entries(), (Entries{{"new", {800, 600, false, 60}}}));
}

TEST_F(ResolutionRestoringMeanwhile, DoesNotBringBackARecordThatWasCleared) {
    simulator::addFault(
        {{"call", "CGCompleteDisplayConfiguration"}, {"result", 1004}, {"skip", 1}});
    during("CGCompleteDisplayConfiguration",
           [this] { ResolutionOriginalsStore::clear(canonicalID(2), path_); });
    EXPECT_EQ(restore(), 1);
    EXPECT_EQ(content(), std::nullopt);
}

TEST_F(ResolutionRestoringMeanwhile, WritesNothingWhenItsOwnRecordWasCleared) {
    const std::string text =
        R"( {"version":1,"entries":{"x":{"width":1,"height":1,"scaled":false,"hz":0}}} )";
    during("CGCompleteDisplayConfiguration", [&] { writeFile(path_, text); });
    EXPECT_EQ(restore(), 2);
    EXPECT_EQ(content(), text);
}

TEST_F(ResolutionRestoringMeanwhile, WritesNothingWhenTheFileWasRemoved) {
    during("CGCompleteDisplayConfiguration", [this] {
        ResolutionOriginalsStore::clear(canonicalID(1), path_);
        ResolutionOriginalsStore::clear(canonicalID(2), path_);
    });
    EXPECT_EQ(restore(), 2);
    EXPECT_EQ(content(), std::nullopt);
}

TEST_F(ResolutionRestoringMeanwhile, AddsAndClearsAtOnce) {
    during("CGSGetCurrentDisplayMode", [this] {
        ResolutionOriginalsStore::clear(canonicalID(2), path_);
        ResolutionOriginalsStore::recordIfAbsent("new", small, path_);
    });
    EXPECT_EQ(restore(), 2);
    EXPECT_EQ(entries(), (Entries{{"new", small}}));
}

TEST_F(ResolutionRestoringMeanwhile, SeesRecordsForDisplaysThatWereAddedBeforeItReadThem) {
    during("CGGetActiveDisplayList", [this] {
        ResolutionOriginalsStore::clear(canonicalID(1), path_);
        ResolutionOriginalsStore::clear(canonicalID(2), path_);
    });
    EXPECT_EQ(restore(), 0);
    EXPECT_EQ(modeOf(0), 1);
    EXPECT_EQ(callLines(), Lines{});
}

TEST_F(ResolutionRestoringMeanwhile, LeavesATornFileAlone) {
    during("CGCompleteDisplayConfiguration", [this] { writeFile(path_, "{torn"); });
    EXPECT_EQ(restore(), 2);
    EXPECT_EQ(content(), "{torn");
    EXPECT_THAT(
        takeLog(),
        ElementsAre("info: resolution restore: HW-10-20-1 -> 1280 × 720 @ 60 Hz", storeUnusable,
                    "info: resolution restore: HW-10-20-2 -> 1280 × 720 @ 60 Hz", storeUnusable));
}

}  // namespace
}  // namespace tolvaran::tests
