#include "restore/arrangement/main_application_layout.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "simulator/simulator.hpp"
#include "tests/support/arrangement_check.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

std::string unusable(const std::string& kind) {
    return "warn: " + kind + "-sets file wrong version/unparseable, treating as empty";
}

TEST(MainApplicationLayout, HealthyHardwareIsLeftAlone) {
    for (const Places& places : {Places{}, Places{{1, 0, 0}}, sideBySide}) {
        ArrangementCheck invariant(places, {{sig({1, 2}), entries({{1, 0, 0}, {2, 0, 100}})}});
        EXPECT_EQ(invariant.run(), Lines{healthy});
        EXPECT_EQ(invariant.takeCalls(), Lines{});
    }
}

TEST(MainApplicationLayout, OnHealthyHardwareTheMarksOfTheseDisplaysAreStale) {
    ArrangementCheck invariant(sideBySide);
    // The marks of other signatures would match as well; only the signature keeps them.
    invariant.markAll({sig({1}), sig({1, 2}), sig({1, 3})}, {{1, 0, 0}, {2, 0, 100}});
    EXPECT_EQ(invariant.run(), (Lines{healthy, clearedMark("separated", sig({1, 2})),
                                      clearedMark("stale side-pin", sig({1, 2})),
                                      clearedMark("stale native-mirror", sig({1, 2}))}));
    EXPECT_EQ(invariant.marks(),
              (Lines{"separated:" + sig({1}), "separated:" + sig({1, 3}), "side-pinned:" + sig({1}),
                     "side-pinned:" + sig({1, 3}), "native-mirrored:" + sig({1}),
                     "native-mirrored:" + sig({1, 3})}));
    EXPECT_EQ(invariant.takeCalls(), Lines{});
    EXPECT_EQ(invariant.run(), Lines{healthy});  // nothing is left to clear
}

TEST(MainApplicationLayout, MarksThatCouldNotBeReadAtFirstAreNotTakenForStale) {
    ArrangementCheck invariant(sideBySide);
    invariant.markAll({sig({1, 2})}, sideBySide);
    std::set<std::string> failed;
    simulator::decideCalls([&](const std::string& function) {
        const std::string file = simulator::callSubject();
        const bool isRecord = file.ends_with("-sets.json");
        const bool fails = function == "open" && isRecord && failed.insert(file).second;
        return fails ? json{{"result", "EMFILE"}} : json();
    });
    EXPECT_EQ(invariant.run(), Lines{healthy});
    EXPECT_EQ(failed.size(), 3U);
    EXPECT_EQ(invariant.marks().size(), 3U);
}

TEST(MainApplicationLayout, NoTwoFailuresToReadAMarkMakeItStale) {
    for (int first = 0; first < 6; ++first) {
        for (int second = first + 1; second < 7; ++second) {
            ArrangementCheck invariant(sideBySide);
            invariant.markAll({sig({1, 2})}, sideBySide);
            int opened = 0;
            simulator::decideCalls([&](const std::string& function) {
                if (function != "open" || !simulator::callSubject().ends_with("-sets.json")) {
                    return json();
                }
                const int number = opened++;
                return number == first || number == second ? json{{"result", "EIO"}} : json();
            });
            invariant.run();
            const Lines marks = invariant.marks();
            for (const std::string kind : {"side-pinned:", "native-mirrored:"}) {
                EXPECT_THAT(marks, testing::Contains(kind + sig({1, 2})))
                    << first << " and " << second;
            }
        }
    }
}

TEST(MainApplicationLayout, MarksStayIfTheLayoutCouldNotBeRead) {
    ArrangementCheck invariant(two);
    invariant.markAll({sig({1, 2})}, sideBySide);
    simulator::addFault({{"call", "CGDisplayBounds"}, {"effect", false}, {"times", 2}});
    EXPECT_EQ(invariant.run(), (Lines{healthy, detected}));
    EXPECT_EQ(invariant.marks().size(), 3U);
}

TEST(MainApplicationLayout, AJustDisconnectedDisplayTouchesNoOthers) {
    // Its bounds read as a point in the main display's corner.
    const Places left{{1, 0, 0}, {2, -100, 0}};
    for (int call = 0; call < 4; ++call) {
        ArrangementCheck invariant(left, {{sig({1, 2}), entries(sideBySide)}});
        simulator::addFault(
            {{"call", "CGDisplayBounds"}, {"effect", false}, {"skip", call}, {"times", 1}});
        EXPECT_EQ(invariant.run(), Lines{healthy}) << call;
        EXPECT_EQ(invariant.takeCalls(), Lines{}) << call;
    }
}

