#include "helper/steps/steps.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "restore/arrangement/originals_store.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/calls.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran {
namespace {

using nlohmann::json;
using tests::callLines;
using tests::HelperProcess;
using tests::readFile;
using tests::writeFile;
using Lines = std::vector<std::string>;

/// A display and its origin. All displays are squares of 100 points.
struct Place {
    int display;
    int x;
    int y;
};
using Places = std::vector<Place>;

// Layouts of two, three and four displays in which corners meet and nothing else does.
const Places two{{1, 0, 0}, {2, 100, 100}};
const Places three{{1, 0, 0}, {2, 100, 100}, {3, 200, 200}};
const Places four{{1, 0, 0}, {2, 100, 100}, {3, 200, 200}, {4, 300, 300}};
// One corner that meets another and one shared side.
const Places ambiguous{{1, 0, 0}, {2, 100, 0}, {3, 200, 100}};
const Places row{{1, 0, 0}, {2, 100, 0}};

json mac(const Places& places) {
    json displays = json::array();
    for (const Place& place : places) {
        displays.push_back({{"id", place.display},
                            {"vendor", 1552},
                            {"model", 41234},
                            {"serial", place.display},
                            {"frame", {place.x, place.y, 100, 100}}});
    }
    return {{"displays", displays}};
}

std::string uuid(int display) {
    return "HW-1552-41234-" + std::to_string(display);
}

/// The signature of displays that are given in ascending order.
std::string sig(const std::vector<int>& displays) {
    std::string signature;
    for (const int display : displays) {
        signature += (signature.empty() ? "" : ",") + uuid(display);
    }
    return signature;
}

json entries(const Places& places) {
    json list = json::array();
    for (const Place& place : places) {
        list.push_back({{"uuid", uuid(place.display)}, {"x", place.x}, {"y", place.y}});
    }
    return list;
}

const std::string detected = "info: Detected zigzag/corner-touch arrangement";
const std::string begin = "CGBeginDisplayConfiguration [] = 0";
const std::string complete = "CGCompleteDisplayConfiguration [1] = 0";

std::string said(const std::string& level, const std::string& message) {
    return level + ": checkInvariant [cold-start]: " + message;
}

const std::string healthy = said("debug", "hardware not a Tolvaran layout, invariant holds");
const std::string ambiguousGate =
    said("warn",
         "layout is corner-only but not a full zigzag (ambiguous); skipping superset projection");
const std::string leftUnchanged = said("warn",
                                       "no saved arrangement was usable, but layout is not a full "
                                       "zigzag; leaving hardware unchanged");
const std::string applyingStacked =
    said("warn", "applying stacked fallback because no saved arrangement was usable");

std::string isItselfZigzag(const std::string& label) {
    return said("warn", "candidate " + label + " is itself zigzag, skipping");
}

std::string alreadyInForce(const std::string& label) {
    return said("debug", "candidate " + label + " is already in force, skipping");
}

std::string nothingUsable(const std::string& signature) {
    return said("warn", "no usable saved arrangement or fallback for sig=" + signature);
}

Lines operator+(Lines left, const Lines& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// The log of moving these displays, whose places are already relative to the main display.
Lines moved(const Places& places) {
    Lines lines{"debug: Applying " + std::to_string(places.size()) + " positions to hardware"};
    for (const Place& place : places) {
        lines.push_back("debug:   display " + std::to_string(place.display) + " -> (" +
                        std::to_string(place.x) + "," + std::to_string(place.y) + ")");
    }
    return lines;
}

/// The calls for moving these displays, with what the window server answered at the end.
Lines moveCalls(const Places& places, const std::string& end = complete) {
    Lines lines{begin};
    for (const Place& place : places) {
        lines.push_back("CGConfigureDisplayOrigin " +
                        json::array({place.display, place.x, place.y}).dump() + " = 0");
    }
    lines.push_back(end);
    return lines;
}

/// One helper process with its state files.
class Invariant {
  public:
    explicit Invariant(const json& machine) : process_(machine) {}
    explicit Invariant(const Places& places) : Invariant(mac(places)) {}

    void save(const json& arrangements) const {
        write(".display-originals", {{"version", 2}, {"arrangements", arrangements}});
    }
    /// Marks the signatures in all three stores; `layout` is what the two with layouts hold.
    void markAll(const Lines& signatures, const Places& layout) const {
        json layouts = json::object();
        for (const std::string& signature : signatures) {
            layouts[signature] = json::array({entries(layout)});
        }
        write("separated-sets.json", {{"version", 1}, {"signatures", signatures}});
        write("side-pinned-sets.json", {{"version", 2}, {"arrangements", layouts}});
        write("native-mirrored-sets.json", {{"version", 1}, {"arrangements", layouts}});
    }
    void write(const std::string& name, const json& content) const {
        writeFile(process_.state(name), content.dump());
    }

    /// What the three stores hold: "separated", "side-pinned" or "native-mirrored", a colon and the
    /// signature.
    Lines marks() const {
        Lines found;
        const json separated = read("separated-sets.json");
        for (const json& signature : separated.at("signatures")) {
            found.push_back("separated:" + signature.get<std::string>());
        }
        for (const std::string kind : {"side-pinned", "native-mirrored"}) {
            const json stored = read(kind + "-sets.json");
            for (const auto& [signature, layouts] : stored.at("arrangements").items()) {
                found.push_back(kind + ":" + signature);
            }
        }
        return found;
    }

    /// One run, whose log is returned. Whatever happens in it, the originals stay as they are and
    /// no object is left behind.
    Lines run(const std::string& tag = "cold-start", std::optional<pid_t> exited = std::nullopt) {
        const std::optional<std::string> originals = readFile(originalsPath());
        const std::size_t live = simulator::liveObjects();
        checkInvariant(tag, exited);
        EXPECT_EQ(simulator::liveObjects(), live);
        EXPECT_EQ(simulator::openConfigurations(), 0U);
        EXPECT_EQ(readFile(originalsPath()), originals);
        return process_.takeLog();
    }

    std::string state(const std::string& name) const { return process_.state(name); }

  private:
    std::string originalsPath() const { return process_.state(".display-originals"); }
    json read(const std::string& name) const {
        return json::parse(readFile(process_.state(name)).value());
    }

    HelperProcess process_;
};

json running(const Places& places, int pid) {
    json machine = mac(places);
    machine["applications"] = {{{"bundle", "com.morvelli.Tolvaran"}, {"pid", pid}}};
    return machine;
}

TEST(CheckInvariant, WhileTolvaranRunsItDoesNothing) {
    Invariant invariant(running(two, 812));
    writeFile(invariant.state(".display-originals"), "not JSON");  // would be reported if read
    writeFile(invariant.state("side-pinned-sets.json"), "not JSON");
    writeFile(invariant.state("../Settings/preferences.json"), "not JSON");
    std::size_t opened = 0;
    simulator::decideCalls([&](const std::string& function) {
        opened += function == "open" && !simulator::callSubject().ends_with(".log") ? 1 : 0;
        return json();
    });
    EXPECT_EQ(invariant.run(),
              (Lines{"debug: checkInvariant [cold-start]: Tolvaran running (pid 812), skipping"}));
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_EQ(opened, 0U);
}

TEST(CheckInvariant, TheInstanceThatHasExitedDoesNotCountAsRunning) {
    Invariant invariant(running(row, 812));
    EXPECT_EQ(invariant.run("proc-exit", 812),
              Lines{"debug: checkInvariant [proc-exit]: hardware not a Tolvaran layout, invariant "
                    "holds"});
}

// Healthy hardware.

TEST(CheckInvariant, HealthyHardwareIsLeftAlone) {
    for (const Places& places : {Places{}, Places{{1, 0, 0}}, row}) {
        Invariant invariant(places);
        invariant.save({{sig({1, 2}), entries({{1, 0, 0}, {2, 0, 100}})}});
        EXPECT_EQ(invariant.run(), Lines{healthy});
        EXPECT_EQ(callLines(), Lines{});
    }
}

TEST(CheckInvariant, OnHealthyHardwareTheMarksOfTheseDisplaysAreStale) {
    Invariant invariant(row);
    // The marks of others would match: only the signature keeps them.
    invariant.markAll({sig({1}), sig({1, 2}), sig({1, 3})}, {{1, 0, 0}, {2, 0, 100}});
    EXPECT_EQ(
        invariant.run(),
        (Lines{healthy, said("info", "cleared separated mark for healthy sig=" + sig({1, 2})),
               said("info", "cleared stale side-pin mark for healthy sig=" + sig({1, 2})),
               said("info", "cleared stale native-mirror mark for healthy sig=" + sig({1, 2}))}));
    EXPECT_EQ(invariant.marks(),
              (Lines{"separated:" + sig({1}), "separated:" + sig({1, 3}), "side-pinned:" + sig({1}),
                     "side-pinned:" + sig({1, 3}), "native-mirrored:" + sig({1}),
                     "native-mirrored:" + sig({1, 3})}));
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_EQ(invariant.run(), Lines{healthy});  // nothing is left to clear
}

TEST(CheckInvariant, MarksThatCouldNotBeReadAtFirstAreNotTakenForStale) {
    Invariant invariant(row);
    invariant.markAll({sig({1, 2})}, row);
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

TEST(CheckInvariant, NoTwoFailuresToReadAMarkMakeItStale) {
    for (int first = 0; first < 6; ++first) {
        for (int second = first + 1; second < 7; ++second) {
            Invariant invariant(row);
            invariant.markAll({sig({1, 2})}, row);
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

TEST(CheckInvariant, MarksStayWhenTheLayoutCouldNotBeLookedAt) {
    Invariant invariant(two);
    invariant.markAll({sig({1, 2})}, row);
    simulator::addFault({{"call", "CGDisplayBounds"}, {"effect", false}, {"times", 2}});
    EXPECT_EQ(invariant.run(), (Lines{healthy, detected}));
    EXPECT_EQ(invariant.marks().size(), 3U);
}

TEST(CheckInvariant, ADisplayThatHasJustGoneTouchesNobody) {
    // Its bounds read as a point in the main display's corner.
    const Places left{{1, 0, 0}, {2, -100, 0}};
    for (int call = 0; call < 4; ++call) {
        Invariant invariant(left);
        invariant.save({{sig({1, 2}), entries(row)}});
        simulator::addFault(
            {{"call", "CGDisplayBounds"}, {"effect", false}, {"skip", call}, {"times", 1}});
        EXPECT_EQ(invariant.run(), Lines{healthy}) << call;
        EXPECT_EQ(callLines(), Lines{}) << call;
    }
}

TEST(CheckInvariant, ALayoutIsRecognisedByTheDisplaysOfTheRunWhereTheyCannotBeListedAgain) {
    Invariant invariant(two);
    const Places saved{{1, 0, 0}, {2, 0, 100}};
    invariant.save({{sig({1, 2}), entries(saved)}});
    simulator::addFault({{"call", "CGGetActiveDisplayList"}, {"result", 1000}, {"skip", 1}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected} + moved(saved) +
               Lines{said("info", "restored exact arrangement for sig=" + sig({1, 2}))}));
    EXPECT_EQ(callLines(), moveCalls(saved));
}

TEST(CheckInvariant, ARestoreThatCannotBeLookedAtDoesNotPassForDone) {
    Invariant invariant(three);
    const Places subset{{3, 200, 100}};  // leaves the other two corner to corner
    invariant.save({{sig({3}), entries(subset)}});
    invariant.markAll({sig({1, 2, 3})}, {{1, 7, 7}});
    // The list after the subset was applied.
    simulator::addFault(
        {{"call", "CGGetActiveDisplayList"}, {"result", 1000}, {"skip", 2}, {"times", 1}});
    const Lines log = invariant.run();
    EXPECT_THAT(log, testing::Not(testing::Contains(testing::HasSubstr("subset-restored"))));
    EXPECT_EQ(log.back(), nothingUsable(sig({1, 2, 3})));
    EXPECT_EQ(invariant.marks().size(), 3U);
}

TEST(CheckInvariant, EachStoreIsAskedClearedAndReportedBeforeTheNext) {
    Invariant invariant(row);
    invariant.markAll({sig({1, 2})}, {{1, 7, 7}});
    writeFile(invariant.state("side-pinned-sets.json"), "{");
    writeFile(invariant.state("native-mirrored-sets.json"), "{");
    const std::string sidePinned =
        "warn: side-pinned-sets file wrong version/unparseable, treating as empty";
    const std::string nativeMirrored =
        "warn: native-mirrored-sets file wrong version/unparseable, treating as empty";
    EXPECT_EQ(invariant.run(),
              (Lines{sidePinned, nativeMirrored, healthy,
                     said("info", "cleared separated mark for healthy sig=" + sig({1, 2})),
                     sidePinned, nativeMirrored}));
}

TEST(CheckInvariant, TheDisplaysAreNamedBeforeTheAliasesAreLoaded) {
    json machine = mac(row);
    for (json& display : machine["displays"]) {
        display["serial"] = 7;  // twins
    }
    Invariant invariant(machine);
    writeFile(invariant.state("../Settings/preferences.json"), "not JSON");
    const Lines log = invariant.run();
    ASSERT_EQ(log.size(), 4U);
    EXPECT_THAT(log[0], testing::HasSubstr("Multiple displays"));
    EXPECT_THAT(log[1], testing::HasSubstr("Multiple displays"));
    EXPECT_EQ(log[2], "warn: AliasMap: preferences.json unparseable, falling back to identity");
}

TEST(CheckInvariant, EachKindOfStaleMarkIsClearedAlone) {
    const json layouts{{sig({1, 2}), {entries({{1, 0, 0}, {2, 0, 100}})}}};
    const json separated{{"version", 1}, {"signatures", {sig({1, 2})}}};
    const json sidePinned{{"version", 2}, {"arrangements", layouts}};
    const json nativeMirrored{{"version", 1}, {"arrangements", layouts}};
    const std::map<std::string, std::pair<json, std::string>> kinds{
        {"separated-sets.json", {separated, "separated mark"}},
        {"side-pinned-sets.json", {sidePinned, "stale side-pin mark"}},
        {"native-mirrored-sets.json", {nativeMirrored, "stale native-mirror mark"}}};
    for (const auto& [name, kind] : kinds) {
        Invariant invariant(row);
        invariant.write(name, kind.first);
        EXPECT_EQ(invariant.run(),
                  (Lines{healthy, said("info", "cleared " + kind.second +
                                                   " for healthy sig=" + sig({1, 2}))}));
    }
}

// The exact arrangement.

TEST(CheckInvariant, RestoresTheExactArrangement) {
    Invariant invariant(two);
    const Places saved{{2, -100, 0}, {1, 0, 0}};
    invariant.save({{sig({1, 2}), entries(saved)}, {sig({1}), entries({{1, 0, 0}})}});
    invariant.markAll({sig({1, 2}), sig({1})}, two);
    EXPECT_EQ(invariant.run(),
              (Lines{detected} + moved(saved) +
               Lines{said("info", "restored exact arrangement for sig=" + sig({1, 2}))}));
    EXPECT_EQ(callLines(), moveCalls(saved));
    EXPECT_EQ(invariant.marks(), (Lines{"separated:" + sig({1}), "side-pinned:" + sig({1}),
                                        "native-mirrored:" + sig({1})}));
    EXPECT_EQ(invariant.run(), Lines{healthy});
}

TEST(CheckInvariant, AnExactArrangementThatIsAZigzagIsPassedOver) {
    Invariant invariant(two);
    invariant.save(
        {{sig({1, 2}), entries({{1, 0, 0}, {2, -100, -100}})}, {sig({2}), entries({{2, 100, 0}})}});
    invariant.markAll({sig({1, 2})}, {{1, 7, 7}});
    EXPECT_EQ(invariant.run(), (Lines{detected, detected, isItselfZigzag("sig=" + sig({1, 2}))} +
                                moved({{2, 100, 0}}) +
                                Lines{said("info", "subset-restored for sig=" + sig({1, 2}) +
                                                       " from 1-display arrangement")}));
    EXPECT_EQ(callLines(), moveCalls({{2, 100, 0}}));
    // A subset settles two kinds of mark only.
    EXPECT_EQ(invariant.marks(), Lines{"native-mirrored:" + sig({1, 2})});
}

TEST(CheckInvariant, EntriesOfDisplaysThatAreNotActiveAreSkipped) {
    Invariant invariant(two);
    json saved = entries({{9, 500, 500}, {1, 0, 0}, {2, 0, 100}});
    invariant.save({{sig({1, 2}), saved}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected} + moved({{1, 0, 0}, {2, 0, 100}}) +
               Lines{said("info", "restored exact arrangement for sig=" + sig({1, 2}))}));
}

TEST(CheckInvariant, AnExactArrangementOfAbsentDisplaysFailsWithoutAWord) {
    Invariant invariant(ambiguous);
    invariant.save({{sig({1, 2, 3}), entries({{8, 0, 0}, {9, 100, 0}})}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected, ambiguousGate, leftUnchanged, nothingUsable(sig({1, 2, 3}))}));
    EXPECT_EQ(callLines(), Lines{});
}

TEST(CheckInvariant, APositionTwiceInTheExactArrangementIsAppliedTwice) {
    Invariant invariant(two);
    const Places saved{{1, 0, 0}, {2, 0, 100}, {2, 0, -100}};
    invariant.save({{sig({1, 2}), entries(saved)}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected} + moved(saved) +
               Lines{said("info", "restored exact arrangement for sig=" + sig({1, 2}))}));
    EXPECT_EQ(callLines(), moveCalls(saved));
}

TEST(CheckInvariant, SavedPositionsAreShiftedToTheMainDisplay) {
    Invariant invariant(two);
    invariant.save({{sig({1, 2}), entries({{1, 100, 30}, {2, 0, 30}})}});
    EXPECT_EQ(
        invariant.run(),
        (Lines{detected, "info: Re-anchored saved positions to current main 1: shift=(100,30)"} +
         moved({{1, 0, 0}, {2, -100, 0}}) +
         Lines{said("info", "restored exact arrangement for sig=" + sig({1, 2}))}));
}

// Refusals.

TEST(CheckInvariant, WhatTheWindowServerRefusesIsPassedOver) {
    for (const std::string call :
         {"CGBeginDisplayConfiguration", "CGCompleteDisplayConfiguration"}) {
        Invariant invariant(two);
        invariant.save({{sig({1, 2}), entries(row)}, {sig({2}), entries({{2, 0, 100}})}});
        simulator::addFault({{"call", call}, {"result", 1000}, {"times", 1}});
        const bool begins = call == "CGCompleteDisplayConfiguration";
        EXPECT_EQ(invariant.run(),
                  (Lines{detected} +
                   (begins ? moved(row) : Lines{"debug: Applying 2 positions to hardware"}) +
                   Lines{said("error", "CG configure rejected for sig=" + sig({1, 2}))} +
                   moved({{2, 0, 100}}) +
                   Lines{said("info", "subset-restored for sig=" + sig({1, 2}) +
                                          " from 1-display arrangement")}));
        EXPECT_EQ(callLines(), (begins ? moveCalls(row, "CGCompleteDisplayConfiguration [1] = 1000")
                                       : Lines{"CGBeginDisplayConfiguration [] = 1000"}) +
                                   moveCalls({{2, 0, 100}}));
    }
}

TEST(CheckInvariant, WhenEverythingIsRefusedTheMarksStay) {
    Invariant invariant(two);
    invariant.save({{sig({1, 2}), entries(row)},
                    {sig({2}), entries({{2, 0, 100}})},
                    {sig({1, 2, 3}), entries({{1, 0, 0}, {2, 0, -100}, {3, 0, 100}})}});
    invariant.markAll({sig({1, 2})}, {{1, 7, 7}});
    simulator::addFault({{"call", "CGBeginDisplayConfiguration"}, {"result", 1000}});
    const auto rejected = [](int count, const std::string& what) {
        return Lines{"debug: Applying " + std::to_string(count) + " positions to hardware",
                     said("error", "CG configure rejected " + what)};
    };
    EXPECT_EQ(invariant.run(), Lines{detected} + rejected(2, "for sig=" + sig({1, 2})) +
                                   rejected(1, "for subset(1)") +
                                   rejected(2, "for superset-projection[0]") +
                                   Lines{applyingStacked} + rejected(2, "stacked fallback") +
                                   Lines{nothingUsable(sig({1, 2}))});
    EXPECT_EQ(callLines(), Lines(4, "CGBeginDisplayConfiguration [] = 1000"));
    EXPECT_EQ(invariant.marks(), (Lines{"separated:" + sig({1, 2}), "side-pinned:" + sig({1, 2}),
                                        "native-mirrored:" + sig({1, 2})}));
}

TEST(CheckInvariant, AConfigurationWithoutEffectIsAFailure) {
    Invariant invariant(two);
    invariant.save({{sig({1, 2}), entries(row)}});
    simulator::addFault(
        {{"call", "CGCompleteDisplayConfiguration"}, {"effect", false}, {"times", 1}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected} + moved(row) + Lines{detected, applyingStacked} + moved(row) +
               Lines{said("info", "restored stacked fallback for sig=" + sig({1, 2}))}));
    EXPECT_EQ(callLines(), moveCalls(row) + moveCalls(row));
}

TEST(CheckInvariant, ACandidateThatLeavesAZigzagOfOtherDisplaysIsAFailure) {
    Invariant invariant(three);
    // Display 3 comes to stand at a side, but the corner of 1 and 2 remains.
    invariant.save({{sig({3}), entries({{3, 200, 100}})}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected} + moved({{3, 200, 100}}) +
               Lines{detected, ambiguousGate, leftUnchanged, nothingUsable(sig({1, 2, 3}))}));
}

