#include "restore/dock/hot_corner_control.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "simulator/simulator.hpp"
#include "tests/restore/dock/hot_corner_mac.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
namespace Override = DockHotCornerOverride;

const std::string foreign = "com.example.dock";

/// Everything that can be wrong with a Mac at once.
struct Trouble {
    bool syncFails = false;      // CFPreferencesAppSynchronize refuses
    bool setterMissing = false;  // the Dock's functions are missing
    bool getterMissing = false;
    bool unreadable = false;  // the getter leaves the values alone
    bool stubborn = false;    // the setter does nothing
    bool foreignDomain = false;

    std::string domain() const { return foreignDomain ? foreign : theDock; }
    bool nativeAPIMissing() const { return setterMissing || getterMissing; }
};

std::ostream& operator<<(std::ostream& out, const Trouble& trouble) {
    return out << "syncFails " << trouble.syncFails << ", setterMissing " << trouble.setterMissing
               << ", getterMissing " << trouble.getterMissing << ", unreadable "
               << trouble.unreadable << ", stubborn " << trouble.stubborn << ", foreignDomain "
               << trouble.foreignDomain;
}

std::vector<Trouble> everyCombination() {
    std::vector<Trouble> all;
    for (unsigned bits = 0; bits < 64; ++bits) {
        all.push_back({.syncFails = (bits & 1U) != 0,
                       .setterMissing = (bits & 2U) != 0,
                       .getterMissing = (bits & 4U) != 0,
                       .unreadable = (bits & 8U) != 0,
                       .stubborn = (bits & 16U) != 0,
                       .foreignDomain = (bits & 32U) != 0});
    }
    return all;
}

/// What an operation is expected to do.
struct Expected {
    bool result = false;
    Lines calls = {};
    Lines log = {};
    json preferences = {};
    json live = {};  // of the Dock
};

class HotCornerControl : public ProcessTest {
  protected:
    /// A new process on this Mac, with its preferences in the domain under test.
    void startWith(const json& mac, const Trouble& trouble) {
        json troubled = mac;
        troubled["preferences"] = {{trouble.domain(), mac["preferences"][theDock]}};
        troubled["unavailable"] = json::array();
        if (trouble.setterMissing) {
            troubled["unavailable"].push_back("CoreDockSetExposeCornerActionWithModifier");
        }
        if (trouble.getterMissing) {
            troubled["unavailable"].push_back("CoreDockGetExposeCornerActionsWithModifiers");
        }
        start(troubled);
        if (trouble.syncFails) {
            failCalls("CFPreferencesAppSynchronize", false);
        }
        if (trouble.unreadable) {
            simulator::addFault(
                {{"call", "CoreDockGetExposeCornerActionsWithModifiers"}, {"effect", false}});
        }
        if (trouble.stubborn) {
            simulator::addFault(
                {{"call", "CoreDockSetExposeCornerActionWithModifier"}, {"effect", false}});
        }
    }

    /// Performs the operation on this Mac with every combination of troubles.
    /// @param predict completes what is expected, which begins with the Mac's state before
    void expectWhateverFails(const json& mac,
                             const std::function<bool(const std::string& domain)>& operation,
                             const std::function<void(Expected&, const Trouble&)>& predict) {
        for (const Trouble& trouble : everyCombination()) {
            SCOPED_TRACE(testing::PrintToString(trouble));
            startWith(mac, trouble);
            Expected expected{
                .preferences = mac["preferences"][theDock],
                .live = {mac["dock"]["cornerActions"], mac["dock"]["cornerModifiers"]}};
            predict(expected, trouble);
            expect(expected, operation(trouble.domain()), trouble);
        }
    }

    void expect(const Expected& expected, bool result, const Trouble& trouble) {
        EXPECT_EQ(result, expected.result);
        EXPECT_EQ(callLines(), expected.calls);
        EXPECT_EQ(takeLog(), expected.log);
        EXPECT_EQ(preferences(trouble.domain()), expected.preferences);
        EXPECT_EQ(liveCorners(), expected.live);
    }
};

/// Adds what follows the written preferences, in a suppression and in a restore alike.
/// @param expected in: the live state before; out: everything but the preferences
void concludeWriting(Expected& expected, const Trouble& trouble, const json& asked,
                     const std::string& functionsMissing, const std::string& unreadable) {
    expected.calls = std::move(expected.calls) + announces(!trouble.syncFails, trouble.domain());
    if (trouble.syncFails) {
        return;
    }
    if (trouble.foreignDomain) {
        expected.result = true;
        return;
    }
    if (trouble.nativeAPIMissing()) {
        expected.log.push_back(functionsMissing);
        return;
    }
    expected.calls = std::move(expected.calls) + setsCorners(asked) + Lines{readsCorners};
    if (!trouble.stubborn) {
        expected.live = asked;
    }
    if (trouble.unreadable) {
        if (!unreadable.empty()) {
            expected.log.push_back(unreadable);
        }
        return;
    }
    expected.result = expected.live == asked;
}

