#include "restore/menubar/menu_bar_matcher.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <set>

namespace tolvaran::tests {
namespace {

using Record = MenuBarDisplayVisibilityOverride;
using Candidate = MenuBarRestoreCandidate;
using Target = MenuBarRestoreTarget;
using testing::ElementsAre;
using testing::IsEmpty;

std::string shown(const std::optional<std::string>& text) {
    return text.value_or("none");
}

std::string shown(const Target& target) {
    if (const auto displayID = target.matchedDisplay()) {
        return "display " + std::to_string(*displayID);
    }
    return target == Target::displayAbsent() ? "absent"
           : target == Target::ambiguous()   ? "ambiguous"
                                             : "superseded";
}

/// Targets as words, so that a failing comparison can be read.
std::vector<std::string> resolve(const std::vector<Record>& records,
                                 const std::vector<Candidate>& candidates) {
    std::vector<std::string> result;
    for (const Target& target : resolveMenuBarRecords(records, candidates)) {
        result.push_back(shown(target));
    }
    return result;
}

Record record(const std::string& canonicalID, const std::optional<std::string>& hardwareID,
              const std::string& portUUID) {
    return {.canonicalID = canonicalID, .hardwareID = hardwareID, .portUUID = portUUID};
}

TEST(MenuBarRestoreTarget, OnlyAMatchNamesADisplay) {
    EXPECT_EQ(Target::matched(7).matchedDisplay(), std::optional<CGDirectDisplayID>(7));
    for (const Target& target :
         {Target::displayAbsent(), Target::superseded(), Target::ambiguous()}) {
        EXPECT_EQ(target.matchedDisplay(), std::nullopt);
    }
}

TEST(MenuBarRestoreTarget, CasesAreEqualOnlyToThemselves) {
    const std::array<Target, 5> targets = {Target::matched(1), Target::matched(2),
                                           Target::displayAbsent(), Target::superseded(),
                                           Target::ambiguous()};
    for (std::size_t one = 0; one < targets.size(); ++one) {
        for (std::size_t other = 0; other < targets.size(); ++other) {
            EXPECT_EQ(targets[one] == targets[other], one == other) << one << " " << other;
        }
    }
}

// One record, one display: what makes them agree at all.
struct Pair {
    std::string name;
    Record saved;
    Candidate display;
    bool agree;
};

const std::vector<Pair> pairs = {
    {"hardware ID is the display UUID", record("x", "HW-1", "P"), {1, "HW-1", "c", {}, "Q"}, true},
    {"canonical ID is the display UUID", record("HW-1", {}, "P"), {1, "HW-1", "c", {}, "Q"}, true},
    {"canonical ID is the canonical ID", record("c", "HW-9", "P"), {1, "HW-1", "c", {}, "Q"}, true},
    {"hardware ID is the fingerprint", record("x", "HW-1", "P"), {1, "Q", "Q", "HW-1", "Q"}, true},
    {"canonical ID is the fingerprint", record("HW-1", {}, "P"), {1, "Q", "Q", "HW-1", "Q"}, true},
    {"hardware ID is the display's canonical ID only",
     record("x", "HW-1", "P"),
     {1, "HW-2", "HW-1", "HW-2", "Q"},
     false},
    {"port agrees and is the record's hardware ID",
     record("x", "P", "P"),
     {1, "HW-1", "HW-1", "HW-1", "P"},
     true},
    {"port agrees and is the record's canonical ID",
     record("P", {}, "P"),
     {1, "HW-1", "HW-1", "HW-1", "P"},
     true},
    {"port agrees, record without hardware ID",
     record("x", {}, "P"),
     {1, "HW-1", "HW-1", "HW-1", "P"},
     true},
    {"port agrees, but the record's hardware is another",
     record("x", "HW-9", "P"),
     {1, "HW-1", "HW-1", "HW-1", "P"},
     false},
    {"port agrees and is the canonical ID, but the record's hardware is another",
     record("P", "HW-9", "P"),
     {1, "HW-1", "HW-1", "HW-1", "P"},
     false},
    {"nothing agrees", record("x", {}, "P"), {1, "HW-1", "HW-1", "HW-1", "Q"}, false},
    {"both lack what is compared", record("x", {}, "P"), {1, "HW-1", "HW-1", {}, "Q"}, false},
    {"port differs in case", record("x", {}, "p"), {1, "HW-1", "HW-1", {}, "P"}, false},
};

TEST(MenuBarMatcher, AgreementOfOneRecordWithOneDisplay) {
    for (const Pair& pair : pairs) {
        EXPECT_THAT(resolve({pair.saved}, {pair.display}),
                    ElementsAre(pair.agree ? "display 1" : "absent"))
            << pair.name;
    }
}

TEST(MenuBarMatcher, NothingToMatch) {
    EXPECT_THAT(resolve({}, {{1, "HW-1", "HW-1", {}, "P"}}), IsEmpty());
    EXPECT_THAT(resolve({record("x", {}, "P"), record("P", {}, "P")}, {}),
                ElementsAre("absent", "absent"));
}

// Displays that one record agrees with, from the best agreement to the worst. No record agrees on
// every basis, so there are two ladders.
const Record recordWithHardware = record("C", "HW-1", "P");
const std::vector<Candidate> ladderWithHardware = {
    {1, "HW-1", "x", {}, "P"}, {2, "HW-1", "x", {}, "Q"},  {3, "x", "C", {}, "P"},
    {4, "C", "x", {}, "Q"},    {5, "x", "x", "HW-1", "P"}, {6, "x", "x", "C", "Q"}};
const Record recordOfPort = record("P", {}, "P");
const std::vector<Candidate> ladderOfPort = {{1, "P", "x", {}, "P"},
                                             {2, "x", "P", {}, "Q"},
                                             {3, "x", "x", "P", "P"},
                                             {4, "x", "x", "P", "Q"},
                                             {5, "x", "x", {}, "P"}};

void expectLadder(const Record& saved, const std::vector<Candidate>& ladder) {
    for (std::size_t better = 0; better < ladder.size(); ++better) {
        for (std::size_t worse = better + 1; worse < ladder.size(); ++worse) {
            const std::string expected = "display " + std::to_string(ladder[better].displayID);
            EXPECT_THAT(resolve({saved}, {ladder[better], ladder[worse]}), ElementsAre(expected));
            EXPECT_THAT(resolve({saved}, {ladder[worse], ladder[better]}), ElementsAre(expected));
        }
        Candidate equal = ladder[better];
        equal.displayID = 9;
        EXPECT_THAT(resolve({saved}, {ladder[better], equal}), ElementsAre("ambiguous"))
            << ladder[better].displayID;
    }
}

TEST(MenuBarMatcher, TheBestAgreementWinsAndEqualOnesAreAmbiguous) {
    expectLadder(recordWithHardware, ladderWithHardware);
    expectLadder(recordOfPort, ladderOfPort);
}

TEST(MenuBarMatcher, AnAmbiguityBelowTheBestDisplayDoesNotMatter) {
    const Candidate one{1, "x", "C", {}, "Q"};
    const Candidate best{2, "HW-1", "x", {}, "Q"};
    const Candidate other{3, "x", "C", {}, "Q"};
    EXPECT_THAT(resolve({recordWithHardware}, {one, best, other}), ElementsAre("display 2"));
    EXPECT_THAT(resolve({recordWithHardware}, {one, other, best}), ElementsAre("display 2"));
}

TEST(MenuBarMatcher, TheBestFittingOfSeveralRecordsGetsTheDisplay) {
    const Candidate display{1, "HW-1", "C", "HW-1", "P"};
    const Record byHardware = record("x", "HW-1", "Q");
    const Record byCanonical = record("C", {}, "Q");
    const Record byCanonicalAndPort = record("C", {}, "P");
    const Record byPort = record("x", {}, "P");
    EXPECT_THAT(resolve({byPort, byHardware, byCanonicalAndPort}, {display}),
                ElementsAre("superseded", "display 1", "superseded"));
    EXPECT_THAT(resolve({byCanonicalAndPort, byCanonical, byPort}, {display}),
                ElementsAre("display 1", "superseded", "superseded"));
    EXPECT_THAT(resolve({byPort, byCanonical, byCanonicalAndPort}, {display}),
                ElementsAre("superseded", "superseded", "display 1"));
}

TEST(MenuBarMatcher, TheLastOfEquallyFittingRecordsGetsTheDisplay) {
    const Candidate display{1, "HW-1", "C", "HW-1", "P"};
    const Record one = record("C", "x", "Q");
    const Record other = record("HW-1", "y", "Q");
    EXPECT_THAT(resolve({one, other}, {display}), ElementsAre("superseded", "display 1"));
    EXPECT_THAT(resolve({other, one, other}, {display}),
                ElementsAre("superseded", "superseded", "display 1"));
}

TEST(MenuBarMatcher, ARecordThatLosesItsDisplayIsNotMovedToAnother) {
    const Record best = record("x", "HW-1", "P");
    const Record second = record("HW-1", {}, "Q");
    EXPECT_THAT(resolve({best, second}, {{1, "HW-1", "x", {}, "P"}, {2, "y", "y", {}, "Q"}}),
                ElementsAre("display 1", "superseded"));
}

// Every assignment of identities to several records and displays, against another form of the
// rules: ranks of pairs that are known beforehand, without an order of evaluation.

/// How well a record fits a display, 0 for not at all.
int rank(const Record& saved, const Candidate& display) {
    const bool samePort = saved.portUUID == display.portUUID;
    const bool hasHardware = saved.hardwareID.has_value();
    const std::string own = hasHardware ? *saved.hardwareID : saved.canonicalID;
    const std::string fingerprint = display.fingerprintID.value_or("no fingerprint");
    const std::vector<std::pair<bool, int>> rules = {
        {hasHardware && own == display.aliasID, 4},
        {saved.canonicalID == display.aliasID, 3},
        {saved.canonicalID == display.canonicalID, 3},
        {own == fingerprint || saved.canonicalID == fingerprint, 2},
        {samePort && own == saved.portUUID, 1},
        {samePort && !hasHardware, 0},
    };
    const auto first =
        std::find_if(rules.begin(), rules.end(), [](const auto& rule) { return rule.first; });
    return first == rules.end() ? 0 : 1 + 2 * first->second + (samePort ? 1 : 0);
}

constexpr std::size_t most = 3;
using Indices = std::array<std::size_t, most>;

/// Every record and every display that can be made of a few identities, with their ranks.
struct Domain {
    std::vector<Record> records;
    std::vector<Candidate> candidates;
    std::vector<std::vector<int>> ranks;  // by record and candidate

