#include "restore/dock/screen_saver_hot_corner_hold.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "restore/paths/restore_log.hpp"
#include "simulator/simulator.hpp"
#include "tests/restore/dock/hot_corner_mac.hpp"

namespace tolvaran::tests {
namespace {

namespace Hold = ScreenSaverHotCornerHold;

std::string asksFor(int action) {
    return callLine("CFNotificationCenterPostNotification",
                    {"com.apple.screensaver.action", nullptr, {{"action", action}}, true});
}
const std::string beginsHold = asksFor(2);
const std::string endsHold = asksFor(3);

class ScreenSaverHold : public ProcessTest {
  protected:
    /// Expects a hold that cannot begin for this reason and therefore asks for nothing.
    void expectUnsaved(const std::string& marker, const std::string& reason) {
        EXPECT_FALSE(Hold::begin(marker));
        EXPECT_EQ(
            takeLog(),
            Lines{"warn: screen-saver hot-corner hold marker could not be saved (" + reason + ")"});
        EXPECT_EQ(callLines(), Lines{});
    }

    const std::string marker_ = state("hot-corner-screen-saver-hold");
};

TEST_F(ScreenSaverHold, BeginsWithAMarkerAndEndsWithout) {
    EXPECT_TRUE(Hold::begin(marker_));
    EXPECT_EQ(readFile(marker_), "1");
    EXPECT_TRUE(Hold::isPending(marker_));
    EXPECT_TRUE(Hold::end(marker_));
    EXPECT_FALSE(Hold::isPending(marker_));
    EXPECT_EQ(files(), Lines{"State/"});
    EXPECT_EQ(callLines(), (Lines{beginsHold, endsHold}));
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(ScreenSaverHold, BeginningTwiceAsksTwice) {
    writeFile(marker_, "something else");
    EXPECT_TRUE(Hold::begin(marker_));
    EXPECT_TRUE(Hold::begin(marker_));
    EXPECT_EQ(readFile(marker_), "1");
    EXPECT_EQ(callLines(), (Lines{beginsHold, beginsHold}));
}

TEST_F(ScreenSaverHold, EndingWithoutAMarkerStillAsks) {
    EXPECT_TRUE(Hold::end(marker_));
    EXPECT_EQ(callLines(), Lines{endsHold});
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(ScreenSaverHold, EndingBelowAFileAsksAndSaysThatTheMarkerCannotBeRemoved) {
    writeFile(path("file"), "");
    EXPECT_FALSE(Hold::end(path("file/marker")));
    EXPECT_EQ(callLines(), Lines{endsHold});
    EXPECT_EQ(takeLog(),
              Lines{"warn: screen-saver hot-corner hold marker could not be removed (remove " +
                    path("file/marker: Not a directory)")});
}

TEST_F(ScreenSaverHold, RecoversExactlyOnce) {
    EXPECT_FALSE(Hold::recoverIfPending(marker_));
    EXPECT_EQ(callLines(), Lines{});
    writeFile(marker_, "");
    EXPECT_TRUE(Hold::recoverIfPending(marker_));
    EXPECT_FALSE(Hold::recoverIfPending(marker_));
    EXPECT_EQ(callLines(), Lines{endsHold});
    EXPECT_EQ(takeLog(), Lines{});
}

TEST_F(ScreenSaverHold, AsksForNothingThatItCannotRecord) {
    writeFile(path("file"), "");
    expectUnsaved(path("file/State/marker"),
                  "create directory " + path("file/State: Not a directory"));
    std::filesystem::create_directories(marker_);
    expectUnsaved(marker_, "rename " + marker_ + ": Is a directory");
}

TEST_F(ScreenSaverHold, AsksForNothingInAReadOnlyPlace) {
    simulator::addFault({{"call", "mkdir"}, {"result", "EROFS"}, {"times", 1}});
    expectUnsaved(marker_, "create directory " + path("State: Read-only file system"));
    failCalls("mkostemp", "EROFS");
    expectUnsaved(marker_, "create " + marker_ + ": Read-only file system");
    EXPECT_FALSE(Hold::isPending(marker_));
}

TEST_F(ScreenSaverHold, SaysThatTheMarkerCannotBeRemoved) {
    std::filesystem::create_directories(marker_);
    const Lines warning = {
        "warn: screen-saver hot-corner hold marker could not be removed (remove " + marker_ +
        ": Is a directory)"};
    EXPECT_FALSE(Hold::end(marker_));
    EXPECT_EQ(takeLog(), warning);
    EXPECT_FALSE(Hold::recoverIfPending(marker_));
    EXPECT_EQ(takeLog(), warning);
    EXPECT_EQ(callLines(), (Lines{endsHold, endsHold}));
    EXPECT_TRUE(Hold::isPending(marker_));
}

// A process that is killed in between has asked already and will ask again; in the other order the
// screen saver would be held back forever.
TEST_F(ScreenSaverHold, EndsBeforeItRemovesTheMarker) {
    std::filesystem::create_directories(marker_);
    Lines callsWhenRemovalFails;
    RestoreLog::warn = [&](const std::string&) { callsWhenRemovalFails = callLines(); };
    EXPECT_FALSE(Hold::end(marker_));
    EXPECT_EQ(callsWhenRemovalFails, Lines{endsHold});
}

TEST_F(ScreenSaverHold, WorksWithoutADirectoryInThePath) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(path(""));
    EXPECT_TRUE(Hold::begin("marker"));
    EXPECT_EQ(files(), Lines{"marker"});
    EXPECT_TRUE(Hold::recoverIfPending("marker"));
    std::filesystem::current_path(before);
    EXPECT_EQ(files(), Lines{});
}

TEST_F(ScreenSaverHold, HasItsMarkerInTheStateDirectory) {
    EXPECT_EQ(Hold::defaultMarkerPath(), marker_);
}

}  // namespace
}  // namespace tolvaran::tests