void expectSuppression(Expected& expected, const Trouble& trouble) {
    expected.calls = std::move(expected.calls) + writesDisabledPreferences(trouble.domain());
    expected.preferences = suppressedPreferences();
    concludeWriting(
        expected, trouble, suppressedCorners,
        "warn: hot-corner disable failed because required CoreDock functions are unavailable", "");
}

TEST_F(HotCornerControl, WritesTheSuppressionInOneOrderWhateverFails) {
    expectWhateverFails(usersMac(), Override::writeDisabled, expectSuppression);
}

// A Dock that ignores the call is not a failure if it already shows what was asked for.
TEST_F(HotCornerControl, AcceptsADockThatAlreadyShowsTheSuppression) {
    expectWhateverFails(macWithCorners(usersPreferences(), suppressedCorners),
                        Override::writeDisabled, expectSuppression);
}

/// A state before suppressing, and whether each half of it is suppressed already.
struct Suppression {
    std::string name;
    json preferences;
    json live;
    bool inPreferences;
    bool inDock;
};

std::vector<Suppression> suppressions() {
    const json disabled = suppressedPreferences();
    json oneMissing = disabled;
    oneMissing.erase("wvous-bl-corner");
    json oneActive = disabled;
    oneActive["wvous-br-corner"] = 2;
    json oneText = disabled;
    oneText["wvous-tr-corner"] = "1";
    return {
        {"in force", disabled, suppressedCorners, true, true},
        {"not in force", usersPreferences(), usersCorners, false, false},
        {"one preference missing", oneMissing, suppressedCorners, false, true},
        {"one preference active", oneActive, suppressedCorners, false, true},
        {"one preference is text", oneText, suppressedCorners, false, true},
        {"one corner live", disabled, {{1, 1, 1, 2}, {0, 0, 0, 0}}, true, false},
        {"one modifier live", disabled, {{1, 1, 1, 1}, {0, 0, 1, 0}}, true, false},
    };
}

TEST_F(HotCornerControl, SuppressesAgainOnlyWhatIsNotSuppressed) {
    for (const Suppression& before : suppressions()) {
        SCOPED_TRACE(before.name);
        const auto predict = [&](Expected& expected, const Trouble& trouble) {
            bool inForce = before.inPreferences;
            if (!trouble.foreignDomain) {
                inForce = inForce && before.inDock && !trouble.getterMissing && !trouble.unreadable;
                expected.calls = trouble.getterMissing ? Lines{} : Lines{readsCorners};
            }
            if (inForce) {
                expected.result = true;
            } else {
                expectSuppression(expected, trouble);
            }
        };
        expectWhateverFails(macWithCorners(before.preferences, before.live),
                            Override::ensureDisabled, predict);
    }
}

void expectRestore(Expected& expected, const Trouble& trouble, const json& asked) {
    expected.calls = writesUsersPreferences(trouble.domain());
    expected.preferences = usersPreferences();
    concludeWriting(expected, trouble, asked,
                    "warn: hot-corner restore found the CoreDock setter unavailable and restored "
                    "raw preferences only",
                    "warn: hot-corner restore could not be verified because the CoreDock getter is "
                    "unavailable");
}

TEST_F(HotCornerControl, RestoresInOneOrderWhateverFails) {
    expectWhateverFails(
        suppressedMac(),
        [](const std::string& domain) { return Override::restore(usersSnapshot(), domain); },
        [](Expected& expected, const Trouble& trouble) {
            expectRestore(expected, trouble, usersCorners);
        });
}

// Without live lists the Dock gets the preferences, and no action where there are none.
TEST_F(HotCornerControl, RestoresThePreferencesToTheDockWithoutLiveLists) {
    DockHotCornerSnapshot snapshot = usersSnapshot();
    snapshot.liveActions.reset();
    snapshot.liveModifiers.reset();
    expectWhateverFails(
        suppressedMac(),
        [&](const std::string& domain) { return Override::restore(snapshot, domain); },
        [](Expected& expected, const Trouble& trouble) {
            expectRestore(expected, trouble, {{5, 2, 1, 13}, {1048576, 0, 131072, 0}});
        });
}

TEST_F(HotCornerControl, RestoresCornersThatWereNeverSetByRemovingEveryKey) {
    startWith(suppressedMac(), {});
    EXPECT_TRUE(Override::restore(DockHotCornerSnapshot(), theDock));
    Lines removals;
    for (const HotCornerField& field : hotCornerFields) {
        removals.push_back(setsPreference(field.preference, std::nullopt));
    }
    EXPECT_EQ(callLines(),
              removals + announces(true) + setsCorners(suppressedCorners) + Lines{readsCorners});
    EXPECT_EQ(preferences(), (json{{"orientation", "left"}}));
}

