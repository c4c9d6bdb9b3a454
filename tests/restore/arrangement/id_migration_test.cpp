#include "restore/arrangement/id_migration.hpp"

#include <gtest/gtest.h>

namespace tolvaran::tests {
namespace {

using namespace id_migration;
using Entries = std::vector<OriginalsEntry>;

OriginalsEntry at(const std::string& uuid, double x) {
    return {.uuid = uuid, .x = x, .y = -x};
}

/// Stored entries, and what becomes of them and of their signature.
struct Row {
    std::string name;
    Mapping mapping;
    Entries stored;
    Entries renamed;
    std::string signature;  // of the renamed
};

const std::vector<Row> rows = {
    {"no entries", {{"A", "Z"}}, {}, {}, ""},
    {"an empty mapping", {}, {at("B", 1), at("A", 2)}, {at("B", 1), at("A", 2)}, "A,B"},
    {"an unknown display", {{"Q", "Z"}}, {at("B", 1), at("A", 2)}, {at("B", 1), at("A", 2)}, "A,B"},
    {"one display", {{"A", "Z"}}, {at("A", 1), at("B", 2)}, {at("Z", 1), at("B", 2)}, "B,Z"},
    {"the first of two that become one",
     {{"A", "Z"}, {"B", "Z"}},
     {at("B", 1), at("C", 2), at("A", 3)},
     {at("Z", 1), at("C", 2)},
     "C,Z"},
    {"one that becomes another", {{"B", "A"}}, {at("A", 1), at("B", 2)}, {at("A", 1)}, "A"},
    {"an exchange",
     {{"A", "B"}, {"B", "A"}},
     {at("A", 1), at("B", 2)},
     {at("B", 1), at("A", 2)},
     "A,B"},
    {"no chains", {{"A", "B"}, {"B", "C"}}, {at("A", 1)}, {at("B", 1)}, "B"},
    {"one named twice", {}, {at("A", 1), at("A", 2)}, {at("A", 1)}, "A"},
    {"an ID with a comma",
     {{"A,B", "Z"}},
     {at("A,B", 1), at("A", 2)},
     {at("Z", 1), at("A", 2)},
     "A,Z"},
    {"an empty ID", {{"", "Z"}}, {at("", 1)}, {at("Z", 1)}, "Z"},
};

TEST(IDMigration, RenamesEntriesAndKeepsTheFirstOfEachDisplay) {
    for (const Row& row : rows) {
        const Entries renamed = renamedEntries(row.stored, row.mapping);
        EXPECT_EQ(renamed, row.renamed) << row.name;
        EXPECT_EQ(signatureOf(renamed), row.signature) << row.name;
    }
}

TEST(IDMigration, RenamesTheDisplaysThatASignatureNames) {
    const std::vector<std::tuple<std::string, Mapping, std::string>> signatures = {
        {"", {{"A", "Z"}}, ""},
        {"", {{"", "Z"}}, "Z"},
        {"A", {{"A", "Z"}}, "Z"},
        {"A,B", {}, "A,B"},
        {"B,A", {}, "A,B"},
        {"A,B", {{"A", "Z"}}, "B,Z"},
        {"A,B,C", {{"A", "Z"}, {"B", "Z"}}, "C,Z"},
        {"A,B", {{"B", "A"}}, "A"},
        {"A,B", {{"A", "B"}, {"B", "A"}}, "A,B"},
        {"A", {{"A", "B"}, {"B", "C"}}, "B"},
        // An ID with a comma cannot be told from two.
        {"A,B", {{"A,B", "Z"}}, "A,B"},
    };
    for (const auto& [stored, mapping, renamed] : signatures) {
        EXPECT_EQ(renamedSignature(stored, mapping), renamed) << stored;
    }
}

}  // namespace
}  // namespace tolvaran::tests
