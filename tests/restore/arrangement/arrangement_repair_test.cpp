#include "restore/arrangement/arrangement_repair.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "simulator/simulator.hpp"
#include "tests/support/arrangement_check.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

/// The marks that every repair but the exact one leaves.
const Lines onlyNativeMirrored{"native-mirrored"};
const Lines none{};

/// A completion that is accepted without effect.
json withoutEffect(bool once = true) {
    json fault{{"call", "CGCompleteDisplayConfiguration"}, {"effect", false}};
    if (once) {
        fault["times"] = 1;
    }
    return fault;
}

json refused(const std::string& call, bool once) {
    json fault{{"call", call}, {"result", 1000}};
    if (once) {
        fault["times"] = 1;
    }
    return fault;
}

Lines rejected(int count, const std::string& what) {
    return {"debug: Applying " + std::to_string(count) + " positions to hardware",
            said("error", "CG configure rejected " + what)};
}

json with(int other, Places places) {
    places.push_back({other, 900, 900});
    return entries(places);
}

json withoutMainDisplay(const Places& places) {
    json machine = mac(places);
    machine["mainDisplay"] = 99;
    return machine;
}

/// Rows without a machine use `two`.
class Repair : public testing::TestWithParam<CheckRow> {};

TEST_P(Repair, EndsAsItsRowSays) {
    expectRow(GetParam());
}