// Subsets.

TEST(CheckInvariant, OfTwoSubsetsTheLargerIsTriedFirst) {
    Invariant invariant(four);
    // In the order of their signatures the smaller one comes first.
    const Places larger{{1, 0, 0}, {2, 100, 0}, {3, 0, 100}};
    invariant.save({{sig({1, 2}), entries(row)}, {sig({1, 2, 3}), entries(larger)}});
    invariant.markAll({sig({1, 2, 3, 4})}, {{1, 7, 7}});
    EXPECT_EQ(invariant.run(), (Lines{detected} + moved(larger) +
                                Lines{said("info", "subset-restored for sig=" + sig({1, 2, 3, 4}) +
                                                       " from 3-display arrangement")}));
    EXPECT_EQ(callLines(), moveCalls(larger));
    EXPECT_EQ(invariant.marks(), Lines{"native-mirrored:" + sig({1, 2, 3, 4})});
}

TEST(CheckInvariant, SubsetsOfOneSizeAreTriedInTheOrderOfTheirSignatures) {
    Invariant invariant(three);
    // The first is passed over, the second restored, the third no longer needed.
    invariant.save({{sig({2, 3}), entries({{2, 100, 0}, {3, 200, 0}})},
                    {sig({1}), entries({{1, 0, 0}})},
                    {sig({1, 3}), entries({{1, 0, 0}, {3, 0, 100}})},
                    {sig({1, 2}), entries(two)}});
    EXPECT_EQ(invariant.run(), (Lines{detected, detected, isItselfZigzag("subset(2)")} +
                                moved({{1, 0, 0}, {3, 0, 100}}) +
                                Lines{said("info", "subset-restored for sig=" + sig({1, 2, 3}) +
                                                       " from 2-display arrangement")}));
}

