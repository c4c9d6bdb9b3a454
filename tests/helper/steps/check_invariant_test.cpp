#include "helper/steps/steps.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tests/helper/helper_test.hpp"
#include "tests/support/arrangement_check.hpp"
#include "tests/support/twin_warning.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

TEST(CheckInvariant, WhileTolvaranRunsItDoesNothing) {
    ArrangementCheck invariant(whileTolvaranRuns({812}, mac(two)));
    writeFile(invariant.state(".display-originals"), "not JSON");  // would be reported if read
    writeFile(invariant.state("side-pinned-sets.json"), "not JSON");
    writeFile(invariant.state("../Settings/preferences.json"), "not JSON");
    std::size_t opened = 0;
    simulator::decideCalls([&](const std::string& function) {
        opened += function == "open" && !simulator::callSubject().ends_with(".log") ? 1 : 0;
        return json();
    });
    EXPECT_EQ(invariant.run(), Lines{skips("checkInvariant", "cold-start", 812)});
    EXPECT_EQ(invariant.takeCalls(), Lines{});
    EXPECT_EQ(opened, 0U);
}

TEST(CheckInvariant, TheInstanceThatHasExitedDoesNotCountAsRunning) {
    ArrangementCheck invariant(whileTolvaranRuns({812}, mac(sideBySide)));
    EXPECT_EQ(invariant.run("proc-exit", 812),
              Lines{"debug: checkInvariant [proc-exit]: hardware not a Tolvaran layout, invariant "
                    "holds"});
}

TEST(CheckInvariant, TheDisplaysAreNamedBeforeTheAliasesAreLoaded) {
    json machine = mac(sideBySide);
    for (json& display : machine["displays"]) {
        display["serial"] = 7;  // twins
    }
    ArrangementCheck invariant(machine);
    writeFile(invariant.state("../Settings/preferences.json"), "not JSON");
    const Lines log = invariant.run();
    ASSERT_EQ(log.size(), 4U);
    EXPECT_THAT(log[0], testing::HasSubstr("Multiple displays"));
    EXPECT_THAT(log[1], testing::HasSubstr("Multiple displays"));
    EXPECT_EQ(log[2], "warn: AliasMap: preferences.json unparseable, falling back to identity");
}

TEST(CheckInvariant, AfterARunOfTolvaranEveryArrangementIsTriedAgain) {
    const json saved{{sig({1, 3}), entries({{1, 0, 0}, {3, 0, -100}})},
                     {sig({3}), entries({{3, 0, -300}})}};
    for (const bool hasRun : {false, true}) {
        ArrangementCheck invariant(three, saved);
        do {
            invariant.run();
        } while (!invariant.takeCalls().empty());
        simulator::perform({{"arrange", {{"2", {100, 100}}, {"3", {200, 200}}}}});
        invariant.run("proc-exit", hasRun ? std::optional<pid_t>(812) : std::nullopt);
        const Lines toTheRow = moveCalls({{1, 0, 0}, {2, 100, 0}, {3, 200, 0}});
        const Lines tried = moveCalls({{1, 0, 0}, {3, 0, -100}}) + moveCalls({{3, 0, -300}});
        EXPECT_EQ(invariant.takeCalls(), hasRun ? tried : toTheRow);
    }
}

TEST(CheckInvariant, OnceOtherDisplaysWereConnectedEveryArrangementIsTriedAgain) {
    const json saved{{sig({1, 3}), entries({{1, 0, 0}, {3, 0, -100}})},
                     {sig({3}), entries({{3, 0, -300}})}};
    ArrangementCheck invariant(three, saved);
    do {
        invariant.run();
    } while (!invariant.takeCalls().empty());
    json third = mac(three)["displays"][2];
    simulator::perform({{"disconnect", 3}});
    invariant.run();
    simulator::perform({{"connect", third}});
    simulator::perform({{"arrange", {{"2", {100, 100}}, {"3", {200, 200}}}}});
    invariant.takeCalls();
    invariant.run();
    EXPECT_EQ(invariant.takeCalls(),
              moveCalls({{1, 0, 0}, {3, 0, -100}}) + moveCalls({{3, 0, -300}}));
}

// Naming the displays.

TEST(CheckInvariant, TwinsGoByTheirPorts) {
    const std::string port1 = "BBBBBBBB-0000-4000-8000-000000000001";
    const std::string port2 = "AAAAAAAA-0000-4000-8000-000000000002";
    const std::string signature = port2 + "," + port1;
    json machine = mac(two);
    machine["displays"][1]["serial"] = 1;
    machine["displays"][0]["portUUID"] = port1;
    machine["displays"][1]["portUUID"] = port2;
    ArrangementCheck invariant(machine,
                               {{signature, {placed(port2, 100, 0), placed(port1, 0, 0)}}});
    const std::string twin = twinWarning("1552-41234-1");
    EXPECT_EQ(invariant.run(), (Lines{twin, twin, detected} + moved({{2, 100, 0}, {1, 0, 0}}) +
                                Lines{restoredExact(signature)}));
}

TEST(CheckInvariant, AliasesAreFoldedIntoTheCanonicalID) {
    const std::string signature = uuid(2) + ",Zeta";
    ArrangementCheck invariant(two, {{signature, {placed("Zeta", 0, 0), placed(uuid(2), 100, 0)}}});
    invariant.fold({"Zeta", uuid(1)});
    EXPECT_EQ(invariant.run(),
              (Lines{detected} + moved(sideBySide) + Lines{restoredExact(signature)}));
}

TEST(CheckInvariant, TheLaterOfTwoDisplaysWithOneCanonicalIDCounts) {
    ArrangementCheck invariant(two, {{"Zeta,Zeta", json::array({placed("Zeta", 0, 100)})}});
    invariant.fold({"Zeta", uuid(1), uuid(2)});
    EXPECT_EQ(invariant.run(),
              (Lines{detected} + moved({{2, 0, 100}}) + Lines{restoredExact("Zeta,Zeta")}));
}

TEST(CheckInvariant, ADisplayWithoutUUIDGoesByItsNumber) {
    const std::string signature = "Display-2," + uuid(1);
    json machine = mac(two);
    machine["displays"][1].erase("vendor");
    machine["displays"][1]["portUUID"] = nullptr;
    ArrangementCheck invariant(machine,
                               {{signature, {placed(uuid(1), 0, 0), placed("Display-2", 100, 0)}}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected} + moved(sideBySide) + Lines{restoredExact(signature)}));
}

TEST(CheckInvariant, The17thDisplayIsNotSeen) {
    Places places;
    std::vector<int> seen;
    for (int display = 11; display <= 26; ++display) {
        places.push_back({display, (display - 11) * 100, 0});
        seen.push_back(display);
    }
    places.push_back({27, 1600, 100});  // a corner with the 16th
    ArrangementCheck invariant(places);
    invariant.write("separated-sets.json", {{"version", 1}, {"signatures", {sig(seen)}}});
    EXPECT_EQ(invariant.run(), (Lines{healthy, clearedMark("separated", sig(seen))}));
}

TEST(CheckInvariant, WithoutAListOfDisplaysNothingIsDone) {
    ArrangementCheck invariant(two);
    invariant.markAll({sig({1, 2})}, two);
    failCalls("CGGetActiveDisplayList", 1000);
    EXPECT_EQ(invariant.run(), Lines{healthy});
    EXPECT_EQ(invariant.takeCalls(), Lines{});
    EXPECT_EQ(invariant.marks().size(), 3U);
}

}  // namespace
}  // namespace tolvaran::tests