std::vector<CheckRow> exactRows() {
    const Places leftOf{{2, -100, 0}, {1, 0, 0}};
    const Places twice{{1, 0, 0}, {2, 0, 100}, {2, 0, -100}};
    const std::string below = "CGCompleteDisplayConfiguration [1] = 1000";
    return {
        {.name = "PutsTheExactArrangementBack",
         .saved = {{sig({1, 2}), entries(leftOf)}, {sig({1}), entries({{1, 0, 0}})}},
         .marked = two,
         .log = Lines{detected} + moved(leftOf) + Lines{restoredExact(sig({1, 2}))},
         .calls = moveCalls(leftOf),
         .marksLeft = none},
        {.name = "PassesOverAnExactArrangementThatIsAZigzag",
         .saved = {{sig({1, 2}), entries({{1, 0, 0}, {2, -100, -100}})},
                   {sig({2}), entries({{2, 100, 0}})}},
         .marked = elsewhere,
         .log = Lines{detected, detected, isItselfZigzag("sig=" + sig({1, 2}))} +
                moved({{2, 100, 0}}) + Lines{restoredSubset(sig({1, 2}), 1)},
         .calls = moveCalls({{2, 100, 0}}),
         .marksLeft = onlyNativeMirrored},
        {.name = "SkipsEntriesOfDisplaysThatAreNotActive",
         .saved = {{sig({1, 2}), entries({{9, 500, 500}, {1, 0, 0}, {2, 0, 100}})}},
         .log = Lines{detected} + moved(column) + Lines{restoredExact(sig({1, 2}))},
         .calls = moveCalls(column)},
        {.name = "SilentlySkipsAnExactArrangementOfAbsentDisplays",
         .machine = mac(ambiguous),
         .saved = {{sig({1, 2, 3}), entries({{8, 0, 0}, {9, 100, 0}})}},
         .log = {detected, ambiguousGate, leftUnchanged, nothingUsable(sig({1, 2, 3}))}},
        {.name = "AppliesBothPositionsOfADisplaySavedTwice",
         .saved = {{sig({1, 2}), entries(twice)}},
         .log = Lines{detected} + moved(twice) + Lines{restoredExact(sig({1, 2}))},
         .calls = moveCalls(twice)},
        {.name = "ShiftsSavedPositionsToTheMainDisplay",
         .saved = {{sig({1, 2}), entries({{1, 100, 30}, {2, 0, 30}})}},
         .log = Lines{detected,
                      "info: Re-anchored saved positions to current main 1: shift=(100,30)"} +
                moved({{1, 0, 0}, {2, -100, 0}}) + Lines{restoredExact(sig({1, 2}))},
         .calls = moveCalls({{1, 0, 0}, {2, -100, 0}})},
        {.name = "KeepsTheFirstListOfDisplaysIfTheyCannotBeListedAgain",
         .saved = {{sig({1, 2}), entries(column)}},
         .faults = {{{"call", "CGGetActiveDisplayList"}, {"result", 1000}, {"skip", 1}}},
         .log = Lines{detected} + moved(column) + Lines{restoredExact(sig({1, 2}))},
         .calls = moveCalls(column)},
        {.name = "PassesOverWhatCannotBeBegun",
         .saved = {{sig({1, 2}), entries(sideBySide)}, {sig({2}), entries({{2, 0, 100}})}},
         .faults = {refused("CGBeginDisplayConfiguration", true)},
         .log = Lines{detected} + rejected(2, "for sig=" + sig({1, 2})) + moved({{2, 0, 100}}) +
                Lines{restoredSubset(sig({1, 2}), 1)},
         .calls = Lines{"CGBeginDisplayConfiguration [] = 1000"} + moveCalls({{2, 0, 100}})},
        {.name = "PassesOverWhatCannotBeCompleted",
         .saved = {{sig({1, 2}), entries(sideBySide)}, {sig({2}), entries({{2, 0, 100}})}},
         .faults = {refused("CGCompleteDisplayConfiguration", true)},
         .log = Lines{detected} + moved(sideBySide) +
                Lines{said("error", "CG configure rejected for sig=" + sig({1, 2}))} +
                moved({{2, 0, 100}}) + Lines{restoredSubset(sig({1, 2}), 1)},
         .calls = moveCalls(sideBySide, below) + moveCalls({{2, 0, 100}})},
        {.name = "LeavesTheMarksIfEverythingIsRefused",
         .saved = {{sig({1, 2}), entries(sideBySide)},
                   {sig({2}), entries({{2, 0, 100}})},
                   {sig({1, 2, 3}), entries({{1, 0, 0}, {2, 0, -100}, {3, 0, 100}})}},
         .marked = elsewhere,
         .faults = {refused("CGBeginDisplayConfiguration", false)},
         .log = Lines{detected} + rejected(2, "for sig=" + sig({1, 2})) +
                rejected(1, "for subset(1)") + rejected(2, "for superset-projection[0]") +
                Lines{applyingStacked} + rejected(2, "stacked fallback") +
                Lines{nothingUsable(sig({1, 2}))},
         .calls = Lines(4, "CGBeginDisplayConfiguration [] = 1000")},
        {.name = "CountsAConfigurationWithoutEffectAsAFailure",
         .saved = {{sig({1, 2}), entries(sideBySide)}},
         .faults = {withoutEffect()},
         .log = Lines{detected} + moved(sideBySide) + Lines{detected, applyingStacked} +
                moved(sideBySide) + Lines{restoredStacked(sig({1, 2}))},
         .calls = moveCalls(sideBySide) + moveCalls(sideBySide)},
        {.name = "CountsAZigzagOfOtherDisplaysAsAFailure",
         .machine = mac(three),
         .saved = {{sig({3}), entries({{3, 200, 100}})}},  // beside 2; the corner of 1 and 2 stays
         .log = Lines{detected} + moved({{3, 200, 100}}) +
                Lines{detected, ambiguousGate, leftUnchanged, nothingUsable(sig({1, 2, 3}))},
         .calls = moveCalls({{3, 200, 100}})},
    };
}

INSTANTIATE_TEST_SUITE_P(Exact, Repair, testing::ValuesIn(exactRows()),
                         [](const auto& row) { return row.param.name; });

