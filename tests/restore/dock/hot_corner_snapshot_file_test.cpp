#include "restore/dock/hot_corner_snapshot_file.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "simulator/simulator.hpp"
#include "tests/restore/dock/hot_corner_mac.hpp"

namespace tolvaran::tests {
namespace {

namespace Override = DockHotCornerOverride;

class HotCornerSnapshotFile : public ProcessTest {
  protected:
    /// The reason of the error that saving throws, or "saved".
    std::string savingError(const DockHotCornerSnapshot& snapshot, const std::string& path) {
        try {
            Override::saveSnapshotOrThrow(snapshot, path);
        } catch (const Override::OverrideError& error) {
            EXPECT_EQ(error.which(), Override::OverrideError::Case::persistenceFailed);
            EXPECT_EQ("could not persist hot-corner snapshot: " + error.reason(), error.what());
            return error.reason();
        }
        return "saved";
    }

    const std::string path_ = state("hot-corners-snapshot.json");
};

TEST_F(HotCornerSnapshotFile, ErrorsHaveTheirTexts) {
    using Override::OverrideError;
    EXPECT_STREQ(OverrideError::syncFailed().what(),
                 "could not sync com.apple.dock prefs after writing wvous-*-corner");
    EXPECT_EQ(OverrideError::syncFailed().which(), OverrideError::Case::syncFailed);
    EXPECT_STREQ(OverrideError::persistenceFailed("reason").what(),
                 "could not persist hot-corner snapshot: reason");
    EXPECT_EQ(OverrideError::persistenceFailed("reason").reason(), "reason");
}

TEST_F(HotCornerSnapshotFile, SavesIntoADirectoryThatDoesNotExistYet) {
    Override::saveSnapshotOrThrow(usersSnapshot(), path_);
    EXPECT_EQ(readFile(path_), usersSnapshotText);
    EXPECT_EQ(files(), (Lines{"State/", "State/hot-corners-snapshot.json"}));
    EXPECT_TRUE(Override::isPending(path_));
    EXPECT_EQ(Override::loadSnapshot(path_), usersSnapshot());
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(HotCornerSnapshotFile, ReplacesAnOlderSnapshot) {
    writeFile(path_, "something longer than the snapshot of corners that were never set");
    Override::saveSnapshot(DockHotCornerSnapshot(), path_);
    EXPECT_EQ(readFile(path_), "{}");
}

TEST_F(HotCornerSnapshotFile, DeletesSilently) {
    Override::saveSnapshot(usersSnapshot(), path_);
    Override::deleteSnapshot(path_);
    EXPECT_FALSE(Override::isPending(path_));
    Override::deleteSnapshot(path_);
    std::filesystem::create_directories(path_);
    Override::deleteSnapshot(path_);
    EXPECT_TRUE(Override::isPending(path_));
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(HotCornerSnapshotFile, WritesNothingThatDoesNotFit) {
    DockHotCornerSnapshot snapshot;
    snapshot.tlCorner = std::int64_t{1} << 31;
    EXPECT_EQ(savingError(snapshot, path_),
              "encode: hot-corner snapshot contains a value outside the Int32 range");
    Override::saveSnapshot(snapshot, path_);
    EXPECT_EQ(files(), Lines{});
    snapshot = DockHotCornerSnapshot();
    snapshot.liveActions = HotCornerValues{1, 1, 1, 1};
    EXPECT_EQ(savingError(snapshot, path_),
              "encode: hot-corner snapshot contains a value outside the Int32 range");
    EXPECT_EQ(files(), Lines{});
}

TEST_F(HotCornerSnapshotFile, SaysThatTheDirectoryCannotBeCreated) {
    writeFile(path("file"), "");
    const std::string below = path("file/State/snapshot.json");
    EXPECT_EQ(savingError(usersSnapshot(), below),
              "write " + below + ": create directory " + path("file/State") + ": Not a directory");
    Override::saveSnapshot(usersSnapshot(), below);
    EXPECT_EQ(files(), Lines{"file"});
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(HotCornerSnapshotFile, KeepsTheOlderSnapshotWhenTheNewOneCannotBeWritten) {
    Override::saveSnapshot(usersSnapshot(), path_);
    const std::vector<std::pair<std::string, std::string>> operations = {
        {"mkostemp", "create"}, {"write", "write"}, {"rename", "rename"}};
    for (const auto& [call, operation] : operations) {
        simulator::addFault({{"call", call}, {"result", "EROFS"}});
        EXPECT_EQ(savingError(DockHotCornerSnapshot(), path_),
                  "write " + path_ + ": " + operation + " " + path_ + ": Read-only file system");
        Override::saveSnapshot(DockHotCornerSnapshot(), path_);
        simulator::clearFaults();
        EXPECT_EQ(readFile(path_), usersSnapshotText);
        EXPECT_EQ(files(), (Lines{"State/", "State/hot-corners-snapshot.json"}));
    }
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(HotCornerSnapshotFile, SaysWhyTheFileCannotBeDecoded) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {R"({"liveActions":[1,1,1],"liveModifiers":[0,0,0]})",
         "\"liveActions\": live hot-corner actions and modifiers must be paired four-element Int32 "
         "arrays"},
        {R"({"trCorner":4294967296})",
         "\"tlCorner\": hot-corner snapshot contains a value outside the Int32 range"},
        {R"({"trCorner":true})", "\"trCorner\": is not an integer"},
        {"not JSON", "invalid JSON at byte 2"},
        {"{\"trCorner\":1,\"\xc3\x28\":0}", "invalid JSON at byte 17"},
        {std::string(100000, '['), "more than 512 levels of nesting"},
    };
    for (const auto& [content, reason] : cases) {
        writeFile(path_, content);
        EXPECT_EQ(Override::loadSnapshot(path_), std::nullopt);
        EXPECT_EQ(takeLog(),
                  Lines{"warn: hot-corner snapshot at " + path_ + " failed to decode: " + reason});
        EXPECT_EQ(readFile(path_), content) << "a snapshot is never thrown away";
    }
}

TEST_F(HotCornerSnapshotFile, SaysThatAListIsFarTooLong) {
    constexpr std::size_t large = 2'500'000;
    std::string list = "{\"liveModifiers\":[0,0,0,0],\"liveActions\":[1";
    for (std::size_t element = 0; element < large; ++element) {
        list += ",1";
    }
    writeFile(path_, list + "]}");
    EXPECT_EQ(Override::loadSnapshot(path_), std::nullopt);
    EXPECT_EQ(takeLog(), Lines{"warn: hot-corner snapshot at " + path_ +
                               " failed to decode: \"liveActions\": live hot-corner actions and "
                               "modifiers must be paired four-element Int32 arrays"});
}

TEST_F(HotCornerSnapshotFile, LiesInTheStateDirectory) {
    EXPECT_EQ(Override::defaultSnapshotPath(), path_);
}

}  // namespace
}  // namespace tolvaran::tests
