#include "restore/arrangement/originals_store.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "restore/arrangement/formats.hpp"
#include "tests/support/simulated_process.hpp"
#include "tests/support/special_numbers.hpp"

namespace tolvaran::tests {
namespace {

using Arrangements = std::map<std::string, std::vector<OriginalsEntry>>;
using Mapping = std::map<std::string, std::string>;

OriginalsFile file(Arrangements arrangements) {
    return {.version = 2, .arrangements = std::move(arrangements)};
}

class OriginalsStoreTest : public ProcessTest {
  protected:
    OriginalsFile load(const std::string& content) {
        writeFile(path_, content);
        return OriginalsStore::load(path_);
    }

    const std::string path_ = state(".display-originals");
};

TEST_F(OriginalsStoreTest, LivesInTheStateDirectory) {
    const ScopedEnvironment support("TOLVARAN_APPLICATION_SUPPORT_DIR", "/some/support");
    EXPECT_EQ(OriginalsStore::defaultPath(), "/some/support/State/.display-originals");
}

TEST_F(OriginalsStoreTest, EntriesAreEqualWhenAllFieldsAre) {
    const OriginalsEntry entry{.uuid = "A", .x = 1, .y = 2};
    EXPECT_EQ(entry, (OriginalsEntry{.uuid = "A", .x = 1, .y = 2}));
    EXPECT_NE(entry, (OriginalsEntry{.uuid = "B", .x = 1, .y = 2}));
    EXPECT_NE(entry, (OriginalsEntry{.uuid = "A", .x = 1.5, .y = 2}));
    EXPECT_NE(entry, (OriginalsEntry{.uuid = "A", .x = 1, .y = -2}));
}

TEST_F(OriginalsStoreTest, SavesWithSortedKeysAndLoadsTheSame) {
    const std::pair<OriginalsFile, std::string> cases[] = {
        {file({}), R"({"arrangements":{},"version":2})"},
        {file({{"P,Q", {{.uuid = "Q", .x = -1440, .y = 0.5}, {.uuid = "P", .x = 0, .y = 1080.25}}},
               {"P", {{.uuid = "P"}}}}),
         R"({"arrangements":{"P":[{"uuid":"P","x":0,"y":0}],)"
         R"("P,Q":[{"uuid":"Q","x":-1440,"y":0.5},{"uuid":"P","x":0,"y":1080.25}]},"version":2})"},
        {file({{"", {}}, {"A", {{.uuid = "", .x = 2147483648, .y = -2147483649}}}}),
         R"({"arrangements":{"":[],"A":[{"uuid":"","x":2147483648,"y":-2147483649}]},"version":2})"},
        {file({{"A", {{.uuid = "A", .x = 1e308, .y = -5e-324}}}}),
         R"({"arrangements":{"A":[{"uuid":"A","x":1e308,"y":-5e-324}]},"version":2})"},
        {file({{"\"\n\xc3\xa9", {{.uuid = "A", .x = 0.1, .y = 9007199254740992}}}}),
         "{\"arrangements\":{\"\\\"\\n\xc3\xa9\":"
         "[{\"uuid\":\"A\",\"x\":0.1,\"y\":9007199254740992}]},\"version\":2}"},
    };
    for (const auto& [value, text] : cases) {
        OriginalsStore::save(value, path_);
        EXPECT_EQ(readFile(path_), text);
        EXPECT_EQ(OriginalsStore::load(path_), value) << text;
    }
    EXPECT_EQ(takeLog(), Lines());
    EXPECT_EQ(files(), (Lines{"State/", "State/.display-originals"}));
}

TEST_F(OriginalsStoreTest, LoadsWhatIsStoredHoweverOdd) {
    const std::pair<std::string, OriginalsFile> cases[] = {
        {R"({"version":2.0,"arrangements":{"A":[{"uuid":"A","x":1.0,"y":2e1}]}})",
         file({{"A", {{.uuid = "A", .x = 1, .y = 20}}}})},
        {R"({"version":2,"arrangements":{"A,B":[{"uuid":"C","x":1,"y":2}]}})",
         file({{"A,B", {{.uuid = "C", .x = 1, .y = 2}}}})},
        {R"({"version":2,"arrangements":{"A":[{"uuid":"A","x":1,"y":2},{"uuid":"A","x":3,"y":4}]}})",
         file({{"A", {{.uuid = "A", .x = 1, .y = 2}, {.uuid = "A", .x = 3, .y = 4}}}})},
        {R"({"version":2,"arrangements":{"A":[{"uuid":"","x":1e308,"y":-1e308,"z":null}]},"w":[]})",
         file({{"A", {{.uuid = "", .x = 1e308, .y = -1e308}}}})},
        {R"({"version":2,"arrangements":{"A":[{"uuid":"A","x":18446744073709551616,"y":1e-400}]}})",
         file({{"A", {{.uuid = "A", .x = 18446744073709551616.0, .y = 0}}}})},
        {R"({"version":2,"arrangements":{"A":[],"A":[{"uuid":"A","x":1,"y":2}]}})",
         file({{"A", {{.uuid = "A", .x = 1, .y = 2}}}})},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(load(text), expected) << text;
    }
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(OriginalsStoreTest, WhatCannotBeEncodedLeavesTheOldFile) {
    const OriginalsFile cases[] = {
        file({{"A", {{.uuid = "A", .x = std::nan(""), .y = 0}}}}),
        file({{"A", {{.uuid = "A", .x = 0, .y = infinity}}}}),
        file({{"A", {{.uuid = "\xff", .x = 0, .y = 0}}}}),
        file({{"\xc0\xaf", {}}}),
    };
    writeFile(path_, "old");
    for (const OriginalsFile& unencodable : cases) {
        OriginalsStore::save(unencodable, path_);
        EXPECT_EQ(takeLog(), Lines{"warn: Failed to encode originals file"});
        EXPECT_EQ(readFile(path_), "old");
    }
}

TEST_F(OriginalsStoreTest, WhatCannotBeWrittenIsReportedWithTheError) {
    writeFile(path("file"), "old");
    writeFile(path("directory/inside"), "old");
    OriginalsStore::save(file({}), path("file/originals"));
    OriginalsStore::save(file({}), path("directory"));
    EXPECT_EQ(takeLog(), (Lines{"warn: Failed to write originals file: create " +
                                    path("file/originals: Not a directory"),
                                "warn: Failed to write originals file: rename " +
                                    path("directory: Is a directory")}));
    EXPECT_EQ(files(), (Lines{"directory/", "directory/inside", "file"}));
}

const OriginalsEntry a1{.uuid = "A", .x = 1, .y = 2};
const OriginalsEntry b3{.uuid = "B", .x = 3, .y = 4};
const OriginalsEntry c5{.uuid = "C", .x = 5, .y = 6};

/// A file in a form that the store does not write, so that a rewrite shows.
std::string inAnotherForm(const Arrangements& arrangements) {
    return nlohmann::json::parse(tolvaran::json::write(file(arrangements))).dump(1);
}

TEST_F(OriginalsStoreTest, SavesOneArrangementAndLeavesTheOthers) {
    const Arrangements before = {{"A", {a1}}, {"B", {b3}}};
    const OriginalsEntry moved{.uuid = "A", .x = 7, .y = 2};
    const std::pair<OriginalsEntry, Arrangements> cases[] = {
        {c5, {{"A", {a1}}, {"B", {b3}}, {"C", {c5}}}},
        {moved, {{"A", {moved}}, {"B", {b3}}}},
        {a1, before},
    };
    for (const auto& [entry, after] : cases) {
        writeFile(path_, inAnotherForm(before));
        OriginalsStore::saveArrangement(entry.uuid, {entry}, path_);
        EXPECT_EQ(readFile(path_),
                  after == before ? inAnotherForm(before) : tolvaran::json::write(file(after)));
    }
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(OriginalsStoreTest, SavesAnArrangementInPlaceOfAMissingOrBadFile) {
    for (const bool isThere : {false, true}) {
        if (isThere) {
            writeFile(path_, "{");
        }
        OriginalsStore::saveArrangement("A", {a1}, path_);
        EXPECT_EQ(readFile(path_), tolvaran::json::write(file({{"A", {a1}}})));
    }
    EXPECT_EQ(takeLog(),
              Lines{"warn: originals file missing/wrong version/unparseable, starting fresh"});
}

struct Migration {
    std::string what;
    Mapping mapping;
    Arrangements before;
    Arrangements after;
    std::string mappingText;  // empty if nothing is to be written
};

TEST_F(OriginalsStoreTest, MigrationRenamesDisplaysAndKeepsTheFirstOfEachKind) {
    const Migration cases[] = {
        {"one display",
         {{"A", "Z"}},
         {{"A,B", {a1, b3}}},
         {{"B,Z", {{.uuid = "Z", .x = 1, .y = 2}, b3}}},
         R"(["A": "Z"])"},
        {"two displays become one",
         {{"A", "Z"}, {"B", "Z"}},
         {{"A,B,C", {b3, c5, a1}}},
         {{"C,Z", {{.uuid = "Z", .x = 3, .y = 4}, c5}}},
         R"(["A": "Z", "B": "Z"])"},
        {"one becomes another that is there",
         {{"B", "A"}},
         {{"A,B", {a1, b3}}},
         {{"A", {a1}}},
         R"(["B": "A"])"},
        {"an exchange",
         {{"A", "B"}, {"B", "A"}},
         {{"A,B", {a1, b3}}},
         {{"A,B", {{.uuid = "B", .x = 1, .y = 2}, {.uuid = "A", .x = 3, .y = 4}}}},
         R"(["A": "B", "B": "A"])"},
        {"no chains",
         {{"A", "B"}, {"B", "C"}},
         {{"A", {a1}}},
         {{"B", {{.uuid = "B", .x = 1, .y = 2}}}},
         R"(["A": "B", "B": "C"])"},
        {"two arrangements become one",
         {{"B", "A"}},
         {{"A", {a1}}, {"B", {b3}}},
         {{"A", {a1}}},
         R"(["B": "A"])"},
        {"the first of two stays",
         {{"A", "C"}},
         {{"A", {a1}}, {"C", {c5}}},
         {{"C", {{.uuid = "C", .x = 1, .y = 2}}}},
         R"(["A": "C"])"},
        {"other arrangements stay",
         {{"A", "Z"}},
         {{"A", {a1}}, {"B,C", {c5, b3}}},
         {{"B,C", {c5, b3}}, {"Z", {{.uuid = "Z", .x = 1, .y = 2}}}},
         R"(["A": "Z"])"},
        {"an empty arrangement goes",
         {{"Q", "Z"}},
         {{"A", {a1}}, {"B", {}}},
         {{"A", {a1}}},
         R"(["Q": "Z"])"},
        {"nothing but an empty arrangement", {{"Q", "Z"}}, {{"B", {}}}, {}, R"(["Q": "Z"])"},
        {"a signature that disagrees is rebuilt",
         {{"Q", "Z"}},
         {{"wrong", {b3, a1}}},
         {{"A,B", {b3, a1}}},
         R"(["Q": "Z"])"},
        {"a display named twice",
         {{"Q", "Z"}},
         {{"A", {a1, {.uuid = "A", .x = 8, .y = 9}}}},
         {{"A", {a1}}},
         R"(["Q": "Z"])"},
        {"an empty UUID",
         {{"", "Z"}},
         {{"", {{.uuid = "", .x = 1, .y = 2}}}},
         {{"Z", {{.uuid = "Z", .x = 1, .y = 2}}}},
         R"(["": "Z"])"},
        {"an unknown display", {{"Q", "Z"}}, {{"A,B", {b3, a1}}}, {{"A,B", {b3, a1}}}, ""},
        {"a display to itself", {{"A", "A"}}, {{"A,B", {a1, b3}}}, {{"A,B", {a1, b3}}}, ""},
        {"no arrangements", {{"A", "Z"}}, {}, {}, ""},
    };
    for (const Migration& c : cases) {
        const std::string before = inAnotherForm(c.before);
        writeFile(path_, before);
        OriginalsStore::migrateUUIDs(c.mapping, path_);
        const bool changes = !c.mappingText.empty();
        EXPECT_EQ(readFile(path_), changes ? tolvaran::json::write(file(c.after)) : before)
            << c.what;
        EXPECT_EQ(takeLog(),
                  changes ? Lines{"info: Migrated originals UUIDs: " + c.mappingText} : Lines())
            << c.what;
    }
}

TEST_F(OriginalsStoreTest, MigrationLeavesAMissingOrBadFileAlone) {
    OriginalsStore::migrateUUIDs({{"A", "Z"}}, path_);
    EXPECT_EQ(files(), Lines());
    EXPECT_EQ(takeLog(), Lines());

    writeFile(path_, "{");
    OriginalsStore::migrateUUIDs({{"A", "Z"}}, path_);
    EXPECT_EQ(readFile(path_), "{");
    EXPECT_EQ(takeLog(),
              Lines{"warn: originals file missing/wrong version/unparseable, starting fresh"});
}

TEST_F(OriginalsStoreTest, MigrationWithAnEmptyMappingDoesNotReadTheFile) {
    writeFile(path_, "{");
    OriginalsStore::migrateUUIDs({}, path_);
    EXPECT_EQ(readFile(path_), "{");
    EXPECT_EQ(takeLog(), Lines());
}

}  // namespace
}  // namespace tolvaran::tests