std::vector<CheckRow> subsetRows() {
    const Places larger{{1, 0, 0}, {2, 100, 0}, {3, 0, 100}};
    const Places pair{{2, 0, 100}, {3, 0, 200}};
    const Places oneAndThree{{1, 0, 0}, {3, 0, 100}};
    return {
        {.name = "TheLargerOfTwoIsTriedFirst",
         .machine = mac(four),
         // In the order of their signatures the smaller one comes first.
         .saved = {{sig({1, 2}), entries(sideBySide)}, {sig({1, 2, 3}), entries(larger)}},
         .marked = elsewhere,
         .log = Lines{detected} + moved(larger) + Lines{restoredSubset(sig({1, 2, 3, 4}), 3)},
         .calls = moveCalls(larger),
         .marksLeft = onlyNativeMirrored},
        {.name = "EqualSizesAreTriedInTheOrderOfTheirSignatures",
         .machine = mac(three),
         // The first is passed over, the second restored, the third no longer needed.
         .saved = {{sig({2, 3}), entries({{2, 100, 0}, {3, 200, 0}})},
                   {sig({1}), entries({{1, 0, 0}})},
                   {sig({1, 3}), entries(oneAndThree)},
                   {sig({1, 2}), entries(two)}},
         .log = Lines{detected, detected, isItselfZigzag("subset(2)")} + moved(oneAndThree) +
                Lines{restoredSubset(sig({1, 2, 3}), 2)},
         .calls = moveCalls(oneAndThree)},
        {.name = "ASmallerOneFollowsALargerOneThatFails",
         .machine = mac(three),
         .saved = {{sig({1, 2}), entries(two)}, {sig({2}), entries({{2, 0, 100}})}},
         .log = Lines{detected, detected, isItselfZigzag("subset(2)")} + moved({{2, 0, 100}}) +
                Lines{restoredSubset(sig({1, 2, 3}), 1)},
         .calls = moveCalls({{2, 0, 100}})},
        {.name = "ArrangementsOfNoneOrOfAbsentDisplaysAreNotTried",
         .machine = mac(ambiguous),
         .saved = {{"", json::array()},
                   {sig({1}), json::array()},
                   {sig({2, 9}), entries({{2, 0, 0}, {9, 100, 0}})},
                   {sig({9}), entries({{9, 0, 0}})}},
         .log = {detected, ambiguousGate, leftUnchanged, nothingUsable(sig({1, 2, 3}))}},
        {.name = "ADisplayNamedTwiceCountsOnce",
         .machine = mac(three),
         .saved = {{"a", entries({{2, 0, 100}, {2, 0, 100}})}, {"b", entries(pair)}},
         .log = Lines{detected} + moved(pair) + Lines{restoredSubset(sig({1, 2, 3}), 2)},
         .calls = moveCalls(pair)},
        {.name = "AnArrangementOfAllDisplaysUnderAnotherSignatureCountsAsASubset",
         .saved = {{"another", entries(sideBySide)}},
         .log = Lines{detected} + moved(sideBySide) + Lines{restoredSubset(sig({1, 2}), 2)},
         .calls = moveCalls(sideBySide)},
        {.name = "LeavesTheNativeMirroredMark",
         .machine = mac(sideBySide),
         .saved = {{sig({2}), entries({{2, 0, 100}})}},
         .marked = sideBySide,
         .log = moved({{2, 0, 100}}) + Lines{restoredSubset(sig({1, 2}), 1)},
         .calls = moveCalls({{2, 0, 100}}),
         .marksLeft = onlyNativeMirrored},
    };
}

INSTANTIATE_TEST_SUITE_P(Subset, Repair, testing::ValuesIn(subsetRows()),
                         [](const auto& row) { return row.param.name; });

std::vector<CheckRow> lastResortRows() {
    const Places ofFour{{1, 0, 0}, {2, 100, 0}, {3, 200, 0}, {4, 300, 0}};
    const Places stacked{{1, 0, 0}, {2, 100, 0}, {3, 200, 0}};
    const Places projected{{2, 0, -100}, {1, 0, 0}};
    return {
        {.name = "AnAmbiguousLayoutIsNotGuessedAt",
         .machine = mac(ambiguous),
         .saved = {{sig({1, 2, 3, 4}), entries(ofFour)}},
         .marked = elsewhere,
         .log = {detected, ambiguousGate, leftUnchanged, nothingUsable(sig({1, 2, 3}))}},
        {.name = "TheSmallestSupersetIsProjected",
         .saved = {{sig({1, 2, 3, 4}), entries(ofFour)},
                   {sig({1, 2, 3}), entries({{3, 0, 0}, {2, 0, 100}, {1, 0, 200}})}},
         .marked = elsewhere,
         .log =
             Lines{detected, "info: Re-anchored saved positions to current main 1: shift=(0,200)"} +
             moved(projected) + Lines{restoredProjection(sig({1, 2}))},
         .calls = moveCalls(projected),
         .marksLeft = onlyNativeMirrored},
        {.name = "ProjectionsOfEqualSizeAreTriedInTheOrderOfTheirSignatures",
         .saved = {{sig({1, 2, 5}), with(5, {{1, 0, 0}, {2, -100, 0}})},
                   {sig({1, 2, 3}), with(3, two)},
                   {sig({1, 2, 4}), with(4, column)}},
         .log = Lines{detected, detected, isItselfZigzag("superset-projection[0]")} +
                moved(column) + Lines{restoredProjection(sig({1, 2}))},
         .calls = moveCalls(column)},
        {.name = "AfterTheLastProjectionComesTheRow",
         .saved = {{sig({1, 2, 3}), entries({{1, 0, 0}, {2, 100, 100}, {3, 200, 0}})}},
         .log =
             Lines{detected, detected, isItselfZigzag("superset-projection[0]"), applyingStacked} +
             moved(sideBySide) + Lines{restoredStacked(sig({1, 2}))},
         .calls = moveCalls(sideBySide)},
        {.name = "AFullZigzagIsPutIntoARow",
         .machine = mac(three),
         .marked = elsewhere,
         .log = Lines{detected, applyingStacked} + moved(stacked) +
                Lines{restoredStacked(sig({1, 2, 3}))},
         .calls = moveCalls(stacked),
         .marksLeft = onlyNativeMirrored},
        {.name = "ARowWithoutEffectIsAFailure",
         .faults = {withoutEffect(false)},
         .log = Lines{detected, applyingStacked} + moved(sideBySide) +
                Lines{detected, nothingUsable(sig({1, 2}))},
         .calls = moveCalls(sideBySide)},
        {.name = "WithoutAMainDisplayThereIsNoRow",
         .machine = withoutMainDisplay(two),
         .log = {detected, nothingUsable(sig({1, 2}))}},
        {.name = "WithoutAUsableArrangementAMarkedLayoutStays",
         .machine = mac(sideBySide),
         .marked = sideBySide,
         .log = {ambiguousGate, leftUnchanged, nothingUsable(sig({1, 2}))}},
    };
}