TEST(CheckInvariant, ASmallerSubsetFollowsALargerOneThatFails) {
    Invariant invariant(three);
    invariant.save({{sig({1, 2}), entries(two)}, {sig({2}), entries({{2, 0, 100}})}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected, detected, isItselfZigzag("subset(2)")} + moved({{2, 0, 100}}) +
               Lines{said("info", "subset-restored for sig=" + sig({1, 2, 3}) +
                                      " from 1-display arrangement")}));
}

TEST(CheckInvariant, WhatIsNoSubsetIsNotTried) {
    Invariant invariant(ambiguous);
    invariant.save({{"", json::array()},
                    {sig({1}), json::array()},
                    {sig({2, 9}), entries({{2, 0, 0}, {9, 100, 0}})},
                    {sig({9}), entries({{9, 0, 0}})}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected, ambiguousGate, leftUnchanged, nothingUsable(sig({1, 2, 3}))}));
    EXPECT_EQ(callLines(), Lines{});
}

TEST(CheckInvariant, ADisplayNamedTwiceCountsOnceInASubset) {
    Invariant invariant(three);
    const Places twice{{2, 0, 100}, {2, 0, 100}};
    const Places pair{{2, 0, 100}, {3, 0, 200}};
    invariant.save({{"a", entries(twice)}, {"b", entries(pair)}});
    EXPECT_EQ(invariant.run(), (Lines{detected} + moved(pair) +
                                Lines{said("info", "subset-restored for sig=" + sig({1, 2, 3}) +
                                                       " from 2-display arrangement")}));
}