    /// @param hardwareIDs the ones that records have
    explicit Domain(const std::vector<std::optional<std::string>>& hardwareIDs) {
        for (const auto& hardwareID : hardwareIDs) {
            for (const char* const canonicalID : {"A", "P"}) {
                for (const char* const portUUID : {"P", "Q"}) {
                    records.push_back(record(canonicalID, hardwareID, portUUID));
                }
            }
        }
        for (const auto& fingerprintID : std::vector<std::optional<std::string>>{{}, "A"}) {
            for (const char* const aliasID : {"A", "Q"}) {
                for (const char* const canonicalID : {"A", "Q"}) {
                    for (const char* const portUUID : {"P", "Q"}) {
                        candidates.push_back({0, aliasID, canonicalID, fingerprintID, portUUID});
                    }
                }
            }
        }
        for (const Record& saved : records) {
            auto& row = ranks.emplace_back();
            for (const Candidate& display : candidates) {
                row.push_back(rank(saved, display));
            }
        }
    }
};

const Domain largeDomain({{}, "A", "P"});
// Without records whose hardware ID is a port: small enough for three records and three displays.
const Domain smallDomain({{}, "A"});

/// Some of the domain's records and displays. Display IDs are the places in the list, from 1.
struct Assignment {
    const Domain& domain;
    std::size_t recordCount;
    std::size_t candidateCount;
    Indices records;
    Indices candidates;

