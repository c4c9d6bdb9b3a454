#include "restore/arrangement/set_marks.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <concepts>
#include <functional>
#include <limits>
#include <ostream>
#include <tuple>

#include "restore/arrangement/formats.hpp"
#include "tests/support/simulated_process.hpp"
#include "tests/support/special_numbers.hpp"

namespace tolvaran::tests {
namespace {

using MarkedLayouts = std::map<std::string, std::vector<MarkedLayout>>;
using Mapping = std::map<std::string, std::string>;
using Origins = std::map<std::string, CGPoint>;

const OriginalsEntry markedA{.uuid = "A", .x = 1, .y = 2};
const OriginalsEntry markedB{.uuid = "B", .x = 3, .y = 4};
const OriginalsEntry markedC{.uuid = "C", .x = 5, .y = 6};
const OriginalsEntry z1{.uuid = "Z", .x = 1, .y = 2};
const MarkedLayout ab = {markedA, markedB};
const MarkedLayout ba = {markedB, markedA};
const MarkedLayout onlyC = {markedC};

/// A file's content in a form that no store writes, so that a rewrite shows.
std::string indented(const std::string& text) {
    return nlohmann::json::parse(text).dump(1);
}

std::string lettersOf(std::string kind) {
    std::erase(kind, '-');
    return kind;
}

// What the stores have in common; one row per store.

struct Store {
    std::string kind;
    nlohmann::json good;  // a file that marks A,B
    std::function<std::string()> defaultPath;
    std::function<Lines(const std::string&)> signatures;
    std::function<void(const std::string&, const std::string&)> mark;
    std::function<void(const std::string&, const std::string&)> clear;
    std::function<void(const Mapping&, const std::string&)> migrate;