TEST(CheckInvariant, AnArrangementOfAllDisplaysUnderAnotherSignatureIsASubset) {
    Invariant invariant(two);
    invariant.save({{"another", entries(row)}});
    EXPECT_EQ(invariant.run(), (Lines{detected} + moved(row) +
                                Lines{said("info", "subset-restored for sig=" + sig({1, 2}) +
                                                       " from 2-display arrangement")}));
}

// Ambiguous layouts.

TEST(CheckInvariant, AnAmbiguousLayoutIsNotGuessedAt) {
    Invariant invariant(ambiguous);
    invariant.save(
        {{sig({1, 2, 3, 4}), entries({{1, 0, 0}, {2, 100, 0}, {3, 200, 0}, {4, 300, 0}})}});
    invariant.markAll({sig({1, 2, 3})}, {{1, 7, 7}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected, ambiguousGate, leftUnchanged, nothingUsable(sig({1, 2, 3}))}));
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_EQ(invariant.marks().size(), 3U);
}

// Projections.

TEST(CheckInvariant, RestoresAProjectionOfTheSmallestSuperset) {
    Invariant invariant(two);
    const Places ofThree{{3, 0, 0}, {2, 0, 100}, {1, 100, 0}};
    const Places ofFour{{1, 0, 0}, {2, 100, 0}, {3, 200, 0}, {4, 300, 0}};
    invariant.save({{sig({1, 2, 3, 4}), entries(ofFour)},
                    {sig({1, 2, 3}), entries({{3, 0, 0}, {2, 0, 100}, {1, 0, 200}})}});
    invariant.markAll({sig({1, 2})}, {{1, 7, 7}});
    EXPECT_EQ(
        invariant.run(),
        (Lines{detected, "info: Re-anchored saved positions to current main 1: shift=(0,200)"} +
         moved({{2, 0, -100}, {1, 0, 0}}) +
         Lines{said("info", "superset-projection-restored for sig=" + sig({1, 2}))}));
    EXPECT_EQ(callLines(), moveCalls({{2, 0, -100}, {1, 0, 0}}));
    EXPECT_EQ(invariant.marks(), Lines{"native-mirrored:" + sig({1, 2})});
}