    int rankOf(std::size_t recordPlace, std::size_t candidatePlace) const {
        return domain.ranks[records[recordPlace]][candidates[candidatePlace]];
    }

    /// What the record would get if it were the only one.
    Target wish(std::size_t recordPlace) const {
        int best = 0;
        for (std::size_t place = 0; place < candidateCount; ++place) {
            best = std::max(best, rankOf(recordPlace, place));
        }
        Target result = Target::displayAbsent();
        for (std::size_t place = 0; best > 0 && place < candidateCount; ++place) {
            if (rankOf(recordPlace, place) == best) {
                result = result == Target::displayAbsent()
                             ? Target::matched(static_cast<CGDirectDisplayID>(place + 1))
                             : Target::ambiguous();
            }
        }
        return result;
    }

    /// Whether the first record is to get the display that the other one wishes for.
    bool isPreferred(std::size_t recordPlace, std::size_t otherPlace) const {
        const Target wanted = wish(otherPlace);
        if (!wanted.matchedDisplay() || wish(recordPlace) != wanted) {
            return false;
        }
        const std::size_t display = *wanted.matchedDisplay() - 1;
        return std::pair(rankOf(recordPlace, display), recordPlace) >
               std::pair(rankOf(otherPlace, display), otherPlace);
    }

    Target expected(std::size_t recordPlace) const {
        for (std::size_t other = 0; other < recordCount; ++other) {
            if (other != recordPlace && isPreferred(other, recordPlace)) {
                return Target::superseded();
            }
        }
        return wish(recordPlace);
    }

