#include "restore/dock/screen_saver_hot_corner_hold.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "restore/paths/restore_log.hpp"
#include "simulator/simulator.hpp"
#include "tests/restore/dock/hot_corner_mac.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran {
namespace {

using tests::callLines;
using tests::Lines;
using tests::readFile;
namespace Hold = ScreenSaverHotCornerHold;

std::string asksFor(int action) {
    return "CFNotificationCenterPostNotification[\"com.apple.screensaver.action\",null,{"
           "\"action\":" +
           std::to_string(action) + "},true]";
}
const std::string beginsHold = asksFor(2);
const std::string endsHold = asksFor(3);

class ScreenSaverHold : public testing::Test {
  protected:
    ScreenSaverHold() {
        simulator::reset();
        objectsBefore_ = simulator::liveObjects();
    }
    ~ScreenSaverHold() override { EXPECT_EQ(simulator::liveObjects(), objectsBefore_); }

    std::size_t objectsBefore_ = 0;
    tests::TemporaryDirectory directory_;
    // Faults meet file calls below this directory only.
    tests::ScopedEnvironment support_{"TOLVARAN_APPLICATION_SUPPORT_DIR", directory_.path()};
    std::string marker_ = directory_ / "State/hot-corner-screen-saver-hold";
    tests::LogCapture log_;
};

TEST_F(ScreenSaverHold, BeginsWithAMarkerAndEndsWithout) {
    EXPECT_TRUE(Hold::begin(marker_));
    EXPECT_EQ(readFile(marker_), "1");
    EXPECT_TRUE(Hold::isPending(marker_));
    EXPECT_TRUE(Hold::end(marker_));
    EXPECT_FALSE(Hold::isPending(marker_));
    EXPECT_EQ(directory_.list(), Lines{"State/"});
    EXPECT_EQ(callLines(), (Lines{beginsHold, endsHold}));
    EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(ScreenSaverHold, BeginningTwiceAsksTwice) {
    tests::writeFile(marker_, "something else");
    EXPECT_TRUE(Hold::begin(marker_));
    EXPECT_TRUE(Hold::begin(marker_));
    EXPECT_EQ(readFile(marker_), "1");
    EXPECT_EQ(callLines(), (Lines{beginsHold, beginsHold}));
}

TEST_F(ScreenSaverHold, EndingWithoutAMarkerStillAsks) {
    EXPECT_TRUE(Hold::end(marker_));
    EXPECT_EQ(callLines(), Lines{endsHold});
    EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(ScreenSaverHold, EndingBelowAFileAsksAndSaysThatTheMarkerCannotBeRemoved) {
    tests::writeFile(directory_ / "file", "");
    EXPECT_FALSE(Hold::end(directory_ / "file/marker"));
    EXPECT_EQ(callLines(), Lines{endsHold});
    EXPECT_EQ(log_.lines(),
              Lines{"warn: screen-saver hot-corner hold marker could not be removed (remove " +
                    directory_ / "file/marker: Not a directory)"});
}

TEST_F(ScreenSaverHold, RecoversExactlyOnce) {
    EXPECT_FALSE(Hold::recoverIfPending(marker_));
    EXPECT_EQ(callLines(), Lines{});
    tests::writeFile(marker_, "");
    EXPECT_TRUE(Hold::recoverIfPending(marker_));
    EXPECT_FALSE(Hold::recoverIfPending(marker_));
    EXPECT_EQ(callLines(), Lines{endsHold});
    EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(ScreenSaverHold, AsksForNothingThatItCannotRecord) {
    tests::writeFile(directory_ / "file", "");
    EXPECT_FALSE(Hold::begin(directory_ / "file/State/marker"));
    EXPECT_EQ(log_.take(), Lines{"warn: screen-saver hot-corner hold marker could not be saved "
                                 "(create directory " +
                                 (directory_ / "file/State") + ": Not a directory)"});
    std::filesystem::create_directories(marker_);
    EXPECT_FALSE(Hold::begin(marker_));
    EXPECT_EQ(log_.take(), Lines{"warn: screen-saver hot-corner hold marker could not be saved "
                                 "(rename " +
                                 marker_ + ": Is a directory)"});
    EXPECT_EQ(callLines(), Lines{});
}

TEST_F(ScreenSaverHold, AsksForNothingInAReadOnlyPlace) {
    simulator::addFault({{"call", "mkdir"}, {"result", "EROFS"}, {"times", 1}});
    EXPECT_FALSE(Hold::begin(marker_));
    EXPECT_EQ(log_.take(), Lines{"warn: screen-saver hot-corner hold marker could not be saved "
                                 "(create directory " +
                                 (directory_ / "State") + ": Read-only file system)"});
    simulator::addFault({{"call", "mkostemp"}, {"result", "EROFS"}});
    EXPECT_FALSE(Hold::begin(marker_));
    EXPECT_EQ(log_.take(), Lines{"warn: screen-saver hot-corner hold marker could not be saved "
                                 "(create " +
                                 marker_ + ": Read-only file system)"});
    EXPECT_EQ(callLines(), Lines{});
    EXPECT_FALSE(Hold::isPending(marker_));
}

TEST_F(ScreenSaverHold, SaysThatTheMarkerCannotBeRemoved) {
    std::filesystem::create_directories(marker_);
    const Lines warning = {
        "warn: screen-saver hot-corner hold marker could not be removed (remove " + marker_ +
        ": Is a directory)"};
    EXPECT_FALSE(Hold::end(marker_));
    EXPECT_EQ(log_.take(), warning);
    EXPECT_FALSE(Hold::recoverIfPending(marker_));
    EXPECT_EQ(log_.take(), warning);
    EXPECT_EQ(callLines(), (Lines{endsHold, endsHold}));
    EXPECT_TRUE(Hold::isPending(marker_));
}

// A process that is killed in between has asked already and will ask again; the other way round the
// screen saver would be held back for ever.
TEST_F(ScreenSaverHold, EndsBeforeItRemovesTheMarker) {
    std::filesystem::create_directories(marker_);
    Lines callsWhenRemovalFails;
    RestoreLog::warn = [&](const std::string&) { callsWhenRemovalFails = callLines(); };
    EXPECT_FALSE(Hold::end(marker_));
    EXPECT_EQ(callsWhenRemovalFails, Lines{endsHold});
}

TEST_F(ScreenSaverHold, WorksWithoutADirectoryInThePath) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(directory_.path());
    EXPECT_TRUE(Hold::begin("marker"));
    EXPECT_EQ(directory_.list(), Lines{"marker"});
    EXPECT_TRUE(Hold::recoverIfPending("marker"));
    std::filesystem::current_path(before);
    EXPECT_EQ(directory_.list(), Lines{});
}

TEST_F(ScreenSaverHold, HasItsMarkerInTheStateDirectory) {
    EXPECT_EQ(Hold::defaultMarkerPath(), marker_);
}

}  // namespace
}  // namespace tolvaran