TEST(MainApplicationLayout, UnusableLayoutMarksDoNotKeepASeparatedMarkFromBeingCleared) {
    ArrangementCheck invariant(sideBySide);
    invariant.markAll({sig({1, 2})}, {{1, 7, 7}});
    writeFile(invariant.state("side-pinned-sets.json"), "{");
    writeFile(invariant.state("native-mirrored-sets.json"), "{");
    EXPECT_EQ(invariant.run(), (Lines{unusable("side-pinned"), unusable("native-mirrored"), healthy,
                                      clearedMark("separated", sig({1, 2}))}));
}

TEST(MainApplicationLayout, EachKindOfStaleMarkIsClearedAlone) {
    const json layouts{{sig({1, 2}), {entries({{1, 0, 0}, {2, 0, 100}})}}};
    const json separated{{"version", 1}, {"signatures", {sig({1, 2})}}};
    const json sidePinned{{"version", 2}, {"arrangements", layouts}};
    const json nativeMirrored{{"version", 1}, {"arrangements", layouts}};
    const std::map<std::string, std::pair<json, std::string>> kinds{
        {"separated-sets.json", {separated, "separated"}},
        {"side-pinned-sets.json", {sidePinned, "stale side-pin"}},
        {"native-mirrored-sets.json", {nativeMirrored, "stale native-mirror"}}};
    for (const auto& [name, kind] : kinds) {
        ArrangementCheck invariant(sideBySide);
        invariant.write(name, kind.first);
        EXPECT_EQ(invariant.run(), (Lines{healthy, clearedMark(kind.second, sig({1, 2}))}));
    }
}

TEST(MainApplicationLayout, ALayoutRecognisedOnlyByAMarkIsUndone) {
    const Places marked{{1, 0, 0}, {2, 98, 2}};  // two points off in each direction
    const json layouts{{sig({1, 2}), {entries({{9, 0, 0}}), entries(marked)}}};
    const std::map<std::string, int> versions{{"side-pinned", 2}, {"native-mirrored", 1}};
    for (const auto& [kind, version] : versions) {
        ArrangementCheck invariant(sideBySide, {{sig({1, 2}), entries({{1, 0, 0}, {2, 0, 100}})}});
        invariant.markAll({}, {});
        invariant.write(kind + "-sets.json", {{"version", version}, {"arrangements", layouts}});
        EXPECT_EQ(invariant.run(),
                  (moved({{1, 0, 0}, {2, 0, 100}}) + Lines{restoredExact(sig({1, 2}))}));
        EXPECT_EQ(invariant.takeCalls(), moveCalls({{1, 0, 0}, {2, 0, 100}}));
        EXPECT_EQ(invariant.marks(), Lines{});
    }
}

TEST(MainApplicationLayout, UnusableMarksCountAsMissingAndStay) {
    const std::string bad = R"({"version":9})";
    ArrangementCheck invariant(sideBySide);
    for (const std::string kind : {"separated", "side-pinned", "native-mirrored"}) {
        writeFile(invariant.state(kind + "-sets.json"), bad);
    }
    EXPECT_EQ(invariant.run(), (Lines{unusable("side-pinned"), unusable("native-mirrored"), healthy,
                                      unusable("separated")}));
    for (const std::string kind : {"separated", "side-pinned", "native-mirrored"}) {
        EXPECT_EQ(readFile(invariant.state(kind + "-sets.json")), bad);
    }
}

TEST(MainApplicationLayout, OnHealthyHardwareEachStoreIsReadOnce) {
    ArrangementCheck invariant(sideBySide);
    invariant.markAll({sig({1, 3})}, sideBySide);  // other displays
    std::multiset<std::string> opened;
    simulator::decideCalls([&](const std::string& function) {
        const std::string file = simulator::callSubject();
        if (function == "open" && file.ends_with("-sets.json")) {
            opened.insert(file);
        }
        return json();
    });
    EXPECT_EQ(invariant.run(), Lines{healthy});
    EXPECT_EQ(opened, (std::multiset<std::string>{invariant.state("separated-sets.json"),
                                                  invariant.state("side-pinned-sets.json"),
                                                  invariant.state("native-mirrored-sets.json")}));
}

}  // namespace
}  // namespace tolvaran::tests