TEST_F(HotCornerControl, WritesNothingFromASnapshotThatIsNotValid) {
    DockHotCornerSnapshot outOfRange = usersSnapshot();
    outOfRange.brModifier = std::int64_t{1} << 31;
    DockHotCornerSnapshot unpaired = usersSnapshot();
    unpaired.liveModifiers.reset();
    DockHotCornerSnapshot threeElements = usersSnapshot();
    threeElements.liveActions->pop_back();
    DockHotCornerSnapshot liveOutOfRange = usersSnapshot();
    liveOutOfRange.liveActions->at(1) = std::int64_t{std::numeric_limits<std::int32_t>::min()} - 1;
    for (const auto& snapshot : {outOfRange, unpaired, threeElements, liveOutOfRange}) {
        for (const std::string& domain : {theDock, foreign}) {
            startWith(suppressedMac(), {});
            expect({.log = {"warn: hot-corner restore rejected an out-of-range snapshot value"},
                    .preferences = suppressedPreferences(),
                    .live = suppressedCorners},
                   Override::restore(snapshot, domain), {});
        }
    }
}

TEST_F(HotCornerControl, GivesTheDockTheExtremesOf32Bits) {
    constexpr std::int64_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t greatest = std::numeric_limits<std::int32_t>::max();
    startWith(suppressedMac(), {});
    const DockHotCornerSnapshot snapshot(least, greatest, -1, 0, greatest, least + 1, 7, -7,
                                         std::nullopt, std::nullopt);
    // The Dock took them all, but one of them reads like an unfilled value.
    EXPECT_FALSE(Override::restore(snapshot, theDock));
    EXPECT_EQ(liveCorners(), json({{least, -1, greatest, 7}, {greatest, 0, least + 1, -7}}));
    EXPECT_EQ(takeLog(), Lines{"warn: hot-corner restore could not be verified because the "
                               "CoreDock getter is unavailable"});
}

TEST_F(HotCornerControl, ReadsTheUsersCorners) {
    startWith(usersMac(), {});
    EXPECT_EQ(Override::readCurrent(theDock), usersSnapshot());
    EXPECT_EQ(callLines(), Lines{readsCorners});
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(HotCornerControl, ReadsOnlyPreferencesIfTheDockCannotBeAsked) {
    DockHotCornerSnapshot preferencesOnly = usersSnapshot();
    preferencesOnly.liveActions.reset();
    preferencesOnly.liveModifiers.reset();
    for (const Trouble& trouble : everyCombination()) {
        SCOPED_TRACE(testing::PrintToString(trouble));
        startWith(usersMac(), trouble);
        const bool asksDock = !trouble.foreignDomain && !trouble.getterMissing;
        EXPECT_EQ(Override::readCurrent(trouble.domain()),
                  asksDock && !trouble.unreadable ? usersSnapshot() : preferencesOnly);
        EXPECT_EQ(callLines(), asksDock ? Lines{readsCorners} : Lines{});
        EXPECT_EQ(takeLog(), Lines{});
    }
    startWith(usersMac(), {});
    simulator::set(
        {{"dock", {{"cornerModifiers", {0, 0, 0, std::numeric_limits<std::int32_t>::min()}}}}});
    EXPECT_EQ(Override::readCurrent(theDock), preferencesOnly);
}

TEST_F(HotCornerControl, ReadsNumbersOnly) {
    const json stored = {{"wvous-tl-corner", 5},          {"wvous-tl-modifier", "5"},
                         {"wvous-tr-corner", {5}},        {"wvous-tr-modifier", 2.75},
                         {"wvous-bl-corner", true},       {"wvous-bl-modifier", {{"value", 5}}},
                         {"wvous-br-corner", 8589934592}, {"wvous-br-modifier", -5}};
    startWith({{"preferences", {{theDock, stored}}}}, {.foreignDomain = true});
    const DockHotCornerSnapshot snapshot = Override::readCurrent(foreign);
    EXPECT_EQ(snapshot, DockHotCornerSnapshot(5, std::nullopt, std::nullopt, 2, 1, std::nullopt,
                                              8589934592, -5, std::nullopt, std::nullopt));
}

TEST_F(HotCornerControl, FindsNothingOnAMacWhoseCornersWereNeverSet) {
    startWith({{"preferences", {{theDock, json::object()}}}}, {.getterMissing = true});
    EXPECT_EQ(Override::readCurrent(theDock), DockHotCornerSnapshot());
}

}  // namespace
}  // namespace tolvaran::tests
