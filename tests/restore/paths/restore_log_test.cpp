#include "restore/paths/restore_log.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/log_capture.hpp"

namespace tolvaran::tests {
namespace {

TEST(RestoreLog, DropsMessagesUntilAHostSetsTheSinks) {
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    RestoreLog::debug("dropped");
    RestoreLog::info("dropped");
    RestoreLog::warn("dropped");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(RestoreLog, GivesEachMessageToTheSinkOfItsLevel) {
    const LogCapture log;
    RestoreLog::debug("a");
    RestoreLog::info("b");
    RestoreLog::warn("c");
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"debug: a", "info: b", "warn: c"}));
}

}  // namespace
}  // namespace tolvaran::tests