    std::string badFile() const {
        return "warn: " + kind + "-sets file wrong version/unparseable, treating as empty";
    }
};

template <std::derived_from<Store> AnyStore>
void PrintTo(const AnyStore& store, std::ostream* out) {
    *out << store.kind;
}

nlohmann::json goodLayouts(int version) {
    return {
        {"version", version},
        {"arrangements",
         {{"A,B", {{{{"uuid", "A"}, {"x", 1}, {"y", 2}}, {{"uuid", "B"}, {"x", 3}, {"y", 4}}}}}}}};
}

/// What only the two layout stores have.
struct LayoutStore : Store {
    std::function<MarkedLayouts(const std::string&)> load;
    std::function<std::vector<MarkedLayout>(const std::string&, const std::string&)> candidates;
    std::function<void(const std::string&, const MarkedLayout&, const std::string&)> premark;
    std::function<void(const std::string&, const MarkedLayout&, const std::string&)> markLayout;
    std::function<void(const std::string&, const std::vector<MarkedLayout>&, const std::string&)>
        restoreCandidates;
    std::function<bool(const std::string&, const Origins&, const std::string&)> matches;
    std::function<MarkFinding(const std::string&, const Origins&, const std::string&)> find;
};

const std::vector<LayoutStore>& layoutStores() {
    static const std::vector<LayoutStore> list = {
        {{"side-pinned", goodLayouts(2), SidePinnedSetsStore::defaultPath,
          SidePinnedSetsStore::signatures,
          [](const std::string& signature, const std::string& path) {
              SidePinnedSetsStore::markSidePinned(signature, ab, path);
          },
          SidePinnedSetsStore::clearSidePinned, SidePinnedSetsStore::migrateCanonicalIDs},
         [](const std::string& path) { return SidePinnedSetsStore::load(path).arrangements; },
         SidePinnedSetsStore::candidates,
         SidePinnedSetsStore::premarkSidePinned,
         SidePinnedSetsStore::markSidePinned,
         SidePinnedSetsStore::restoreCandidates,
         SidePinnedSetsStore::matchesCurrentHardware,
         [](const auto&... arguments) { return LayoutSets::find(sidePinnedSets, arguments...); }},
        {{"native-mirrored", goodLayouts(1), NativeMirroredSetsStore::defaultPath,
          NativeMirroredSetsStore::signatures,
          [](const std::string& signature, const std::string& path) {
              NativeMirroredSetsStore::markNativeMirrored(signature, ab, path);
          },
          NativeMirroredSetsStore::clearNativeMirrored,
          NativeMirroredSetsStore::migrateCanonicalIDs},
         [](const std::string& path) { return NativeMirroredSetsStore::load(path).arrangements; },
         NativeMirroredSetsStore::candidates,
         NativeMirroredSetsStore::premarkNativeMirrored,
         NativeMirroredSetsStore::markNativeMirrored,
         NativeMirroredSetsStore::restoreCandidates,
         NativeMirroredSetsStore::matchesCurrentHardware,
         [](const auto&... arguments) {
             return LayoutSets::find(nativeMirroredSets, arguments...);
         }},
    };
    return list;
}

std::vector<Store> stores() {
    return {{"separated",
             {{"version", 1}, {"signatures", nlohmann::json::array({"A,B"})}},
             SeparatedSetsStore::defaultPath,
             SeparatedSetsStore::signatures,
             SeparatedSetsStore::markSeparated,
             SeparatedSetsStore::clearSeparated,
             SeparatedSetsStore::migrateCanonicalIDs},
            layoutStores()[0],
            layoutStores()[1]};
}

class SetMarksTest : public testing::TestWithParam<Store>, protected SimulatedProcess {
  protected:
    const std::string marks_ = state("marks.json");
};

INSTANTIATE_TEST_SUITE_P(Stores, SetMarksTest, ::testing::ValuesIn(stores()),
                         [](const auto& store) { return lettersOf(store.param.kind); });

TEST_P(SetMarksTest, LivesInTheStateDirectory) {
    const ScopedEnvironment support("TOLVARAN_APPLICATION_SUPPORT_DIR", "/some/support");
    EXPECT_EQ(GetParam().defaultPath(), "/some/support/State/" + GetParam().kind + "-sets.json");
}

TEST_P(SetMarksTest, WithoutAReadableFileTheStoreIsSilentlyEmpty) {
    EXPECT_EQ(GetParam().signatures(marks_), Lines());
    EXPECT_EQ(GetParam().signatures(path("")), Lines());
    GetParam().clear("A,B", marks_);
    GetParam().migrate({{"A", "Z"}}, marks_);
    EXPECT_EQ(files(), Lines());
    EXPECT_EQ(takeLog(), Lines());
}

TEST_P(SetMarksTest, ABadFileStaysUntilTheNextMarkReplacesIt) {
    writeFile(marks_, "{");
    GetParam().clear("A,B", marks_);
    GetParam().migrate({{"A", "Z"}}, marks_);
    EXPECT_EQ(readFile(marks_), "{");
    EXPECT_EQ(takeLog(), (Lines{GetParam().badFile(), GetParam().badFile()}));

    GetParam().mark("A,B", marks_);
    EXPECT_EQ(readFile(marks_), GetParam().good.dump());
    EXPECT_EQ(takeLog(), Lines{GetParam().badFile()});
}

TEST_P(SetMarksTest, ClearRemovesTheSignatureAndRewritesOnlyThen) {
    GetParam().mark("A,B", marks_);
    GetParam().mark("C", marks_);
    const std::string before = indented(*readFile(marks_));
    writeFile(marks_, before);
    for (const char* const unknown : {"", "A", "B,A", "a,b"}) {
        GetParam().clear(unknown, marks_);
        EXPECT_EQ(readFile(marks_), before) << unknown;
    }
    GetParam().clear("C", marks_);
    EXPECT_EQ(readFile(marks_), GetParam().good.dump());
    GetParam().clear("A,B", marks_);
    EXPECT_EQ(GetParam().signatures(marks_), Lines());
    EXPECT_EQ(takeLog(), Lines());
}

TEST_P(SetMarksTest, AnEmptySignatureIsNeverMarked) {
    GetParam().mark("", marks_);
    EXPECT_EQ(files(), Lines());
}

TEST_P(SetMarksTest, WhatCannotBeEncodedLeavesTheOldFile) {
    const std::string before = indented(GetParam().good.dump());
    writeFile(marks_, before);
    GetParam().mark("\xff", marks_);
    EXPECT_EQ(readFile(marks_), before);
    EXPECT_EQ(takeLog(), Lines{"warn: Failed to encode " + GetParam().kind + "-sets file"});
}

TEST_P(SetMarksTest, WhatCannotBeWrittenIsReportedWithTheError) {
    writeFile(path("file"), "old");
    GetParam().mark("A,B", path("file/marks"));
    EXPECT_EQ(takeLog(), Lines{"warn: Failed to write " + GetParam().kind + "-sets file: create " +
                               (path("file/marks: Not a directory"))});
    EXPECT_EQ(files(), Lines{"file"});
}

TEST_P(SetMarksTest, MigrationRenamesSortsAndSaysSo) {
    writeFile(marks_, GetParam().good.dump());
    GetParam().migrate({{"A", "Z"}, {"Q", "R"}}, marks_);
    EXPECT_EQ(GetParam().signatures(marks_), Lines{"B,Z"});
    EXPECT_EQ(takeLog(), Lines{"info: Migrated " + GetParam().kind +
                               R"(-set signatures: ["A": "Z", "Q": "R"])"});
}

TEST_P(SetMarksTest, MigrationThatChangesNothingWritesAndLogsNothing) {
    const std::string before = indented(GetParam().good.dump());
    writeFile(marks_, before);
    GetParam().migrate({{"Q", "Z"}}, marks_);
    GetParam().migrate({{"A", "A"}}, marks_);
    EXPECT_EQ(readFile(marks_), before);
    EXPECT_EQ(takeLog(), Lines());
}

TEST_P(SetMarksTest, MigrationWithAnEmptyMappingDoesNotReadTheFile) {
    writeFile(marks_, "{");
    GetParam().migrate({}, marks_);
    EXPECT_EQ(takeLog(), Lines());
}

// The separated sets.

class SeparatedSetsStoreTest : public ::testing::Test, protected SimulatedProcess {
  protected:
    void store(const std::vector<std::string>& signatures) {
        writeFile(marks_,
                  indented(tolvaran::json::write(SeparatedSetsFile{.signatures = signatures})));
    }

