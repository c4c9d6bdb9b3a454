#include "restore/arrangement/originals_projection.hpp"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace tolvaran::tests {
namespace {

using Arrangement = std::vector<OriginalsEntry>;
using Arrangements = std::map<std::string, Arrangement>;

const OriginalsEntry p{.uuid = "P", .x = 0, .y = 0};
const OriginalsEntry q{.uuid = "Q", .x = 1920, .y = -5.5};
const OriginalsEntry r{.uuid = "R", .x = 3200, .y = 10};
const OriginalsEntry s{.uuid = "S", .x = 5760, .y = 20};

std::vector<Arrangement> project(const Arrangements& arrangements,
                                 const std::set<std::string>& active) {
    return OriginalsProjection::projectedSupersetArrangements(arrangements, active);
}

/// These entries as another arrangement saved them, `x` further to the right.
Arrangement moved(Arrangement entries, double x) {
    for (OriginalsEntry& entry : entries) {
        entry.x += x;
    }
    return entries;
}

TEST(OriginalsProjection, NamesEachDisplayOnce) {
    EXPECT_EQ(OriginalsProjection::uuids({q, p, q}), (std::set<std::string>{"P", "Q"}));
    EXPECT_EQ(OriginalsProjection::uuids({}), std::set<std::string>{});
}

TEST(OriginalsProjection, KeepsTheActiveEntriesInStoredOrderWhereTheyWereSaved) {
    EXPECT_EQ(project({{"P,Q,R,S", {s, r, q, p}}}, {"P", "Q", "S"}),
              (std::vector<Arrangement>{{s, q, p}}));
}

TEST(OriginalsProjection, NothingActiveYieldsNothing) {
    EXPECT_EQ(project({{"P", {p}}, {"", {}}}, {}), std::vector<Arrangement>{});
}

TEST(OriginalsProjection, NothingStoredYieldsNothing) {
    EXPECT_EQ(project({}, {"P"}), std::vector<Arrangement>{});
    EXPECT_EQ(project({{"P,Q", {}}}, {"P"}), std::vector<Arrangement>{});
}

TEST(OriginalsProjection, TheExactArrangementIsNotASuperset) {
    EXPECT_EQ(project({{"P,Q", {p, q}}}, {"P", "Q"}), std::vector<Arrangement>{});
}

TEST(OriginalsProjection, AnArrangementThatLacksAnActiveDisplayYieldsNothing) {
    EXPECT_EQ(project({{"P,R,S", {p, r, s}}}, {"P", "Q"}), std::vector<Arrangement>{});
    EXPECT_EQ(project({{"P", {p}}}, {"P", "Q"}), std::vector<Arrangement>{});
}

TEST(OriginalsProjection, TheSmallestSupersetComesFirst) {
    const Arrangement inFour = moved({p, q}, 100);
    const Arrangement ofFour{inFour[0], inFour[1], r, s};
    // The signatures sort opposite to the sizes.
    EXPECT_EQ(project({{"A", ofFour}, {"B", {p, q, r}}}, {"P", "Q"}),
              (std::vector<Arrangement>{{p, q}, inFour}));
}

TEST(OriginalsProjection, AmongEqualSizesTheLesserSignatureComesFirst) {
    const Arrangement withS = moved({p, q}, 100);
    const Arrangement withT = moved({p, q}, 200);
    EXPECT_EQ(project({{"P,Q,S", {withS[0], withS[1], s}},
                       {"P,Q,R", {r, p, q}},
                       {"P,Q,T", {withT[0], {.uuid = "T", .x = 1, .y = 1}, withT[1]}}},
                      {"P", "Q"}),
              (std::vector<Arrangement>{{p, q}, withS, withT}));
}

TEST(OriginalsProjection, SizesCompareAsNumbers) {
    Arrangement ofTen{p};
    for (char extra = 'a'; extra < 'j'; ++extra) {
        ofTen.push_back({.uuid = std::string(1, extra), .x = 0, .y = 0});
    }
    const Arrangement ofTwo = moved({p}, 1);
    EXPECT_EQ(project({{"A", ofTen}, {"B", {ofTwo[0], q}}}, {"P"}),
              (std::vector<Arrangement>{ofTwo, {p}}));
}

TEST(OriginalsProjection, ADisplayStoredTwiceCountsOnceButKeepsItsEntries) {
    const OriginalsEntry again{.uuid = "P", .x = 77, .y = 0};
    EXPECT_EQ(project({{"P,P", {p, again}}}, {"P"}), std::vector<Arrangement>{});
    EXPECT_EQ(project({{"A", {p, again, q, q}}, {"B", {p, q, r}}}, {"P"}),
              (std::vector<Arrangement>{{p, again}, {p}}));
}

TEST(OriginalsProjection, LooksAtTheEntriesAndNotAtTheSignature) {
    EXPECT_EQ(project({{"anything", {p, q}}}, {"P"}), std::vector<Arrangement>{{p}});
    EXPECT_EQ(project({{"P,Q", {p}}}, {"P"}), std::vector<Arrangement>{});
}

TEST(OriginalsProjection, AnEmptyUUIDIsAnOrdinaryName) {
    const OriginalsEntry nameless{.uuid = "", .x = 3, .y = 4};
    EXPECT_EQ(project({{",P", {nameless, p}}}, {""}), std::vector<Arrangement>{{nameless}});
}

}  // namespace
}  // namespace tolvaran::tests