INSTANTIATE_TEST_SUITE_P(LastResort, Repair, testing::ValuesIn(lastResortRows()),
                         [](const auto& row) { return row.param.name; });

std::vector<CheckRow> inForceRows() {
    const Lines unchanged{ambiguousGate, leftUnchanged, nothingUsable(sig({1, 2}))};
    std::vector<CheckRow> rows{
        {.name = "TheExactOneDoesNotEndTheZigzagOfOthers",
         .saved = {{sig({1, 2}), entries({{2, 100, 100}})}},
         .log = Lines{detected, detected, alreadyInForce("sig=" + sig({1, 2})), applyingStacked} +
                moved(sideBySide) + Lines{restoredStacked(sig({1, 2}))},
         .calls = moveCalls(sideBySide)},
        {.name = "AfterASubsetTheNextIsTried",
         .machine = mac(sideBySide),
         .saved = {{"a", entries({{1, 0, 0}})}, {"b", entries({{2, 0, 100}})}},
         .marked = sideBySide,
         .log = Lines{alreadyInForce("subset(1)")} + moved({{2, 0, 100}}) +
                Lines{restoredSubset(sig({1, 2}), 1)},
         .calls = moveCalls({{2, 0, 100}}),
         .marksLeft = onlyNativeMirrored},
        {.name = "AfterAConfigurationThatMovesNothingTheNextIsTried",
         .machine = mac(sideBySide),
         .saved = {{sig({1, 2}), entries({{2, 0, 100}})}, {sig({2}), entries({{2, 0, -100}})}},
         .marked = sideBySide,
         .faults = {withoutEffect()},
         .log =
             moved({{2, 0, 100}}) + moved({{2, 0, -100}}) + Lines{restoredSubset(sig({1, 2}), 1)},
         .calls = moveCalls({{2, 0, 100}}) + moveCalls({{2, 0, -100}}),
         .marksLeft = onlyNativeMirrored},
    };
    const std::vector<std::pair<std::string, Places>> exact{
        {"TheExactOneIsRestored", sideBySide},
        {"TheExactOneIsRestoredElsewhereOnTheDesktop", {{1, 30, 40}, {2, 130, 40}}},
        {"OfSeveralPositionsTheLastCounts", {{1, 0, 0}, {2, 0, 100}, {2, 100, 0}}}};
    for (const auto& [name, places] : exact) {
        rows.push_back({.name = name,
                        .machine = mac(sideBySide),
                        .saved = {{sig({1, 2}), entries(places)}},
                        .marked = sideBySide,
                        .log = {restoredExact(sig({1, 2}))},
                        .marksLeft = none});
    }
    const std::vector<std::pair<std::string, Places>> subsets{
        {"TheMainDisplayAlone", {{1, 0, 0}}},
        {"TheMainDisplayAnywhere", {{1, 7, 7}}},
        {"AnotherDisplay", {{2, 100, 0}}}};
    for (const auto& [name, places] : subsets) {
        rows.push_back({.name = "ASubsetIsPassedOver" + name,
                        .machine = mac(sideBySide),
                        .saved = {{sig({9}), entries(places)}},
                        .marked = sideBySide,
                        .log = Lines{alreadyInForce("subset(1)")} + unchanged});
    }
    const std::vector<std::pair<std::string, std::string>> saved{{"Exact", sig({1, 2})},
                                                                 {"Subset", sig({2})}};
    for (const auto& [name, signature] : saved) {
        rows.push_back({.name = "AConfigurationThatMovesNothingHasFailed" + name,
                        .machine = mac(sideBySide),
                        .saved = {{signature, entries({{2, 0, 100}})}},
                        .marked = sideBySide,
                        .faults = {withoutEffect(false)},
                        .log = moved({{2, 0, 100}}) + unchanged,
                        .calls = moveCalls({{2, 0, 100}})});
    }
    return rows;
}

