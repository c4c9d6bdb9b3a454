#include "report/changes.hpp"

#include "tests/report/results.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::report;

using testing::ElementsAre;
using testing::IsEmpty;

/// The facts of a group as "name: before > after", a changed one with a star.
std::vector<std::string> shown(const FactGroup& group) {
    std::vector<std::string> all;
    for (const Fact& fact : group.facts) {
        all.push_back((fact.isChanged() ? "*" : "") + fact.name + ": " + fact.before + " > " +
                      fact.after);
    }
    return all;
}

TEST(Changes, OfDisplays) {
    const json before = macWith({display(1, 0, 0, 100, 80), display(2, 100, 80, 50, 40)});
    json moved = display(1, 0, 0, 100, 80);
    moved["menuBarOverride"] = false;
    moved["spaceType"] = 4;
    const json after =
        completeMac({{"displays", {moved, display(3, 100, 0, 50, 40)}}, {"mainDisplay", 3}});
    const std::vector<FactGroup> groups = displayFacts(before, after);
    ASSERT_EQ(groups.size(), 3U);
    EXPECT_EQ(groups[0].title, "Display 1 · 10/20, ID 1");
    EXPECT_THAT(shown(groups[0]),
                ElementsAre("*Main display: yes > no", "Origin: 0, 0 > 0, 0",
                            "Size: 100 × 80 points > 100 × 80 points", "Mode: no mode > no mode",
                            "*Menu bar: shown > hidden, on a full-screen space"));
    EXPECT_THAT(shown(groups[1]), ElementsAre("*Connected: yes > no", "*Origin: 100, 80 > ",
                                              "*Size: 50 × 40 points > ", "*Mode: no mode > ",
                                              "*Menu bar: shown > "));
    EXPECT_EQ(groups[2].title, "Display 3 · 10/20, ID 3");
    EXPECT_EQ(shown(groups[2])[0], "*Connected: no > yes");
    EXPECT_EQ(displayFacts(before, before)[0].title, "Display 1 · 10/20, ID 1, main display");
}

TEST(Changes, OfCornersMenuBarDockAndCursor) {
    const json before = completeMac(json::parse(R"({
        "dock": {"autoHide": true, "cornerActions": [1, 0, 99, 5],
                 "cornerModifiers": [0, 0, 7, 131072]},
        "menuBar": {"autoHide": true},
        "preferences": {"com.apple.dock": {"wvous-br-corner": 5, "wvous-br-modifier": 1048576,
                                           "wvous-tl-corner": "two", "autohide": true},
                        "global": {"_HIHideMenuBar": true}},
        "cursorAssociated": false})"));
    const json after = completeMac(json::object());
    const std::vector<FactGroup> groups = deskFacts(before, after);
    ASSERT_GE(groups.size(), 4U);  // other devices may follow
    EXPECT_THAT(
        shown(groups[0]),
        ElementsAre(
            "Top left: nothing (1) > nothing (1)", "*Top left, as stored: \"two\" > not set",
            "*Top right: nothing (0) > nothing (1)", "Top right, as stored: not set > not set",
            "*Bottom left: 99 with modifier 7 > nothing (1)",
            "Bottom left, as stored: not set > not set",
            "*Bottom right: start screen saver (5) with Shift > nothing (1)",
            "*Bottom right, as stored: start screen saver (5) with Command > not set"));
    EXPECT_THAT(shown(groups[1]),
                ElementsAre("*Hides itself: yes > no", "*Hides itself, as stored: true > not set",
                            "In full screen, as stored: not set > not set",
                            "Active on: display 1 > display 1"));
    EXPECT_THAT(shown(groups[2]),
                ElementsAre("*Hides itself: yes > no", "*Hides itself, as stored: true > not set"));
    EXPECT_THAT(shown(groups[3]), ElementsAre("*Follows the mouse: no > yes"));
}

TEST(Changes, TheMenuBarMayBeActiveNowhere) {
    const json nowhere = macWith({});
    const json elsewhere =
        completeMac({{"menuBar", {{"activeDisplay", "37D8832A-2D66-02CA-B9F7-8F30A301B230"}}}});
    EXPECT_EQ(shown(deskFacts(nowhere, elsewhere)[1])[3],
              "*Active on: none > 37D8832A-2D66-02CA-B9F7-8F30A301B230");
}

TEST(Changes, OfPartsWithoutFactsOfTheirOwn) {
    json before = completeMac(json::object());
    before["lamp"] = {{"isOn", true}, {"colour", {1, 2}}};
    before["volume"] = 7;
    json after = before;
    after["lamp"]["isOn"] = false;
    const std::vector<FactGroup> groups = deskFacts(before, after);
    ASSERT_EQ(groups.size(), 5U);
    EXPECT_EQ(groups[4].title, "Other settings");
    EXPECT_THAT(shown(groups[4]),
                testing::IsSupersetOf(
                    {"lamp: colour: [1,2] > [1,2]", "*lamp: isOn: true > false", "volume: 7 > 7"}));
}

TEST(Changes, OfFiles) {
    const json before = {{"a", {{"x", 1}, {"y", 2}}}, {"gone", "text\n"}, {"same", 1}};
    const json after = {{"a", {{"x", 1}, {"y", 3}}}, {"new", ""}, {"same", 1}};
    const std::vector<FileChange> changes = fileChanges(before, after);
    ASSERT_EQ(changes.size(), 4U);
    EXPECT_EQ(changes[0].fate, FileFate::changed);
    EXPECT_THAT(changes[0].lines, ElementsAre(DifferenceLine{LineFate::kept, "{"},
                                              DifferenceLine{LineFate::kept, "  \"x\": 1,"},
                                              DifferenceLine{LineFate::removed, "  \"y\": 2"},
                                              DifferenceLine{LineFate::added, "  \"y\": 3"},
                                              DifferenceLine{LineFate::kept, "}"}));
    EXPECT_EQ(changes[1].path, "gone");
    EXPECT_EQ(changes[1].fate, FileFate::removed);
    EXPECT_THAT(changes[1].lines, ElementsAre(DifferenceLine{LineFate::removed, "text"}));
    EXPECT_EQ(changes[2].fate, FileFate::added);
    EXPECT_THAT(changes[2].lines, IsEmpty());
    EXPECT_EQ(changes[3].fate, FileFate::unchanged);
}

TEST(Changes, Headlines) {
    const json before = macWith({display(1, 0, 0, 10, 10), display(2, 10, 10, 10, 10)});
    const json after = completeMac(
        {{"displays", {display(1, 0, 0, 10, 10), display(2, 10, 0, 9, 9), display(3, 20, 0, 9, 9)}},
         {"cursorAssociated", false}});
    json result = resultOf(before, after);
    result["before"]["files"] = {{"State/.helper-heartbeat", 1}, {"gone", 1}, {"other", 1}};
    result["files"] = {{"State/.helper-heartbeat", 2}, {"other", 2}, {"new", 1}};
    EXPECT_THAT(headlines(result),
                ElementsAre("1 display connected or disconnected", "1 display moved", "Cursor",
                            "1 file changed", "1 file removed", "1 file added"));
    EXPECT_THAT(headlines(resultOf(before, before)), IsEmpty());
}

}  // namespace
}  // namespace tolvaran::tests