TEST(CheckInvariant, ProjectionsOfOneSizeAreTriedInTheOrderOfTheirSignatures) {
    Invariant invariant(two);
    const auto with = [](int other, Places places) {
        places.push_back({other, 900, 900});
        return entries(places);
    };
    invariant.save({{sig({1, 2, 5}), with(5, {{1, 0, 0}, {2, -100, 0}})},
                    {sig({1, 2, 3}), with(3, two)},
                    {sig({1, 2, 4}), with(4, {{1, 0, 0}, {2, 0, 100}})}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected, detected, isItselfZigzag("superset-projection[0]")} +
               moved({{1, 0, 0}, {2, 0, 100}}) +
               Lines{said("info", "superset-projection-restored for sig=" + sig({1, 2}))}));
}

TEST(CheckInvariant, AfterTheLastProjectionComesTheStackedFallback) {
    Invariant invariant(two);
    invariant.save({{sig({1, 2, 3}), entries({{1, 0, 0}, {2, 100, 100}, {3, 200, 0}})}});
    EXPECT_EQ(
        invariant.run(),
        (Lines{detected, detected, isItselfZigzag("superset-projection[0]"), applyingStacked} +
         moved(row) + Lines{said("info", "restored stacked fallback for sig=" + sig({1, 2}))}));
}

// The stacked fallback.

TEST(CheckInvariant, PutsAFullZigzagIntoARow) {
    Invariant invariant(three);
    invariant.markAll({sig({1, 2, 3})}, {{1, 7, 7}});
    const Places stacked{{1, 0, 0}, {2, 100, 0}, {3, 200, 0}};
    EXPECT_EQ(invariant.run(),
              (Lines{detected, applyingStacked} + moved(stacked) +
               Lines{said("info", "restored stacked fallback for sig=" + sig({1, 2, 3}))}));
    EXPECT_EQ(callLines(), moveCalls(stacked));
    EXPECT_EQ(invariant.marks(), Lines{"native-mirrored:" + sig({1, 2, 3})});
    EXPECT_EQ(invariant.run(), (Lines{healthy, said("info",
                                                    "cleared stale native-mirror mark for "
                                                    "healthy sig=" +
                                                        sig({1, 2, 3}))}));
}

TEST(CheckInvariant, AStackedFallbackWithoutEffectIsAFailure) {
    Invariant invariant(two);
    simulator::addFault({{"call", "CGCompleteDisplayConfiguration"}, {"effect", false}});
    EXPECT_EQ(invariant.run(), (Lines{detected, applyingStacked} + moved(row) +
                                Lines{detected, nothingUsable(sig({1, 2}))}));
}

TEST(CheckInvariant, WithoutAMainDisplayThereIsNoStackedFallback) {
    json machine = mac(two);
    machine["mainDisplay"] = 99;
    Invariant invariant(machine);
    EXPECT_EQ(invariant.run(), (Lines{detected, nothingUsable(sig({1, 2}))}));
    EXPECT_EQ(callLines(), Lines{});
}

// Layouts that only a mark tells.

TEST(CheckInvariant, ALayoutThatOnlyAMarkTellsIsRestored) {
    const Places marked{{1, 0, 0}, {2, 98, 2}};  // two points off in each direction
    const json layouts{{sig({1, 2}), {entries({{9, 0, 0}}), entries(marked)}}};
    const std::map<std::string, int> versions{{"side-pinned", 2}, {"native-mirrored", 1}};
    for (const auto& [kind, version] : versions) {
        Invariant invariant(row);
        invariant.save({{sig({1, 2}), entries({{1, 0, 0}, {2, 0, 100}})}});
        invariant.markAll({}, {});
        invariant.write(kind + "-sets.json", {{"version", version}, {"arrangements", layouts}});
        EXPECT_EQ(invariant.run(),
                  (moved({{1, 0, 0}, {2, 0, 100}}) +
                   Lines{said("info", "restored exact arrangement for sig=" + sig({1, 2}))}));
        EXPECT_EQ(callLines(), moveCalls({{1, 0, 0}, {2, 0, 100}}));
        EXPECT_EQ(invariant.marks(), Lines{});
    }
}

TEST(CheckInvariant, WithoutAUsableArrangementAMarkedLayoutStays) {
    Invariant invariant(row);
    invariant.markAll({sig({1, 2})}, row);
    EXPECT_EQ(invariant.run(), (Lines{ambiguousGate, leftUnchanged, nothingUsable(sig({1, 2}))}));
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_EQ(invariant.marks().size(), 3U);
}