INSTANTIATE_TEST_SUITE_P(InForce, Repair, testing::ValuesIn(inForceRows()),
                         [](const auto& row) { return row.param.name; });

// Cases that need more than one check, or a closer look.

TEST(ArrangementRepair, AfterTheRowTheMarkThatItLeftIsStale) {
    ArrangementCheck invariant(three);
    invariant.markAll({sig({1, 2, 3})}, elsewhere);
    EXPECT_EQ(invariant.run().back(), restoredStacked(sig({1, 2, 3})));
    EXPECT_EQ(invariant.run(),
              (Lines{healthy, clearedMark("stale native-mirror", sig({1, 2, 3}))}));
}

TEST(ArrangementRepair, ARestoreThatCannotBeCheckedDoesNotCountAsDone) {
    // The subset leaves the other two corner to corner.
    ArrangementCheck invariant(three, {{sig({3}), entries({{3, 200, 100}})}});
    invariant.markAll({sig({1, 2, 3})}, elsewhere);
    // The listing after the subset was applied fails.
    simulator::addFault(
        {{"call", "CGGetActiveDisplayList"}, {"result", 1000}, {"skip", 2}, {"times", 1}});
    const Lines log = invariant.run();
    EXPECT_THAT(log, testing::Not(testing::Contains(testing::HasSubstr("subset-restored"))));
    EXPECT_EQ(log.back(), nothingUsable(sig({1, 2, 3})));
    EXPECT_EQ(invariant.marks().size(), 3U);
}

TEST(ArrangementRepair, AProjectionThatMovesNothingIsPassedOver) {
    // The projection moves neither of the two displays that share a canonical ID.
    ArrangementCheck invariant(two,
                               {{"Beta,Zeta", {placed("Zeta", 100, 100), placed("Beta", 0, 0)}}});
    invariant.fold({"Zeta", uuid(1), uuid(2)});
    EXPECT_EQ(invariant.run(),
              (Lines{detected, alreadyInForce("superset-projection[0]"), applyingStacked} +
               moved(sideBySide) + Lines{restoredStacked("Zeta,Zeta")}));
}

TEST(ArrangementRepair, OneUnreadableDisplayDoesNotHideAMove) {
    for (int call = 0; call < 30; ++call) {
        ArrangementCheck invariant(
            two, {{sig({1, 2}), entries(sideBySide)}, {sig({2}), entries({{2, 0, 100}})}});
        simulator::addFault(
            {{"call", "CGDisplayBounds"}, {"effect", false}, {"skip", call}, {"times", 1}});
        invariant.run();
        invariant.run();
        EXPECT_EQ(invariant.takeCalls(), moveCalls(sideBySide)) << call;
    }
}

// Displays that are moved back and forth.

std::size_t count(const Lines& log, const std::string& line) {
    return static_cast<std::size_t>(std::ranges::count(log, line));
}

/// Checks, as the helper does after every move, until a check moves nothing. @return how many
/// configurations this took
std::size_t configurationsUntilRest(ArrangementCheck& invariant, Lines& log) {
    std::size_t total = 0;
    for (int run = 0; run < 300; ++run) {
        log = log + invariant.run();
        const auto now = count(invariant.takeCalls(), beginCall);
        if (now == 0) {
            return total;
        }
        total += now;
    }
    return total;
}

