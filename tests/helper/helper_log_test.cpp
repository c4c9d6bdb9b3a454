#include "helper/helper_log.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "restore/support/process_wide.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/patterns.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

constexpr std::size_t rotationSize = 5'242'880;

/// A helper process that has not logged yet, with its files below a directory of its own.
class HelperLog : public testing::Test {
  protected:
    void SetUp() override {
        simulator::reset();
        forgetProcessWideValues();
    }
    void TearDown() override { forgetProcessWideValues(); }

    /// What `action` writes to standard error.
    template <typename Action>
    static std::string standardErrorOf(Action action) {
        testing::internal::CaptureStderr();
        action();
        return testing::internal::GetCapturedStderr();
    }

    static void logLines(int count) {
        for (int i = 0; i < count; ++i) {
            helperLog("info", "x");
        }
    }

    /// Sets the log up and writes lines. @return standard error
    static std::string setUpAndLog(int lines = 1) {
        return standardErrorOf([lines] {
            setUpHelperLog();
            logLines(lines);
        });
    }

    /// Leaves both logs in the older place, and sets the log up.
    void setUpWithOlderLogs() const {
        writeFile(olderCurrent_, "old current\n");
        writeFile(olderPrevious_, "old previous\n");
        setUpHelperLog();
    }

    TemporaryDirectory directory_;
    const std::string current_ = directory_ / "Logs/tolvaran-helper.log";
    const std::string previous_ = directory_ / "Logs/tolvaran-helper.log.prev";
    const std::string olderCurrent_ = directory_ / "Settings/tolvaran-helper.log";
    const std::string olderPrevious_ = directory_ / "Settings/tolvaran-helper.log.prev";

  private:
    ScopedEnvironment logs_{"TOLVARAN_LOGS_DIR", directory_ / "Logs"};
    ScopedEnvironment profile_{"TOLVARAN_CONFIG_DIR", directory_ / "Settings"};
};

TEST_F(HelperLog, FileAndStandardErrorCarryTheSameLines) {
    const std::string written = standardErrorOf([&] {
        setUpHelperLog();
        helperLog("info", "first");
        simulator::advance(1.5);
        helperLog("debug", "second ×");
        simulator::advance(123456.0);
        helperLog("error", "");
    });
    EXPECT_EQ(readFile(current_), written);
    std::vector<std::string> lines;
    std::istringstream in(written);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    ASSERT_EQ(lines.size(), 3U);
    const Lines patterns{R"(\[   0\.000\] \[helper\] \[info\] first)",
                         R"(\[   1\.500\] \[helper\] \[debug\] second ×)",
                         R"(\[123457\.500\] \[helper\] \[error\] )"};
    const std::string stamp = R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}\] )";
    for (std::size_t i = 0; i < patterns.size(); ++i) {
        EXPECT_TRUE(matches(lines[i], stamp + patterns[i])) << lines[i];
    }
}

TEST_F(HelperLog, StampsLinesWithLocalTime) {
    const ScopedEnvironment zone("TZ", "UTC-5:30");
    ::tzset();
    const std::string first = standardErrorOf([] { helperLog("info", "x"); });
    simulator::advance(0.25);
    const std::string second = standardErrorOf([] { helperLog("info", "x"); });
    // The simulated Mac's clock starts at midnight UTC on the first of January.
    EXPECT_EQ(first.substr(0, 25), "[2026-01-01 05:30:00.000]");
    EXPECT_EQ(second.substr(0, 25), "[2026-01-01 05:30:00.250]");
}

TEST_F(HelperLog, AMessageCannotForgeALine) {
    const std::string written =
        standardErrorOf([] { helperLog("warn", "a\n[x] [helper] [info] b\r\x1b[2J\x7f\t"); });
    EXPECT_EQ(written.substr(written.find("[warn]")),
              "[warn] a\\n[x] [helper] [info] b\\x0D\\x1B[2J\\x7F\\x09\n");
}

TEST_F(HelperLog, AddsToTheLogOfAnEarlierProcess) {
    writeFile(current_, "earlier\n");
    const std::string written = setUpAndLog();
    EXPECT_EQ(readFile(current_), "earlier\n" + written);
    EXPECT_FALSE(readFile(previous_).has_value());
}

TEST_F(HelperLog, ALargeLogIsMovedBeforeTheFirstLine) {
    writeFile(current_, std::string(rotationSize, 'c'));
    writeFile(previous_, "older");
    const std::string written = setUpAndLog();
    EXPECT_EQ(readFile(current_), written);
    EXPECT_EQ(readFile(previous_), std::string(rotationSize, 'c'));
}

TEST_F(HelperLog, ALogJustBelowTheLimitStays) {
    writeFile(current_, std::string(rotationSize - 1, 'c'));
    setUpHelperLog();
    EXPECT_EQ(readFile(current_)->size(), rotationSize - 1);
    EXPECT_FALSE(readFile(previous_).has_value());
}