TEST(CheckInvariant, ASubsetLeavesTheNativeMirroredMark) {
    Invariant invariant(row);
    invariant.save({{sig({2}), entries({{2, 0, 100}})}});
    invariant.markAll({sig({1, 2})}, row);
    EXPECT_EQ(invariant.run(),
              (moved({{2, 0, 100}}) + Lines{said("info", "subset-restored for sig=" + sig({1, 2}) +
                                                             " from 1-display arrangement")}));
    EXPECT_EQ(invariant.marks(), Lines{"native-mirrored:" + sig({1, 2})});
}

// What stands already, and what does not move.

TEST(CheckInvariant, AnExactArrangementInForceCountsAsRestoredWithoutBeingConfigured) {
    for (const Places& saved :
         {row, Places{{1, 30, 40}, {2, 130, 40}}, Places{{1, 0, 0}, {2, 0, 100}, {2, 100, 0}}}) {
        Invariant invariant(row);
        invariant.save({{sig({1, 2}), entries(saved)}});
        invariant.markAll({sig({1, 2})}, row);
        EXPECT_EQ(invariant.run(),
                  Lines{said("info", "restored exact arrangement for sig=" + sig({1, 2}))});
        EXPECT_EQ(callLines(), Lines{});
        EXPECT_EQ(invariant.marks(), Lines{});
    }
}

TEST(CheckInvariant, AnExactArrangementInForceDoesNotEndTheZigzagOfOthers) {
    Invariant invariant(two);
    invariant.save({{sig({1, 2}), entries({{2, 100, 100}})}});
    EXPECT_EQ(
        invariant.run(),
        (Lines{detected, detected, alreadyInForce("sig=" + sig({1, 2})), applyingStacked} +
         moved(row) + Lines{said("info", "restored stacked fallback for sig=" + sig({1, 2}))}));
}

TEST(CheckInvariant, ASubsetThatMovesNothingIsPassedOver) {
    for (const Places& subset : {Places{{1, 0, 0}}, Places{{1, 7, 7}}, Places{{2, 100, 0}}}) {
        Invariant invariant(row);
        invariant.save({{sig({9}), entries(subset)}});
        invariant.markAll({sig({1, 2})}, row);
        EXPECT_EQ(invariant.run(), (Lines{alreadyInForce("subset(1)"), ambiguousGate, leftUnchanged,
                                          nothingUsable(sig({1, 2}))}));
        EXPECT_EQ(callLines(), Lines{});
        EXPECT_EQ(invariant.marks().size(), 3U);
    }
}

TEST(CheckInvariant, AfterASubsetThatMovesNothingTheNextIsTried) {
    Invariant invariant(row);
    invariant.save({{"a", entries({{1, 0, 0}})}, {"b", entries({{2, 0, 100}})}});
    invariant.markAll({sig({1, 2})}, row);
    EXPECT_EQ(invariant.run(), (Lines{alreadyInForce("subset(1)")} + moved({{2, 0, 100}}) +
                                Lines{said("info", "subset-restored for sig=" + sig({1, 2}) +
                                                       " from 1-display arrangement")}));
}

TEST(CheckInvariant, AProjectionThatMovesNothingIsPassedOver) {
    // Of the two displays with one canonical ID the projection moves neither.
    json machine = mac(two);
    Invariant invariant(machine);
    invariant.write("../Settings/preferences.json",
                    {{"knownDisplays", {{{"ids", {"Zeta", uuid(1), uuid(2)}}}}}});
    invariant.save(
        {{"Beta,Zeta",
          {{{"uuid", "Zeta"}, {"x", 100}, {"y", 100}}, {{"uuid", "Beta"}, {"x", 0}, {"y", 0}}}}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected, alreadyInForce("superset-projection[0]"), applyingStacked} +
               moved(row) + Lines{said("info", "restored stacked fallback for sig=Zeta,Zeta")}));
}

TEST(CheckInvariant, AConfigurationThatMovesNothingHasFailed) {
    for (const std::string& signature : {sig({1, 2}), sig({2})}) {
        Invariant invariant(row);
        invariant.save({{signature, entries({{2, 0, 100}})}});
        invariant.markAll({sig({1, 2})}, row);
        simulator::addFault({{"call", "CGCompleteDisplayConfiguration"}, {"effect", false}});
        EXPECT_EQ(invariant.run(), (moved({{2, 0, 100}}) + Lines{ambiguousGate, leftUnchanged,
                                                                 nothingUsable(sig({1, 2}))}));
        EXPECT_EQ(invariant.marks().size(), 3U);
    }
}

TEST(CheckInvariant, AfterAConfigurationThatMovesNothingTheNextIsTried) {
    Invariant invariant(row);
    invariant.save({{sig({1, 2}), entries({{2, 0, 100}})}, {sig({2}), entries({{2, 0, -100}})}});
    invariant.markAll({sig({1, 2})}, row);
    simulator::addFault(
        {{"call", "CGCompleteDisplayConfiguration"}, {"effect", false}, {"times", 1}});
    EXPECT_EQ(invariant.run(), (moved({{2, 0, 100}}) + moved({{2, 0, -100}}) +
                                Lines{said("info", "subset-restored for sig=" + sig({1, 2}) +
                                                       " from 1-display arrangement")}));
}

TEST(CheckInvariant, OneDisplayThatCannotBeLookedAtOnceHidesNoMove) {
    for (int call = 0; call < 30; ++call) {
        Invariant invariant(two);
        invariant.save({{sig({1, 2}), entries(row)}, {sig({2}), entries({{2, 0, 100}})}});
        simulator::addFault(
            {{"call", "CGDisplayBounds"}, {"effect", false}, {"skip", call}, {"times", 1}});
        invariant.run();
        invariant.run();
        const std::size_t configured = callLines().size();
        EXPECT_TRUE(callLines() == moveCalls(row)) << call << ": " << configured;
    }
}

// Displays that are moved to and fro.

/// Runs as the helper does: once, and once more for each display after every move.
std::size_t configurationsUntilRest(Invariant& invariant, Lines& log) {
    std::size_t before = 0;
    for (int run = 0; run < 300; ++run) {
        const Lines more = invariant.run();
        log.insert(log.end(), more.begin(), more.end());
        const Lines calls = callLines();
        const auto now = static_cast<std::size_t>(std::ranges::count(calls, begin));
        if (now == before) {
            return now;
        }
        before = now;
    }
    return before;
}

std::size_t count(const Lines& log, const std::string& line) {
    return static_cast<std::size_t>(std::ranges::count(log, line));
}

