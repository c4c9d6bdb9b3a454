// Tries ways of writing that are known to lose records on the disk model: each must show its loss,
// or no power-cut test could fail.
#include "tests/faults/disk_model.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "simulator/simulator.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

class DiskModelTest : public testing::Test {
  protected:
    DiskModelTest() {
        simulator::reset();
        writeFile(record, "old");
        disk.emplace(root.path());
        simulator::observeFileCalls([this](const simulator::FileCall& call) { disk->take(call); });
    }
    ~DiskModelTest() override { simulator::reset(); }

    /// What a cut now may leave of the record; "-" where there is none.
    std::set<std::string> remains() const {
        std::set<std::string> contents;
        for (const Tree& tree : disk->cut().trees) {
            const auto found = tree.find("record");
            contents.insert(found == tree.end() ? "-" : found->second.value_or("/"));
        }
        return contents;
    }

    static int create(const std::string& path) {
        return ::open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    }
    static void write(int descriptor, const std::string& text) {
        ASSERT_EQ(::write(descriptor, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    void flushRoot() const {
        const int directory = ::open(root.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        ::fsync(directory);
        ::close(directory);
    }

    const TemporaryDirectory root;
    const std::string record = root / "record";
    const std::string unfinished = root / "unfinished";
    std::optional<DiskModel> disk;
};

using Texts = std::set<std::string>;

TEST_F(DiskModelTest, ShowsWhatWritingInPlaceLoses) {
    const int file = ::open(record.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    write(file, "abcd");
    EXPECT_EQ(remains(),
              (Texts{"old", "ab", std::string(4, '\0'), std::string("ab\0\0", 4), "abcd"}));
    ::fsync(file);
    EXPECT_EQ(remains(), Texts{"abcd"});
    ::close(file);
}

TEST_F(DiskModelTest, ShowsWhatRenamingBeforeTheFlushLoses) {
    const int file = create(unfinished);
    write(file, "new!");
    ::rename(unfinished.c_str(), record.c_str());
    EXPECT_EQ(remains(),
              (Texts{"old", "", "ne", std::string(4, '\0'), std::string("ne\0\0", 4), "new!"}));
    ::fsync(file);
    ::close(file);
    EXPECT_EQ(remains(), (Texts{"old", "new!"}));
    flushRoot();
    EXPECT_EQ(remains(), Texts{"new!"});
    EXPECT_EQ(disk->whole(), treeBelow(root.path()));
}

TEST_F(DiskModelTest, ShowsARenameThatLeavesBothNames) {
    const int file = create(unfinished);
    write(file, "new");
    ::fsync(file);
    ::close(file);
    flushRoot();
    ::rename(unfinished.c_str(), record.c_str());
    const Tree before{{"record", "old"}, {"unfinished", "new"}};
    const Tree both{{"record", "new"}, {"unfinished", "new"}};
    const Tree after{{"record", "new"}};
    EXPECT_EQ(disk->cut().trees, (std::set<Tree>{before, both, after}));
}

TEST_F(DiskModelTest, ShowsARemovalThatIsUndone) {
    ::unlink(record.c_str());
    EXPECT_EQ(remains(), (Texts{"-", "old"}));
    flushRoot();
    EXPECT_EQ(remains(), Texts{"-"});
}

TEST_F(DiskModelTest, ShowsADirectoryThatIsLostWithAllItHolds) {
    const std::string below = root / "directory";
    ::mkdir(below.c_str(), 0700);
    const int file = create(below + "/file");
    ::fsync(file);
    ::close(file);
    const int directory = ::open(below.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::fsync(directory);
    ::close(directory);
    const Tree lost{{"record", "old"}};
    const Tree kept{{"record", "old"}, {"directory", std::nullopt}, {"directory/file", ""}};
    EXPECT_EQ(disk->cut().trees, (std::set<Tree>{lost, kept}));
    flushRoot();
    EXPECT_EQ(disk->cut().trees, std::set<Tree>{kept});
}

TEST_F(DiskModelTest, ShowsEntriesInAnyOrderAndWithoutTheirContent) {
    ::unlink(record.c_str());
    ::close(create(unfinished));
    EXPECT_EQ(disk->cut().trees, (std::set<Tree>{{{"record", "old"}},
                                                 {},
                                                 {{"record", "old"}, {"unfinished", ""}},
                                                 {{"unfinished", ""}}}));
}

TEST_F(DiskModelTest, TriesASampleOfTooManyCombinations) {
    for (int n = 0; n < 12; ++n) {
        ::close(create(root / std::to_string(n)));
    }
    const PowerCut all = disk->cut();
    EXPECT_FALSE(all.wasSampled);
    EXPECT_EQ(all.trees.size(), 4096U);
    ::close(create(root / "one more"));
    const PowerCut sample = disk->cut();
    EXPECT_TRUE(sample.wasSampled);
    EXPECT_GT(sample.trees.size(), 2000U);
    EXPECT_TRUE(sample.trees.contains({{"record", "old"}}));
    EXPECT_TRUE(sample.trees.contains(disk->whole()));
}

TEST_F(DiskModelTest, AdoptsForeignChangesAndIgnoresOtherPlaces) {
    EXPECT_FALSE(disk->adoptForeignChanges());
    ::unlink(record.c_str());
    writeFile(record, "another's");
    std::filesystem::create_directory(root / "directory");
    EXPECT_TRUE(disk->adoptForeignChanges());
    EXPECT_FALSE(disk->adoptForeignChanges());
    EXPECT_EQ(disk->cut().trees, std::set<Tree>{treeBelow(root.path())});
    const TemporaryDirectory elsewhere;
    const std::size_t version = disk->version();
    ::close(create(elsewhere / "file"));
    ::mkdir((elsewhere / "directory").c_str(), 0700);
    EXPECT_EQ(disk->version(), version);
}

TEST_F(DiskModelTest, ReportsUnknownCalls) {
    const int file = create(unfinished);
    EXPECT_EQ(disk->unknownCalls(), Texts{});
    disk->take({.function = "ftruncate", .descriptor = file});
    disk->take({.function = "rmdir", .path = record.c_str()});
    EXPECT_EQ(disk->unknownCalls(), (Texts{"ftruncate", "rmdir"}));
    ::close(file);
}

TEST_F(DiskModelTest, FollowsALink) {
    ASSERT_EQ(::link(record.c_str(), (root / "link").c_str()), 0);
    ::unlink(record.c_str());
    EXPECT_EQ(disk->unknownCalls(), Texts{});
    EXPECT_EQ(disk->whole(), treeBelow(root.path()));
    EXPECT_EQ(disk->whole(), (Tree{{"link", "old"}}));
}

TEST(Trees, AreLaidOutAsTheyWereRead) {
    const TemporaryDirectory root;
    const Tree tree{{"directory", std::nullopt}, {"directory/file", std::string("a\0b", 3)}};
    layOut({{"other", "x"}}, root / "disk");
    layOut(tree, root / "disk");
    EXPECT_EQ(treeBelow(root / "disk"), tree);
}

}  // namespace
}  // namespace tolvaran::tests
