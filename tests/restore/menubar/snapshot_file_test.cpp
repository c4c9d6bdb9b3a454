#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "restore/menubar/formats.hpp"
#include "restore/menubar/menu_bar_autohide.hpp"
#include "tests/restore/menubar/menu_bar_mac.hpp"

namespace tolvaran::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

const MenuBarAutohideSnapshot snapshot{
    .hideMenuBar = 1,
    .displayVisibilityOverrides = {{recordOf(1, 1, true), recordOf(2, 2, false)}},
    .globalRestored = true};

class MenuBarSnapshotFile : public testing::Test {
  protected:
    SimulatedProcess process;
    const std::string path = process.path("State/menubar-state.json");
};

TEST_F(MenuBarSnapshotFile, LiesInTheStateDirectory) {
    EXPECT_EQ(MenuBarAutohide::defaultSnapshotPath(), path);
}

TEST_F(MenuBarSnapshotFile, IsLoadedAsItWasSaved) {
    for (const auto& saved : {snapshot, MenuBarAutohideSnapshot{}}) {
        EXPECT_TRUE(MenuBarAutohide::saveSnapshot(saved, path));
        EXPECT_EQ(readFile(path), tolvaran::json::write(saved));
        EXPECT_EQ(MenuBarAutohide::loadSnapshot(path), saved);
    }
    EXPECT_THAT(process.takeWarnings(), IsEmpty());
}

TEST_F(MenuBarSnapshotFile, SaysWhyItCannotBeDecoded) {
    writeFile(path, R"({"displayVisibilityOverrides":[{"canonicalID":"c","enabled":true}]})");
    EXPECT_EQ(MenuBarAutohide::loadSnapshot(path), std::nullopt);
    EXPECT_THAT(process.takeWarnings(),
                ElementsAre("menu bar snapshot at " + path +
                            R"( failed to decode: "displayVisibilityOverrides": "portUUID" is )"
                            "missing"));
}

TEST_F(MenuBarSnapshotFile, IsNotWrittenWhenItCannotBeEncoded) {
    MenuBarAutohideSnapshot broken = snapshot;
    broken.displayVisibilityOverrides->front().portUUID = "\xff";
    EXPECT_FALSE(MenuBarAutohide::saveSnapshot(broken, path));
    EXPECT_THAT(process.takeWarnings(), ElementsAre("Failed to encode menu bar snapshot"));
    EXPECT_EQ(readFile(path), std::nullopt);
}

TEST_F(MenuBarSnapshotFile, IsNotWrittenWhenItsDirectoryCannotBeCreated) {
    writeFile(process.path("State"), "not a directory");
    EXPECT_FALSE(MenuBarAutohide::saveSnapshot(snapshot, path));
    EXPECT_THAT(process.takeWarnings(),
                ElementsAre("Failed to create menu bar snapshot directory: create directory " +
                            process.path("State") + ": File exists"));
    EXPECT_EQ(readFile(process.path("State")), "not a directory");
}

TEST_F(MenuBarSnapshotFile, StaysAsItWasWhenAWriteFails) {
    writeFile(path, "{}");
    for (const char* const call : {"mkostemp", "write", "rename"}) {
        SCOPED_TRACE(call);
        simulator::clearFaults();
        simulator::addFault({{"call", call}, {"result", "ENOSPC"}});
        EXPECT_FALSE(MenuBarAutohide::saveSnapshot(snapshot, path));
        EXPECT_EQ(simulator::faultsMet(), 1U);
        EXPECT_THAT(process.takeWarnings(),
                    ElementsAre(testing::AllOf(StartsWith("Failed to write menu bar snapshot: "),
                                               testing::EndsWith(": No space left on device"))));
        EXPECT_EQ(readFile(path), "{}");
    }
}

TEST_F(MenuBarSnapshotFile, IsDeleted) {
    writeFile(path, "{}");
    EXPECT_TRUE(MenuBarAutohide::deleteSnapshot(path));
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_THAT(process.takeWarnings(), IsEmpty());
}

TEST_F(MenuBarSnapshotFile, CountsAsDeletedWhenThereIsNone) {
    EXPECT_TRUE(MenuBarAutohide::deleteSnapshot(path));
    std::filesystem::create_directories(process.path("State"));
    EXPECT_TRUE(MenuBarAutohide::deleteSnapshot(path));
    EXPECT_THAT(process.takeWarnings(), IsEmpty());
}

TEST_F(MenuBarSnapshotFile, SaysWhyItCannotBeDeleted) {
    writeFile(path, "{}");
    simulator::addFault({{"call", "unlink"}, {"result", "EACCES"}});
    EXPECT_FALSE(MenuBarAutohide::deleteSnapshot(path));
    EXPECT_THAT(process.takeWarnings(),
                ElementsAre(testing::AllOf(
                    StartsWith("menu bar snapshot at " + path + " could not be deleted: "),
                    testing::EndsWith(": Permission denied"))));
    EXPECT_EQ(readFile(path), "{}");
}

}  // namespace
}  // namespace tolvaran::tests