    std::string description() const {
        std::string text;
        for (std::size_t place = 0; place < recordCount; ++place) {
            const Record& saved = domain.records[records[place]];
            text += "record: hardware " + shown(saved.hardwareID) + ", canonical " +
                    saved.canonicalID + ", port " + saved.portUUID + "\n";
        }
        for (std::size_t place = 0; place < candidateCount; ++place) {
            const Candidate& display = domain.candidates[candidates[place]];
            text += "display: alias " + display.aliasID + ", canonical " + display.canonicalID +
                    ", fingerprint " + shown(display.fingerprintID) + ", port " + display.portUUID +
                    "\n";
        }
        return text;
    }
};

/// Resolves one assignment after the other.
class Checker {
  public:
    /// Reports an assignment that is not resolved as expected, and returns false.
    bool check(const Assignment& assignment) {
        fill(assignment);
        const std::vector<Target> targets = resolveMenuBarRecords(records_, candidates_);
        const bool holds = areExpected(targets, assignment) && noneIsLost(targets, assignment);
        if (!holds) {
            ADD_FAILURE() << assignment.description()
                          << testing::PrintToString(resolve(records_, candidates_));
        }
        for (const Target& target : targets) {
            matched_ |= target.matchedDisplay().has_value();
            absent_ |= target == Target::displayAbsent();
            ambiguous_ |= target == Target::ambiguous();
            superseded_ |= target == Target::superseded();
        }
        return holds;
    }

    /// Every kind of target that came up.
    std::vector<std::string> kinds() const {
        std::vector<std::string> names;
        for (const auto& [seen, name] : {std::pair(matched_, "matched"),
                                         {absent_, "absent"},
                                         {ambiguous_, "ambiguous"},
                                         {superseded_, "superseded"}}) {
            if (seen) {
                names.emplace_back(name);
            }
        }
        return names;
    }

  private:
    void fill(const Assignment& assignment) {
        records_.resize(assignment.recordCount);
        candidates_.resize(assignment.candidateCount);
        for (std::size_t place = 0; place < assignment.recordCount; ++place) {
            records_[place] = assignment.domain.records[assignment.records[place]];
        }
        for (std::size_t place = 0; place < assignment.candidateCount; ++place) {
            candidates_[place] = assignment.domain.candidates[assignment.candidates[place]];
            candidates_[place].displayID = static_cast<CGDirectDisplayID>(place + 1);
        }
    }

    static bool areExpected(const std::vector<Target>& targets, const Assignment& assignment) {
        bool all = targets.size() == assignment.recordCount;
        for (std::size_t place = 0; all && place < targets.size(); ++place) {
            all = targets[place] == assignment.expected(place);
        }
        return all;
    }

