#include "player/reduction.hpp"

#include "player/scenario.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

class ReductionTest : public SimulatorTest {};

/// Holds for documents that still have all of these places.
std::function<bool(const json&)> keeps(const std::vector<std::string>& places) {
    return [places](const json& document) {
        return std::ranges::all_of(places, [&](const std::string& place) {
            return document.contains(json::json_pointer(place));
        });
    };
}

TEST_F(ReductionTest, KeepsWhatIsNeededAndNothingElse) {
    const json document = {{"a", {{"b", 1}, {"c", {{"d", 2}, {"e", 3}}}}}, {"f", {1, 2, 3}}};
    EXPECT_EQ(reduced(document, keeps({"/a/c/e"})).scenario, (json{{"a", {{"c", {{"e", 3}}}}}}));
    EXPECT_EQ(reduced(document, keeps({"/f/0"})).scenario["f"].size(), 1U);
    EXPECT_EQ(reduced(document, keeps({})).scenario, json::object());
}

TEST_F(ReductionTest, DropsElementsByTheHalf) {
    json list = json::array();
    for (int i = 0; i < 1000; ++i) {
        list.push_back(i);
    }
    const auto reduction = reduced({{"list", list}}, [](const json& document) {
        const json found = document.value("list", json::array());
        return std::ranges::find(found, json(777)) != found.end();
    });
    EXPECT_EQ(reduction.scenario, (json{{"list", {777}}}));
    EXPECT_LT(reduction.plays, 50U);
}

TEST_F(ReductionTest, OfARealScenarioKeepsTheLine) {
    const json document = loadDocument(TOLVARAN_SCENARIOS "/crash-in-full.json");
    const std::string line = "info: restoreDockAutoHide [proc-exit]: auto-hide restored";
    ASSERT_TRUE(showsText(document, line));
    const json small =
        reduced(document, [&](const json& scenario) { return showsText(scenario, line); }).scenario;
    EXPECT_TRUE(showsText(small, line));
    EXPECT_EQ(small["files"].size(), 1U);
    EXPECT_EQ(small["timeline"].size(), 1U);
    EXPECT_FALSE(small.contains("expect"));
    EXPECT_LT(small.dump().size(), 300U) << small;
}

TEST_F(ReductionTest, ShowsLinesAndCalls) {
    const json document = {
        {"mac", {{"dock", {{"autoHide", true}}}}},
        {"files", {{"State/dock-autohide-pending.json", {{"version", 1}, {"restoreTo", false}}}}}};
    EXPECT_TRUE(showsText(document, "CoreDockSetAutoHideEnabled(false)"));
    EXPECT_TRUE(showsText(document, "info: dock auto-hide restoreIfPending"));
    EXPECT_FALSE(showsText(document, "CoreDockSetAutoHideEnabled(true)"));
    EXPECT_FALSE(showsText({{"mac", 1}}, ""));
}

TEST_F(ReductionTest, KnowsTheFirstFailure) {
    EXPECT_EQ(firstFailure({{"expect", {{"mac", {{"dock", {{"autoHide", true}}}}}}}}),
              "expect.mac.dock.autoHide");
    EXPECT_EQ(firstFailure(json::object()), "");
    EXPECT_EQ(firstFailure({{"mac", 1}}), "");
}

}  // namespace
}  // namespace tolvaran::tests
