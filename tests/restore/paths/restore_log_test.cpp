#include "restore/paths/restore_log.hpp"

#include <gtest/gtest.h>

#include <functional>
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

/// Sets a sink during static initialisation and keeps what it receives afterwards.
class EarlySink : public testing::Environment {
  public:
    EarlySink() {
        RestoreLog::info = [this](const std::string& message) { received_ = message; };
    }
    void SetUp() override {
        RestoreLog::info("early");
        RestoreLog::silence();
    }
    const std::string& received() const { return received_; }

  private:
    std::string received_;
};
const auto* const earlySink = static_cast<const EarlySink*>(
    testing::AddGlobalTestEnvironment(new EarlySink));  // which owns it

TEST(RestoreLog, KeepsASinkThatWasSetDuringStaticInitialisation) {
    EXPECT_EQ(earlySink->received(), "early");
}

TEST(RestoreLog, AnEmptiedSinkIsSilent) {
    const LogCapture log;
    RestoreLog::debug = nullptr;
    RestoreLog::info = std::function<void(const std::string&)>();
    RestoreLog::warn = static_cast<void (*)(const std::string&)>(nullptr);
    RestoreLog::debug("a");
    RestoreLog::info("b");
    RestoreLog::warn("c");
    EXPECT_EQ(log.lines(), Lines());
}

TEST(RestoreLog, ASinkMayReplaceItself) {
    const LogCapture log;
    std::string messages;
    RestoreLog::info = [&messages, text = std::string("first ")](const std::string& message) {
        RestoreLog::info = nullptr;
        messages += text + message;
    };
    RestoreLog::info("a");
    RestoreLog::info("b");
    EXPECT_EQ(messages, "first a");
}

TEST(RestoreLog, GivesEachMessageToTheSinkOfItsLevel) {
    const LogCapture log;
    RestoreLog::debug("a");
    RestoreLog::info("b");
    RestoreLog::warn("c");
    EXPECT_EQ(log.lines(), (Lines{"debug: a", "info: b", "warn: c"}));
}

}  // namespace
}  // namespace tolvaran::tests