std::string leftAlone(const std::string& what) {
    return said("warn", what +
                            " applied 3 times without settling the displays; skipping for 10 "
                            "minutes");
}

TEST(ArrangementRepair, ArrangementsThatMoveTheDisplaysBackAndForthAreLeftAlone) {
    ArrangementCheck invariant(three, {{sig({1, 3}), entries({{1, 0, 0}, {3, 0, -100}})},
                                       {sig({3}), entries({{3, 0, -300}})}});
    Lines log;
    EXPECT_LE(configurationsUntilRest(invariant, log), 7U);
    EXPECT_EQ(count(log, leftAlone("candidate subset(2) was")), 1U);
    EXPECT_EQ(count(log, leftAlone("candidate subset(1) was")), 1U);
    EXPECT_EQ(count(log, restoredStacked(sig({1, 2, 3}))), 1U);
    EXPECT_EQ(invariant.run(), Lines{healthy});
    // An ambiguous zigzag that arises later is not their doing.
    simulator::perform({{"arrange", {{"2", {100, 0}}, {"3", {200, 100}}}}});
    EXPECT_EQ(invariant.run().back(), nothingUsable(sig({1, 2, 3})));
}

TEST(ArrangementRepair, TheRowEndsTheZigzagThatSavedArrangementsDoNot) {
    // Each of the two moves a display of the staircase and leaves a corner touch.
    ArrangementCheck invariant(
        three, {{sig({2}), entries({{2, 100, -100}})}, {sig({3}), entries({{3, -100, 100}})}});
    Lines log;
    EXPECT_LE(configurationsUntilRest(invariant, log), 9U);
    EXPECT_EQ(invariant.run(), Lines{healthy});
}

TEST(ArrangementRepair, ArrangementsThatSucceedButMoveBackAndForthAreLeftAloneToo) {
    const Places below{{2, 0, 100}};
    const Places right{{2, 100, 0}};
    ArrangementCheck invariant(sideBySide, {{"a", entries(right)}, {"b", entries(below)}});
    invariant.markAll({}, {});
    invariant.write(
        "native-mirrored-sets.json",
        {{"version", 1}, {"arrangements", {{sig({1, 2}), {entries(right), entries(below)}}}}});
    Lines log;
    EXPECT_EQ(configurationsUntilRest(invariant, log), 6U);
    EXPECT_EQ(count(log, leftAlone("candidate subset(1) was")), 2U);
}

TEST(ArrangementRepair, RepairsThatOthersUndoAreNotHeldBack) {
    ArrangementCheck invariant(two, {{sig({1, 2}), entries({{1, 0, 0}, {2, 0, 100}})}});
    for (int time = 0; time < 10; ++time) {
        EXPECT_EQ(invariant.run().back(), restoredExact(sig({1, 2})));
        EXPECT_EQ(invariant.run(), Lines{healthy});
        simulator::perform({{"arrange", {{"2", {100, 100}}}}});
    }
}

TEST(ArrangementRepair, OneCheckConfiguresALimitedNumberOfTimes) {
    json saved;
    for (int place = 0; place < 1000; ++place) {
        saved["a" + std::to_string(1000 + place)] = entries({{3, 1000 + place, 0}});
    }
    ArrangementCheck invariant(ambiguous, saved);
    failCalls("CGCompleteDisplayConfiguration", 1004);
    EXPECT_EQ(count(invariant.run(), "debug: Applying 1 positions to hardware"), 24U);
    EXPECT_EQ(count(invariant.run(), "debug: Applying 1 positions to hardware"), 24U);
}

TEST(ArrangementRepair, WhatHasNoEffectIsNotTriedEndlessly) {
    ArrangementCheck invariant(two, {{sig({1, 2}), entries({{1, 0, 0}, {2, 0, 100}})}});
    simulator::addFault({{"call", "CGCompleteDisplayConfiguration"}, {"effect", false}});
    Lines log;
    EXPECT_EQ(configurationsUntilRest(invariant, log), 6U);
    EXPECT_EQ(count(log, leftAlone("candidate sig=" + sig({1, 2}) + " was")), 1U);
    EXPECT_EQ(count(log, leftAlone("stacked fallback was")), 1U);
    simulator::advance(600);
    simulator::clearFaults();
    EXPECT_EQ(invariant.run().back(), restoredExact(sig({1, 2})));
}

