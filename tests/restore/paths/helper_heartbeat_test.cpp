#include "restore/paths/helper_heartbeat.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using namespace HelperHeartbeat;

class HelperHeartbeatTest : public ProcessTest {};

TEST_F(HelperHeartbeatTest, TouchesWithWholeMilliseconds) {
    const std::string heartbeat = path("State/.helper-heartbeat");
    const std::vector<std::pair<Date, std::string>> rows = {
        {1763163700.123, "1763163700123"},
        {1763163700.1239, "1763163700123"},
        {0.0, "0"},
        {-1.5, "-1500"},
        {-0.0019, "-1"},
    };
    for (const auto& [date, content] : rows) {
        EXPECT_TRUE(touch(heartbeat, date));
        EXPECT_EQ(readFile(heartbeat), content);
    }
    EXPECT_EQ(files(), (Lines{"State/", "State/.helper-heartbeat"}));
}

TEST_F(HelperHeartbeatTest, AFailedTouchLeavesTheOldFile) {
    writeFile(path("State"), "a file where the directory should be");
    EXPECT_FALSE(touch(path("State/.helper-heartbeat"), 1));
    writeFile(path("heartbeat/x"), "");
    EXPECT_FALSE(touch(path("heartbeat"), 1));
    EXPECT_TRUE(readFile(path("heartbeat/x")).has_value());
}

TEST_F(HelperHeartbeatTest, ADateThatCannotBeWrittenLeavesTheOldFile) {
    const std::string heartbeat = path("heartbeat");
    constexpr Date infinity = std::numeric_limits<Date>::infinity();
    for (const Date date : {std::nan(""), infinity, -infinity, 1e300, 9223372036854775.808}) {
        EXPECT_TRUE(touch(heartbeat, 5));
        EXPECT_FALSE(touch(heartbeat, date)) << date;
        EXPECT_EQ(readFile(heartbeat), "5000");
    }
}

TEST_F(HelperHeartbeatTest, ReadsDecimalIntegersOnly) {
    const std::string heartbeat = path("heartbeat");
    const std::vector<std::pair<std::string, std::optional<Date>>> rows = {
        {"1763163700123", 1763163700.123},
        {"1763163700123\n", 1763163700.123},
        {" \t+5000\r\n", 5.0},
        {"\u00855000\u2028", 5.0},
        {"\u00A0\u1680\u20035000\u3000\u00A0", 5.0},
        {"-5000", -5.0},
        {"9223372036854775807", 9223372036854775.807},
        {"9223372036854775808", std::nullopt},
        {"", std::nullopt},
        {" \n", std::nullopt},
        {"\u00A0\u3000", std::nullopt},
        {"5\u00A0000", std::nullopt},
        {"5000\xA0", std::nullopt},
        {"letters", std::nullopt},
        {"12 34", std::nullopt},
        {"1.5", std::nullopt},
        {"+", std::nullopt},
        {"+-5", std::nullopt},
        {"--5", std::nullopt},
        {"0x10", std::nullopt},
        {"5\xff", std::nullopt},
        {std::string("5\0", 2), std::nullopt},
    };
    for (const auto& [content, date] : rows) {
        writeFile(heartbeat, content);
        EXPECT_EQ(lastTouch(heartbeat), date) << content;
    }
    EXPECT_EQ(lastTouch(path("missing")), std::nullopt);
    EXPECT_EQ(lastTouch(path("")), std::nullopt);
}

TEST_F(HelperHeartbeatTest, IsFreshUpToTheThreshold) {
    const std::string heartbeat = path("heartbeat");
    touch(heartbeat, 1000);
    EXPECT_EQ(age(heartbeat, 1300), 300);
    EXPECT_TRUE(isFresh(heartbeat, 1300));
    EXPECT_FALSE(isFresh(heartbeat, 1300.001));
    EXPECT_TRUE(isFresh(heartbeat, 1010, 10));
    EXPECT_FALSE(isFresh(heartbeat, 1011, 10));
    EXPECT_EQ(age(heartbeat, 900), -100);
    EXPECT_TRUE(isFresh(heartbeat, 900));  // dated in the future
}

TEST_F(HelperHeartbeatTest, AMissingOneHasNoAgeAndIsNotFresh) {
    EXPECT_EQ(age(path("heartbeat"), 1), std::nullopt);
    EXPECT_FALSE(isFresh(path("heartbeat"), 1));
}

TEST_F(HelperHeartbeatTest, ClearsEvenWhatIsNotThere) {
    const std::string heartbeat = path("heartbeat");
    touch(heartbeat, 1);
    clear(heartbeat);
    EXPECT_EQ(readFile(heartbeat), std::nullopt);
    clear(heartbeat);
}

TEST_F(HelperHeartbeatTest, LivesInTheStateDirectory) {
    const ScopedEnvironment root("TOLVARAN_APPLICATION_SUPPORT_DIR", "/as");
    EXPECT_EQ(defaultPath(), "/as/State/.helper-heartbeat");
    EXPECT_EQ(defaultStaleThreshold, 300.0);
}

TEST_F(HelperHeartbeatTest, TheCurrentDateIsThePlatformsClock) {
    const Date start = currentDate();
    simulator::advance(12.5);
    EXPECT_EQ(currentDate(), start + 12.5);
}

}  // namespace
}  // namespace tolvaran::tests