    /// Whether every dropped record agrees with a display that another record got.
    static bool noneIsLost(const std::vector<Target>& targets, const Assignment& assignment) {
        for (std::size_t place = 0; place < targets.size(); ++place) {
            const auto ownsItsDisplay = [&](const Target& other) {
                const auto displayID = other.matchedDisplay();
                return displayID && assignment.rankOf(place, *displayID - 1) > 0;
            };
            if (targets[place] == Target::superseded() &&
                std::none_of(targets.begin(), targets.end(), ownsItsDisplay)) {
                return false;
            }
        }
        return true;
    }

    std::vector<Record> records_;
    std::vector<Candidate> candidates_;
    bool matched_ = false;
    bool absent_ = false;
    bool ambiguous_ = false;
    bool superseded_ = false;
};

enum class Lists { all, ascending };

/// Calls `visit` with lists of `count` numbers below `limit`, until it returns false.
/// @param count no more than Indices holds
bool forEachList(std::size_t count, std::size_t limit, Lists lists,
                 const std::function<bool(const Indices&)>& visit, Indices list = {},
                 std::size_t length = 0) {
    if (length == std::min(count, list.size())) {
        return visit(list);
    }
    const bool ascends = lists == Lists::ascending && length > 0;
    for (std::size_t value = ascends ? list[length - 1] : 0; value < limit; ++value) {
        list[length] = value;
        if (!forEachList(count, limit, lists, visit, list, length + 1)) {
            return false;
        }
    }
    return true;
}

/// Checks every assignment of the domain to this many records and displays.
/// @param displays with Lists::ascending, assignments that differ only in the order of the displays
///                 count as one
/// @return the kinds of target that came up
std::vector<std::string> checkAll(const Domain& domain, std::size_t recordCount,
                                  std::size_t candidateCount, Lists displays = Lists::all) {
    Checker checker;
    forEachList(recordCount, domain.records.size(), Lists::all, [&](const Indices& records) {
        return forEachList(
            candidateCount, domain.candidates.size(), displays, [&](const Indices& candidates) {
                return checker.check({domain, recordCount, candidateCount, records, candidates});
            });
    });
    return checker.kinds();
}

std::set<int> ranksIn(const Domain& domain) {
    std::set<int> ranks;
    for (const auto& row : domain.ranks) {
        ranks.insert(row.begin(), row.end());
    }
    return ranks;
}

TEST(MenuBarMatcherExhaustive, TheDomainsHoldEveryDegreeOfAgreement) {
    // None; the two that need the port; and each other basis, without the port and with it.
    const auto every = ElementsAre(0, 2, 4, 5, 6, 7, 8, 9, 10);
    EXPECT_THAT(ranksIn(smallDomain), every);
    EXPECT_THAT(ranksIn(largeDomain), every);
}

TEST(MenuBarMatcherExhaustive, EveryAssignmentToUpToTwoRecordsAndDisplays) {
    EXPECT_THAT(checkAll(largeDomain, 1, 1), ElementsAre("matched", "absent"));
    EXPECT_THAT(checkAll(largeDomain, 1, 2), ElementsAre("matched", "absent", "ambiguous"));
    EXPECT_THAT(checkAll(largeDomain, 2, 1), ElementsAre("matched", "absent", "superseded"));
    EXPECT_THAT(checkAll(largeDomain, 2, 2),
                ElementsAre("matched", "absent", "ambiguous", "superseded"));
}

TEST(MenuBarMatcherExhaustive, EveryAssignmentToUpToThreeRecordsAndDisplays) {
    const auto every = ElementsAre("matched", "absent", "ambiguous", "superseded");
    EXPECT_THAT(checkAll(largeDomain, 1, 3), ElementsAre("matched", "absent", "ambiguous"));
    EXPECT_THAT(checkAll(largeDomain, 3, 1), ElementsAre("matched", "absent", "superseded"));
    EXPECT_THAT(checkAll(largeDomain, 2, 3, Lists::ascending), every);
    EXPECT_THAT(checkAll(largeDomain, 3, 2, Lists::ascending), every);
    EXPECT_THAT(checkAll(smallDomain, 3, 3, Lists::ascending), every);
}

}  // namespace
}  // namespace tolvaran::tests