std::string leftAlone(const std::string& what) {
    return said("warn", what +
                            " moving the displays without settling them; skipping for 10 "
                            "minutes");
}

TEST(CheckInvariant, ArrangementsThatMoveTheDisplaysToAndFroAreLeftAlone) {
    Invariant invariant(three);
    invariant.save(
        {{sig({1, 3}), entries({{1, 0, 0}, {3, 0, -100}})}, {sig({3}), entries({{3, 0, -300}})}});
    Lines log;
    EXPECT_LE(configurationsUntilRest(invariant, log), 7U);
    EXPECT_EQ(count(log, leftAlone("candidate subset(2) keeps")), 1U);
    EXPECT_EQ(count(log, leftAlone("candidate subset(1) keeps")), 1U);
}

TEST(CheckInvariant, TheRowEndsTheZigzagThatSavedArrangementsDoNot) {
    // Each of the two moves a display of the staircase and leaves a corner touch.
    Invariant invariant(three);
    invariant.save({{sig({2}), entries({{2, 100, -100}})}, {sig({3}), entries({{3, -100, 100}})}});
    Lines log;
    EXPECT_LE(configurationsUntilRest(invariant, log), 9U);
    EXPECT_EQ(invariant.run(), Lines{healthy});
}

TEST(CheckInvariant, ArrangementsThatAllSucceedAreLeftAloneTooWhereTheyMoveToAndFro) {
    const Places below{{2, 0, 100}};
    const Places right{{2, 100, 0}};
    Invariant invariant(row);
    invariant.save({{"a", entries(right)}, {"b", entries(below)}});
    invariant.markAll({}, {});
    invariant.write(
        "native-mirrored-sets.json",
        {{"version", 1}, {"arrangements", {{sig({1, 2}), {entries(right), entries(below)}}}}});
    Lines log;
    EXPECT_EQ(configurationsUntilRest(invariant, log), 6U);
    EXPECT_EQ(count(log, leftAlone("candidate subset(1) keeps")), 2U);
}

TEST(CheckInvariant, AfterARunOfTolvaranEveryArrangementIsTriedAgain) {
    const json saved{{sig({1, 3}), entries({{1, 0, 0}, {3, 0, -100}})},
                     {sig({3}), entries({{3, 0, -300}})}};
    for (const bool hasRun : {false, true}) {
        Invariant invariant(three);
        invariant.save(saved);
        Lines log;
        const std::size_t before = configurationsUntilRest(invariant, log);
        invariant.run("proc-exit", hasRun ? std::optional<pid_t>(812) : std::nullopt);
        const Lines calls = callLines();
        EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(calls, begin)) > before, hasRun);
    }
}

TEST(CheckInvariant, RepairsThatOthersUndoAreNotHeldBack) {
    Invariant invariant(two);
    invariant.save({{sig({1, 2}), entries({{1, 0, 0}, {2, 0, 100}})}});
    for (int time = 0; time < 10; ++time) {
        EXPECT_EQ(invariant.run().back(),
                  said("info", "restored exact arrangement for sig=" + sig({1, 2})));
        EXPECT_EQ(invariant.run(), Lines{healthy});
        simulator::perform({{"arrange", {{"2", {100, 100}}}}});
    }
}

TEST(CheckInvariant, OneCheckConfiguresOnlySoOften) {
    Invariant invariant(ambiguous);
    json saved = json::object();
    for (int place = 0; place < 1000; ++place) {
        saved["a" + std::to_string(1000 + place)] = entries({{3, 1000 + place, 0}});
    }
    invariant.save(saved);
    simulator::addFault({{"call", "CGCompleteDisplayConfiguration"}, {"effect", false}});
    EXPECT_EQ(count(invariant.run(), "debug: Applying 1 positions to hardware"), 24U);
    EXPECT_EQ(count(invariant.run(), "debug: Applying 1 positions to hardware"), 24U);
}

/// The least of three measurements.
double milliseconds(const std::function<void()>& work) {
    double least = std::numeric_limits<double>::infinity();
    for (int time = 0; time < 3; ++time) {
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double, std::milli> taken =
            std::chrono::steady_clock::now() - start;
        least = std::min(least, taken.count());
    }
    return least;
}

TEST(CheckInvariant, ADamagedFileCostsLittleMoreThanReadingIt) {
    Places staircase;
    Places grid;
    for (int i = 0; i < 16; ++i) {
        staircase.push_back({i + 1, i * 100, i * 100});
        grid.push_back({i + 1, i % 4 * 100, i / 4 * 100});
    }
    for (const Places& places : {staircase, grid}) {
        Invariant invariant(staircase);
        json saved = json::object();
        for (int i = 0; i < 2000; ++i) {
            saved["a" + std::to_string(i)] = entries(places);
        }
        invariant.save(saved);
        simulator::addFault({{"call", "CGCompleteDisplayConfiguration"}, {"effect", false}});
        const double load =
            milliseconds([] { OriginalsStore::load(OriginalsStore::defaultPath()); });
        EXPECT_LT(milliseconds([] { checkInvariant("safety-tick", std::nullopt); }), 3 * load);
    }
}

// Naming the displays.

TEST(CheckInvariant, TwinsGoByTheirPorts) {
    json machine = mac(two);
    machine["displays"][1]["serial"] = 1;
    machine["displays"][0]["portUUID"] = "BBBBBBBB-0000-4000-8000-000000000001";
    machine["displays"][1]["portUUID"] = "AAAAAAAA-0000-4000-8000-000000000002";
    Invariant invariant(machine);
    const std::string signature =
        "AAAAAAAA-0000-4000-8000-000000000002,BBBBBBBB-0000-4000-8000-000000000001";
    invariant.save({{signature,
                     {{{"uuid", "AAAAAAAA-0000-4000-8000-000000000002"}, {"x", 100}, {"y", 0}},
                      {{"uuid", "BBBBBBBB-0000-4000-8000-000000000001"}, {"x", 0}, {"y", 0}}}}});
    const std::string twin =
        "warn: Multiple displays with fingerprint 1552-41234-1, disambiguating via port-UUID";
    EXPECT_EQ(invariant.run(),
              (Lines{twin, twin, detected} + moved({{2, 100, 0}, {1, 0, 0}}) +
               Lines{said("info", "restored exact arrangement for sig=" + signature)}));
}