    const std::string marks_ = state("marks.json");
};

TEST_F(SeparatedSetsStoreTest, MarksInOrderAndEachOnce) {
    SeparatedSetsStore::markSeparated("C", marks_);
    SeparatedSetsStore::markSeparated("A,B", marks_);
    EXPECT_EQ(readFile(marks_), R"({"signatures":["C","A,B"],"version":1})");
    EXPECT_EQ(SeparatedSetsStore::signatures(marks_), (Lines{"C", "A,B"}));
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(SeparatedSetsStoreTest, MarkingAgainDoesNotRewrite) {
    store({"A,B", "C"});
    const auto before = readFile(marks_);
    SeparatedSetsStore::markSeparated("A,B", marks_);
    SeparatedSetsStore::markSeparated("", marks_);
    EXPECT_EQ(readFile(marks_), before);
}

TEST_F(SeparatedSetsStoreTest, ClearRemovesEveryOccurrence) {
    store({"A", "B", "A"});
    SeparatedSetsStore::clearSeparated("A", marks_);
    EXPECT_EQ(SeparatedSetsStore::signatures(marks_), Lines{"B"});
}

TEST_F(SeparatedSetsStoreTest, MigrationKeepsTheFirstOfEachSignature) {
    const std::tuple<Mapping, Lines, Lines> cases[] = {
        {{{"A", "Z"}}, {"A,B", "C"}, {"B,Z", "C"}},
        {{{"A", "B"}}, {"A,B"}, {"B"}},
        {{{"A", "B"}}, {"A,C", "D", "B,C"}, {"B,C", "D"}},
        {{{"A", "B"}, {"B", "A"}}, {"A", "B"}, {"B", "A"}},
        {{{"A", "B"}, {"B", "C"}}, {"A"}, {"B"}},
        {{{"Q", "Z"}}, {"B,A", "A,B"}, {"A,B"}},
        {{{"Q", "Z"}}, {"A,A"}, {"A"}},
        {{{"Q", "Z"}}, {"", ",", "A"}, {"", "A"}},
        {{{"", "Z"}}, {"", "A,"}, {"Z", "A,Z"}},
    };
    for (const auto& [mapping, before, after] : cases) {
        store(before);
        SeparatedSetsStore::migrateCanonicalIDs(mapping, marks_);
        EXPECT_EQ(readFile(marks_), tolvaran::json::write(SeparatedSetsFile{.signatures = after}));
        EXPECT_EQ(takeLog().size(), 1U);
    }
}

// The two layout stores.

class LayoutSetsStoreTest : public ::testing::TestWithParam<LayoutStore>,
                            protected SimulatedProcess {
  protected:
    std::string text(const MarkedLayouts& arrangements) const {
        return R"({"arrangements":)" + tolvaran::json::write(arrangements) + R"(,"version":)" +
               GetParam().good.at("version").dump() + "}";
    }

    /// Writes a file with these layouts, in a form that no store writes. @return its content
    std::string store(const MarkedLayouts& arrangements) const {
        const std::string content = indented(text(arrangements));
        writeFile(marks_, content);
        return content;
    }

    const std::string marks_ = state("marks.json");
};

INSTANTIATE_TEST_SUITE_P(Stores, LayoutSetsStoreTest, ::testing::ValuesIn(layoutStores()),
                         [](const auto& store) { return lettersOf(store.param.kind); });

TEST_P(LayoutSetsStoreTest, WritesSortedKeysAndItsOwnVersion) {
    GetParam().markLayout("A,B", ba, marks_);
    EXPECT_EQ(readFile(marks_), R"({"arrangements":{"A,B":[[{"uuid":"B","x":3,"y":4},)"
                                R"({"uuid":"A","x":1,"y":2}]]},"version":)" +
                                    GetParam().good.at("version").dump() + "}");
    EXPECT_EQ(GetParam().load(marks_), (MarkedLayouts{{"A,B", {ba}}}));
    EXPECT_EQ(takeLog(), Lines());
}

TEST_P(LayoutSetsStoreTest, PremarkingCollectsDifferentLayouts) {
    GetParam().premark("A,B", ab, marks_);
    GetParam().premark("C", onlyC, marks_);
    GetParam().premark("A,B", ba, marks_);  // another order is another layout
    EXPECT_EQ(GetParam().load(marks_), (MarkedLayouts{{"A,B", {ab, ba}}, {"C", {onlyC}}}));
    EXPECT_EQ(GetParam().candidates("A,B", marks_), (std::vector{ab, ba}));
    EXPECT_EQ(GetParam().candidates("A", marks_), std::vector<MarkedLayout>());
}

TEST_P(LayoutSetsStoreTest, PremarkingTheSameAgainDoesNotRewrite) {
    const std::string before = store({{"A,B", {onlyC, ab}}});
    GetParam().premark("A,B", ab, marks_);
    GetParam().premark("A,B", onlyC, marks_);
    EXPECT_EQ(readFile(marks_), before);
}

TEST_P(LayoutSetsStoreTest, EmptySignaturesAndLayoutsAreNotMarked) {
    const std::string before = store({{"A,B", {ab}}});
    GetParam().premark("", ab, marks_);
    GetParam().premark("A,B", {}, marks_);
    GetParam().markLayout("", ab, marks_);
    GetParam().markLayout("A,B", {}, marks_);
    GetParam().restoreCandidates("", {ab}, marks_);
    GetParam().restoreCandidates("", {}, marks_);
    EXPECT_EQ(readFile(marks_), before);
}

TEST_P(LayoutSetsStoreTest, MarkingReplacesThePremarks) {
    GetParam().premark("A,B", ab, marks_);
    GetParam().premark("A,B", ba, marks_);
    GetParam().premark("C", onlyC, marks_);
    GetParam().markLayout("A,B", ba, marks_);
    EXPECT_EQ(GetParam().load(marks_), (MarkedLayouts{{"A,B", {ba}}, {"C", {onlyC}}}));
    store({{"A,B", {ba}}});
    GetParam().markLayout("A,B", ba, marks_);
    EXPECT_EQ(readFile(marks_), text({{"A,B", {ba}}}));  // also when it is there already
}

TEST_P(LayoutSetsStoreTest, RestoringCandidatesReplacesOrRemovesThem) {
    store({{"A,B", {ab}}, {"C", {onlyC}}});
    GetParam().restoreCandidates("A,B", {ba, {}}, marks_);
    EXPECT_EQ(readFile(marks_), text({{"A,B", {ba, {}}}, {"C", {onlyC}}}));
    GetParam().restoreCandidates("A,B", {}, marks_);
    EXPECT_EQ(readFile(marks_), text({{"C", {onlyC}}}));
    const std::string before = store({{"C", {onlyC}}});
    GetParam().restoreCandidates("A,B", {}, marks_);
    EXPECT_EQ(readFile(marks_), before);
    GetParam().restoreCandidates("D", {ab}, marks_);
    EXPECT_EQ(readFile(marks_), text({{"C", {onlyC}}, {"D", {ab}}}));
    EXPECT_EQ(takeLog(), Lines());
}

TEST_P(LayoutSetsStoreTest, WhatCannotBeEncodedLeavesTheOldFile) {
    const std::string before = store({{"C", {onlyC}}});
    for (const double coordinate : {std::nan(""), infinity, -infinity}) {
        GetParam().premark("A", {{.uuid = "A", .x = 0, .y = coordinate}}, marks_);
        EXPECT_EQ(readFile(marks_), before);
        EXPECT_EQ(takeLog(), Lines{"warn: Failed to encode " + GetParam().kind + "-sets file"});
    }
}

TEST_P(LayoutSetsStoreTest, LoadsWhatIsStoredHoweverOdd) {
    const MarkedLayouts cases[] = {
        {{"A", {}}},
        {{"A", {{}}}},
        {{"wrong", {ab}}},
        {{"", {{{.uuid = "", .x = 0, .y = 0}}}}},
        {{"A", {{markedA, markedA}, {markedA, {.uuid = "A", .x = 8, .y = 9}}}}},
        {{"A", {{{.uuid = "A", .x = 1e308, .y = -2147483649}}}}},
    };
    for (const MarkedLayouts& arrangements : cases) {
        store(arrangements);
        EXPECT_EQ(GetParam().load(marks_), arrangements) << text(arrangements);
    }
    EXPECT_EQ(takeLog(), Lines());
}

struct Match {
    std::string what;
    std::vector<MarkedLayout> layouts;
    Origins origins;
    bool matches;
};

TEST_P(LayoutSetsStoreTest, MatchesALayoutWhoseDisplaysAreAllInPlace) {
    const Origins inPlace = {{"A", {1, 2}}, {"B", {3, 4}}};
    const double justMore = std::nextafter(2.0, 3.0);
    const MarkedLayout atZero = {{.uuid = "A", .x = 0, .y = 0}};
    const double nan = std::nan("");
    const Match cases[] = {
        {"in place", {ab}, inPlace, true},
        {"2.0 off in x", {ab}, {{"A", {3, 2}}, {"B", {3, 4}}}, true},
        {"2.0 off the other way", {ab}, {{"A", {-1, 0}}, {"B", {5, 6}}}, true},
        {"2.5 off in x", {ab}, {{"A", {3.5, 2}}, {"B", {3, 4}}}, false},
        {"2.5 off in y", {ab}, {{"A", {1, -0.5}}, {"B", {3, 4}}}, false},
        {"the second is off", {ab}, {{"A", {1, 2}}, {"B", {3, 7}}}, false},
        {"just more than 2.0 off", {atZero}, {{"A", {justMore, 0}}}, false},
        {"just more than 2.0 off in y", {atZero}, {{"A", {0, -justMore}}}, false},
        {"other displays do not count", {onlyC}, {{"A", {0, 0}}, {"C", {5, 6}}}, true},
        {"a display is not there", {ab}, {{"A", {1, 2}}}, false},
        {"nothing is there", {ab}, {}, false},
        {"the next layout is tried",
         {{{.uuid = "Q", .x = 1, .y = 2}}, {markedC}, ab},
         inPlace,
         true},
        {"no layout matches", {{markedC}, {{.uuid = "A", .x = 100, .y = 2}}}, inPlace, false},
        {"an empty layout", {{}}, inPlace, false},
        {"an empty layout is passed over", {{}, ab}, inPlace, true},
        {"no layouts", {}, inPlace, false},
        {"a display named twice, once wrongly",
         {{markedA, {.uuid = "A", .x = 9, .y = 9}}},
         inPlace,
         false},
        {"far out", {{{.uuid = "A", .x = 1e308, .y = -1e308}}}, {{"A", {-1e308, 1e308}}}, false},
        {"NaN", {atZero}, {{"A", {nan, 0}}}, false},
        {"infinite", {atZero}, {{"A", {0, infinity}}}, false},
    };
    for (const Match& c : cases) {
        store({{"A,B", c.layouts}, {"X", {}}});
        EXPECT_EQ(GetParam().matches("A,B", c.origins, marks_), c.matches) << c.what;
        EXPECT_FALSE(GetParam().matches("X", c.origins, marks_)) << c.what;
        EXPECT_FALSE(GetParam().matches("unknown", c.origins, marks_)) << c.what;
        EXPECT_EQ(GetParam().find("A,B", c.origins, marks_).isInForce, c.matches) << c.what;
        EXPECT_TRUE(GetParam().find("A,B", c.origins, marks_).isMarked) << c.what;
        EXPECT_TRUE(GetParam().find("X", c.origins, marks_).isMarked) << c.what;
        EXPECT_FALSE(GetParam().find("X", c.origins, marks_).isInForce) << c.what;
        EXPECT_FALSE(GetParam().find("unknown", c.origins, marks_).isMarked) << c.what;
    }
    EXPECT_EQ(takeLog(), Lines());
}

TEST_P(LayoutSetsStoreTest, MigrationFormsTheKeyFromTheEntries) {
    const std::string comma = "HW-1-2-SAB,CD";
    store({{comma + ",P", {{}, {{.uuid = "P", .x = 1, .y = 2}, {.uuid = comma, .x = 3, .y = 4}}}}});
    GetParam().migrate({{"P", "Q"}}, marks_);
    EXPECT_EQ(
        GetParam().load(marks_),
        (MarkedLayouts{{comma + ",Q",
                        {{}, {{.uuid = "Q", .x = 1, .y = 2}, {.uuid = comma, .x = 3, .y = 4}}}}}));
    GetParam().migrate({{comma, "A"}}, marks_);
    EXPECT_TRUE(GetParam().load(marks_).contains("A,Q"));
}

TEST_P(LayoutSetsStoreTest, MigrationRenamesLayoutsAndKeepsTheFirstOfEachKind) {
    struct Case {
        std::string what;
        Mapping mapping;
        MarkedLayouts before;
        MarkedLayouts after;
    };
    const OriginalsEntry b1{.uuid = "B", .x = 1, .y = 2};
    const OriginalsEntry a3{.uuid = "A", .x = 3, .y = 4};
    const Case cases[] = {
        {"one display",
         {{"A", "Z"}},
         {{"A,B", {ab, ba}}},
         {{"B,Z", {{z1, markedB}, {markedB, z1}}}}},
        {"two displays become one", {{"B", "A"}}, {{"A,B", {ab, ba}}}, {{"A", {{markedA}, {a3}}}}},
        {"an exchange", {{"A", "B"}, {"B", "A"}}, {{"A,B", {ab}}}, {{"A,B", {{b1, a3}}}}},
        {"two signatures become one",
         {{"B", "A"}},
         {{"A", {{markedA}}}, {"B", {{markedB}}}},
         {{"A", {{markedA}}}}},
        {"the first of two stays", {{"A", "C"}}, {{"A", {}}, {"C", {onlyC}}}, {{"C", {}}}},
        {"an unsorted signature", {{"Q", "Z"}}, {{"B,A", {ab}}}, {{"A,B", {ab}}}},
        {"a signature that disagrees", {{"A", "Z"}}, {{"C", {{markedA}}}}, {{"C", {{z1}}}}},
        {"a layout that disagrees", {{"C", "Z"}}, {{"C", {{markedA}}}}, {{"Z", {{markedA}}}}},
        {"an empty layout stays", {{"A", "Z"}}, {{"A", {{}}}}, {{"Z", {{}}}}},
        {"a display named twice", {{"Q", "Z"}}, {{"A", {{markedA, a3}}}}, {{"A", {{markedA}}}}},
    };
    for (const Case& c : cases) {
        store(c.before);
        GetParam().migrate(c.mapping, marks_);
        EXPECT_EQ(readFile(marks_), text(c.after)) << c.what;
        EXPECT_EQ(takeLog().size(), 1U) << c.what;
    }
}

// What differs between the stores.

TEST(SetMarksVersions, DifferOnPurpose) {
    static_assert(SeparatedSetsStore::fileVersion == 1);
    static_assert(SidePinnedSetsStore::fileVersion == 2);
    static_assert(NativeMirroredSetsStore::fileVersion == 1);
    static_assert(SidePinnedSetsStore::matchTolerance == 2.0);
    static_assert(NativeMirroredSetsStore::matchTolerance == 2.0);
    EXPECT_EQ(SidePinnedSetsFile().version, 2);
    EXPECT_EQ(NativeMirroredSetsFile().version, 1);
    EXPECT_EQ(SeparatedSetsFile().version, 1);

    SimulatedProcess process;
    const std::string marks = process.state("marks.json");
    writeFile(marks, goodLayouts(1).dump());
    EXPECT_EQ(SidePinnedSetsStore::load(marks), SidePinnedSetsFile());
    EXPECT_EQ(process.takeLog(),
              Lines{"warn: side-pinned-sets file wrong version/unparseable, treating as empty"});
    EXPECT_EQ(NativeMirroredSetsStore::signatures(marks), Lines{"A,B"});
    EXPECT_EQ(process.takeLog(), Lines());

    writeFile(marks, goodLayouts(2).dump());
    EXPECT_EQ(SidePinnedSetsStore::signatures(marks), Lines{"A,B"});
    EXPECT_EQ(NativeMirroredSetsStore::load(marks), NativeMirroredSetsFile());
    EXPECT_EQ(
        process.takeLog(),
        Lines{"warn: native-mirrored-sets file wrong version/unparseable, treating as empty"});
}

}  // namespace
}  // namespace tolvaran::tests