TEST_F(HelperLog, WhileRunningTheSizeIsCheckedEvery500Lines) {
    writeFile(current_, std::string(rotationSize - 1, 'c'));
    writeFile(previous_, "older");
    standardErrorOf([&] {
        setUpHelperLog();
        logLines(499);
        EXPECT_GT(readFile(current_)->size(), rotationSize);
        EXPECT_EQ(readFile(previous_), "older");
        helperLog("info", "line 500");
        EXPECT_EQ(readFile(current_), "");
        EXPECT_NE(readFile(previous_)->find("line 500"), std::string::npos);
        helperLog("info", "line 501");
    });
    EXPECT_NE(readFile(current_)->find("line 501"), std::string::npos);
}

TEST_F(HelperLog, TheCountStartsAgainAfterEachCheck) {
    standardErrorOf([&] {
        setUpHelperLog();
        logLines(500);  // checked: small, so it stays
        EXPECT_FALSE(readFile(previous_).has_value());
        std::filesystem::resize_file(current_, rotationSize);
        logLines(499);
        EXPECT_FALSE(readFile(previous_).has_value());
        logLines(1);
        EXPECT_TRUE(readFile(previous_).has_value());
        std::filesystem::resize_file(current_, rotationSize);
        logLines(499);
        EXPECT_GT(readFile(current_)->size(), rotationSize);
        logLines(1);
    });
    EXPECT_EQ(readFile(current_), "");
}

TEST_F(HelperLog, ALogThatCannotBeMovedGoesOnAtStartAndIsEmptiedAtTheNextCheck) {
    writeFile(current_, std::string(rotationSize, 'c'));
    writeFile(previous_ + "/occupied", "");  // a directory: neither removed nor replaced
    standardErrorOf([&] {
        setUpHelperLog();
        logLines(499);
        EXPECT_GT(readFile(current_)->size(), rotationSize);
        logLines(1);
        EXPECT_EQ(readFile(current_), "");
    });
    EXPECT_TRUE(readFile(previous_ + "/occupied").has_value());
}

TEST_F(HelperLog, LogsInTheOlderPlaceAreMovedIfThereAreNone) {
    setUpWithOlderLogs();
    EXPECT_EQ(readFile(current_), "old current\n");
    EXPECT_EQ(readFile(previous_), "old previous\n");
    EXPECT_FALSE(readFile(olderCurrent_).has_value());
    EXPECT_FALSE(readFile(olderPrevious_).has_value());
}

TEST_F(HelperLog, LogsInTheOlderPlaceAreMovedFromAnotherVolumeToo) {
    // The first log can only be copied; the second cannot be copied either.
    simulator::addFault({{"call", "rename"}, {"result", "EXDEV"}, {"times", 1}});
    simulator::addFault({{"call", "rename"}, {"result", "EXDEV"}, {"skip", 2}});
    setUpWithOlderLogs();
    EXPECT_EQ(readFile(current_), "old current\n");
    EXPECT_EQ(readFile(olderPrevious_), "old previous\n");
    EXPECT_EQ(directory_.list(),
              (std::vector<std::string>{"Logs/", "Logs/tolvaran-helper.log", "Settings/",
                                        "Settings/tolvaran-helper.log.prev"}));
}

TEST_F(HelperLog, LogsInTheOlderPlaceStayIfThereAreNewerOnes) {
    writeFile(current_, "new current\n");
    setUpWithOlderLogs();
    EXPECT_EQ(readFile(current_), "new current\n");
    EXPECT_EQ(readFile(olderCurrent_), "old current\n");
    EXPECT_EQ(readFile(previous_), "old previous\n");  // each file is decided on its own
}

TEST_F(HelperLog, AMovedLogThatIsTooLargeIsRotatedAtOnce) {
    writeFile(olderCurrent_, std::string(rotationSize, 'c'));
    setUpHelperLog();
    EXPECT_EQ(readFile(current_), "");
    EXPECT_EQ(readFile(previous_)->size(), rotationSize);
}

TEST_F(HelperLog, WithoutALogDirectoryThereIsStandardErrorOnly) {
    writeFile(directory_ / "Logs", "a file where the directory should be");
    const std::string written = setUpAndLog(1001);
    EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), 1001);
    EXPECT_EQ(directory_.list(), std::vector<std::string>{"Logs"});
}

TEST_F(HelperLog, WithADirectoryInTheLogsPlaceThereIsStandardErrorOnly) {
    writeFile(current_ + "/occupied", "");
    const std::string written = setUpAndLog();
    EXPECT_NE(written.find("[info] x\n"), std::string::npos);
    EXPECT_EQ(directory_.list(), (std::vector<std::string>{"Logs/", "Logs/tolvaran-helper.log/",
                                                           "Logs/tolvaran-helper.log/occupied"}));
}

TEST_F(HelperLog, BeforeSetUpLinesReachStandardError) {
    const std::string written = standardErrorOf([] { helperLog("info", "early"); });
    EXPECT_NE(written.find("[   0.000] [helper] [info] early\n"), std::string::npos);
    EXPECT_EQ(directory_.list(), std::vector<std::string>{});
}

}  // namespace
}  // namespace tolvaran::tests
