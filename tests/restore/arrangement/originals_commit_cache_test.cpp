#include "restore/arrangement/originals_commit_cache.hpp"

#include <gtest/gtest.h>

namespace tolvaran::tests {
namespace {

using Entries = std::vector<OriginalsEntry>;
using Signatures = std::set<std::string>;

const Entries someEntries = {{.uuid = "A", .x = 1, .y = 2}, {.uuid = "B", .x = 3, .y = 4}};
const Entries otherEntries = {{.uuid = "A", .x = 5, .y = 6}};

TEST(OriginalsCommitCache, BeginsEmpty) {
    const OriginalsCommitCache cache;
    EXPECT_EQ(cache.committedSignatures, Signatures());
    EXPECT_FALSE(cache.isCommitted("A,B"));
    EXPECT_FALSE(cache.isCommitted(""));
    EXPECT_EQ(cache.volatileEntries("A,B"), std::nullopt);
}

TEST(OriginalsCommitCache, CommitMarksTheSignatureAlone) {
    OriginalsCommitCache cache;
    cache.commit("A,B");
    EXPECT_EQ(cache.committedSignatures, Signatures{"A,B"});
    EXPECT_TRUE(cache.isCommitted("A,B"));
    EXPECT_FALSE(cache.isCommitted("A"));
    EXPECT_EQ(cache.volatileEntries("A,B"), std::nullopt);
}

TEST(OriginalsCommitCache, CommitVolatileKeepsTheEntriesInMemory) {
    OriginalsCommitCache cache;
    cache.commitVolatile("A,B", someEntries);
    EXPECT_TRUE(cache.isCommitted("A,B"));
    EXPECT_EQ(cache.volatileEntries("A,B"), someEntries);
    EXPECT_EQ(cache.volatileEntries("A"), std::nullopt);

    cache.commitVolatile("A,B", otherEntries);
    EXPECT_EQ(cache.volatileEntries("A,B"), otherEntries);

    cache.commitVolatile("A,B", {});
    EXPECT_EQ(cache.volatileEntries("A,B"), Entries());
    EXPECT_EQ(cache.committedSignatures, Signatures{"A,B"});
}

TEST(OriginalsCommitCache, CommitDropsTheVolatileEntriesOfItsSignature) {
    OriginalsCommitCache cache;
    cache.commitVolatile("A,B", someEntries);
    cache.commitVolatile("A", otherEntries);
    cache.commit("A,B");
    EXPECT_TRUE(cache.isCommitted("A,B"));
    EXPECT_EQ(cache.volatileEntries("A,B"), std::nullopt);
    EXPECT_EQ(cache.volatileEntries("A"), otherEntries);
}

TEST(OriginalsCommitCache, ForgetClearsBoth) {
    OriginalsCommitCache cache;
    cache.commit("A,B");
    cache.commitVolatile("A", otherEntries);
    cache.forget();
    EXPECT_EQ(cache, OriginalsCommitCache());
    EXPECT_FALSE(cache.isCommitted("A"));
    EXPECT_EQ(cache.volatileEntries("A"), std::nullopt);
}

TEST(OriginalsCommitCache, EqualityCountsBothCollections) {
    OriginalsCommitCache committed;
    committed.commit("A");
    OriginalsCommitCache inMemory;
    inMemory.commitVolatile("A", otherEntries);
    EXPECT_NE(committed, OriginalsCommitCache());
    EXPECT_NE(committed, inMemory);
    inMemory.commit("A");
    EXPECT_EQ(committed, inMemory);
}

}  // namespace
}  // namespace tolvaran::tests