/// How often one check of a staircase of 16 displays calls each function, with this many useless
/// saved arrangements like `places`.
std::map<std::string, int> callsOfOneCheck(const Places& staircase, const Places& places,
                                           int arrangements) {
    json saved;
    for (int i = 0; i < arrangements; ++i) {
        saved["a" + std::to_string(i)] = entries(places);
    }
    ArrangementCheck invariant(staircase, saved);
    simulator::addFault({{"call", "CGCompleteDisplayConfiguration"}, {"effect", false}});
    std::map<std::string, int> calls;
    for (const char* const function :
         {"CGGetActiveDisplayList", "CGDisplayBounds", "CGMainDisplayID", "CGDisplayVendorNumber",
          "IOServiceGetMatchingServices", "CGBeginDisplayConfiguration", "open", "read", "stat"}) {
        simulator::onCall(function, [&calls, function] { ++calls[function]; });
    }
    invariant.run();
    return calls;
}

TEST(ArrangementRepair, MoreArrangementsInADamagedFileCostNoMoreCalls) {
    Places staircase;
    Places grid;
    for (int i = 0; i < 16; ++i) {
        staircase.push_back({i + 1, i * 100, i * 100});
        grid.push_back({i + 1, i % 4 * 100, i / 4 * 100});
    }
    for (const Places& places : {staircase, grid}) {
        const auto calls = callsOfOneCheck(staircase, places, 50);
        EXPECT_GT(calls.at("CGDisplayBounds"), 0);
        EXPECT_EQ(callsOfOneCheck(staircase, places, 51), calls);
    }
}

TEST(ArrangementRepair, UnusableOriginalsCountAsMissing) {
    ArrangementCheck invariant(two);
    writeFile(invariant.state(".display-originals"), R"({"version":2,"arrangements":{"a":[{}]}})");
    EXPECT_EQ(
        invariant.run(),
        (Lines{detected, "warn: originals file missing/wrong version/unparseable, starting fresh",
               applyingStacked} +
         moved(sideBySide) + Lines{restoredStacked(sig({1, 2}))}));
}

TEST(ArrangementRepair, SavedOriginsThatNoDisplayCanHaveArePassedOver) {
    for (const json& far : {json(1073741824), json(-1073741824), json(2147483648), json(1e308)}) {
        for (const int entry : {0, 1}) {
            for (const char* const axis : {"x", "y"}) {
                json saved = entries(sideBySide);
                saved[entry][axis] = far;
                ArrangementCheck invariant(
                    two, {{sig({1, 2}), saved}, {sig({2}), entries({{2, 0, 100}})}});
                EXPECT_EQ(
                    invariant.run(),
                    (Lines{detected, said("warn", "candidate sig=" + sig({1, 2}) +
                                                      " has out-of-range coordinates, skipping")} +
                     moved({{2, 0, 100}}) + Lines{restoredSubset(sig({1, 2}), 1)}))
                    << far << " in " << axis << " of entry " << entry;
            }
        }
    }
}

TEST(ArrangementRepair, AnArrangementOfMorePositionsThanDisplaysIsPassedOver) {
    for (const std::size_t count : {16U, 17U, 1000U}) {
        json saved = entries({{1, 0, 0}});
        saved.insert(saved.end(), count - 1, entries({{2, 0, 100}})[0]);
        ArrangementCheck invariant(two, {{sig({1, 2}), saved}});
        const Lines log = invariant.run();
        if (count > 16) {
            EXPECT_EQ(log[1], said("warn", "candidate sig=" + sig({1, 2}) + " has " +
                                               std::to_string(count) + " positions, skipping"));
        } else {
            EXPECT_EQ(log.back(), restoredExact(sig({1, 2})));
        }
    }
}

TEST(ArrangementRepair, TheFarthestPossibleOriginsAreApplied) {
    constexpr int far = 1073741823;
    ArrangementCheck invariant(two, {{sig({1, 2}), entries({{1, -far, far}, {2, far, -far}})}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected,
                     "info: Re-anchored saved positions to current main 1: "
                     "shift=(-1073741823,1073741823)"} +
               moved({{1, 0, 0}, {2, 2 * far, -2 * far}}) + Lines{restoredExact(sig({1, 2}))}));
}

}  // namespace
}  // namespace tolvaran::tests