TEST(CheckInvariant, AliasesAreFoldedIntoTheCanonicalID) {
    Invariant invariant(two);
    invariant.write("../Settings/preferences.json",
                    {{"knownDisplays", {{{"ids", {"Zeta", uuid(1)}}}}}});
    invariant.save(
        {{uuid(2) + ",Zeta",
          {{{"uuid", "Zeta"}, {"x", 0}, {"y", 0}}, {{"uuid", uuid(2)}, {"x", 100}, {"y", 0}}}}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected} + moved(row) +
               Lines{said("info", "restored exact arrangement for sig=" + uuid(2) + ",Zeta")}));
}

TEST(CheckInvariant, OfTwoDisplaysWithOneCanonicalIDTheLaterIsMeant) {
    Invariant invariant(two);
    invariant.write("../Settings/preferences.json",
                    {{"knownDisplays", {{{"ids", {"Zeta", uuid(1), uuid(2)}}}}}});
    invariant.save({{"Zeta,Zeta", {{{"uuid", "Zeta"}, {"x", 0}, {"y", 100}}}}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected} + moved({{2, 0, 100}}) +
               Lines{said("info", "restored exact arrangement for sig=Zeta,Zeta")}));
}

TEST(CheckInvariant, ADisplayWithoutUUIDGoesByItsNumber) {
    json machine = mac(two);
    machine["displays"][1].erase("vendor");
    machine["displays"][1]["portUUID"] = nullptr;
    Invariant invariant(machine);
    invariant.save({{"Display-2," + uuid(1),
                     {{{"uuid", uuid(1)}, {"x", 0}, {"y", 0}},
                      {{"uuid", "Display-2"}, {"x", 100}, {"y", 0}}}}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected} + moved(row) +
               Lines{said("info", "restored exact arrangement for sig=Display-2," + uuid(1))}));
}

TEST(CheckInvariant, The17thDisplayIsNotSeen) {
    Places places;
    std::vector<int> seen;
    for (int display = 11; display <= 26; ++display) {
        places.push_back({display, (display - 11) * 100, 0});
        seen.push_back(display);
    }
    places.push_back({27, 1600, 100});  // a corner with the 16th
    Invariant invariant(places);
    invariant.write("separated-sets.json", {{"version", 1}, {"signatures", {sig(seen)}}});
    EXPECT_EQ(
        invariant.run(),
        (Lines{healthy, said("info", "cleared separated mark for healthy sig=" + sig(seen))}));
}

TEST(CheckInvariant, WithoutAListOfDisplaysNothingIsDone) {
    Invariant invariant(two);
    invariant.markAll({sig({1, 2})}, two);
    simulator::addFault({{"call", "CGGetActiveDisplayList"}, {"result", 1000}});
    EXPECT_EQ(invariant.run(), Lines{healthy});
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_EQ(invariant.marks().size(), 3U);
}

// Files that cannot be used.

TEST(CheckInvariant, UnusableOriginalsCountAsNone) {
    Invariant invariant(two);
    writeFile(invariant.state(".display-originals"), R"({"version":2,"arrangements":{"a":[{}]}})");
    EXPECT_EQ(
        invariant.run(),
        (Lines{detected, "warn: originals file missing/wrong version/unparseable, starting fresh",
               applyingStacked} +
         moved(row) + Lines{said("info", "restored stacked fallback for sig=" + sig({1, 2}))}));
}

TEST(CheckInvariant, UnusableMarksCountAsNoneAndStay) {
    const std::string bad = R"({"version":9})";
    const auto unusable = [](const std::string& kind) {
        return "warn: " + kind + "-sets file wrong version/unparseable, treating as empty";
    };
    Invariant invariant(row);
    for (const std::string kind : {"separated", "side-pinned", "native-mirrored"}) {
        writeFile(invariant.state(kind + "-sets.json"), bad);
    }
    EXPECT_EQ(invariant.run(),
              (Lines{unusable("side-pinned"), unusable("native-mirrored"), healthy,
                     unusable("separated"), unusable("side-pinned"), unusable("native-mirrored")}));
    for (const std::string kind : {"separated", "side-pinned", "native-mirrored"}) {
        EXPECT_EQ(readFile(invariant.state(kind + "-sets.json")), bad);
    }
}

TEST(CheckInvariant, SavedOriginsThatNoDisplayCanHaveArePassedOver) {
    for (const json& far : {json(1073741824), json(-1073741824), json(2147483648), json(1e308)}) {
        for (const int entry : {0, 1}) {
            for (const char* const axis : {"x", "y"}) {
                Invariant invariant(two);
                json saved = entries(row);
                saved[entry][axis] = far;
                invariant.save({{sig({1, 2}), saved}, {sig({2}), entries({{2, 0, 100}})}});
                EXPECT_EQ(
                    invariant.run(),
                    (Lines{detected, said("warn", "candidate sig=" + sig({1, 2}) +
                                                      " has out-of-range coordinates, skipping")} +
                     moved({{2, 0, 100}}) +
                     Lines{said("info", "subset-restored for sig=" + sig({1, 2}) +
                                            " from 1-display arrangement")}))
                    << far << " in " << axis << " of entry " << entry;
            }
        }
    }
}

TEST(CheckInvariant, AnArrangementOfMorePositionsThanDisplaysIsPassedOver) {
    for (const std::size_t count : {16U, 17U, 1000U}) {
        Invariant invariant(two);
        json saved = entries({{1, 0, 0}});
        saved.insert(saved.end(), count - 1, entries({{2, 0, 100}})[0]);
        invariant.save({{sig({1, 2}), saved}});
        const Lines log = invariant.run();
        if (count > 16) {
            EXPECT_EQ(log[1], said("warn", "candidate sig=" + sig({1, 2}) + " has " +
                                               std::to_string(count) + " positions, skipping"));
        } else {
            EXPECT_EQ(log.back(),
                      said("info", "restored exact arrangement for sig=" + sig({1, 2})));
        }
    }
}

TEST(CheckInvariant, SavedOriginsAsFarOutAsCanBeAreApplied) {
    constexpr int far = 1073741823;
    Invariant invariant(two);
    invariant.save({{sig({1, 2}), entries({{1, -far, far}, {2, far, -far}})}});
    EXPECT_EQ(invariant.run(),
              (Lines{detected,
                     "info: Re-anchored saved positions to current main 1: "
                     "shift=(-1073741823,1073741823)"} +
               moved({{1, 0, 0}, {2, 2 * far, -2 * far}}) +
               Lines{said("info", "restored exact arrangement for sig=" + sig({1, 2}))}));
}

}  // namespace
}  // namespace tolvaran
