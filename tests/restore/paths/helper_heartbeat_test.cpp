#include "restore/paths/helper_heartbeat.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "simulator/simulator.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using namespace HelperHeartbeat;

TEST(HelperHeartbeat, TouchesWithWholeMilliseconds) {
    const TemporaryDirectory directory;
    const std::string path = directory / "State/.helper-heartbeat";
    const std::vector<std::pair<Date, std::string>> rows = {
        {1763163700.123, "1763163700123"},
        {1763163700.1239, "1763163700123"},
        {0.0, "0"},
        {-1.5, "-1500"},
        {-0.0019, "-1"},
    };
    for (const auto& [date, content] : rows) {
        EXPECT_TRUE(touch(path, date));
        EXPECT_EQ(readFile(path), content);
    }
    EXPECT_EQ(directory.list(), (std::vector<std::string>{"State/", "State/.helper-heartbeat"}));
}

TEST(HelperHeartbeat, AFailedTouchLeavesTheOldFile) {
    const TemporaryDirectory directory;
    writeFile(directory / "State", "a file where the directory should be");
    EXPECT_FALSE(touch(directory / "State/.helper-heartbeat", 1));
    writeFile(directory / "heartbeat/x", "");
    EXPECT_FALSE(touch(directory / "heartbeat", 1));
    EXPECT_TRUE(readFile(directory / "heartbeat/x").has_value());
}

TEST(HelperHeartbeat, ADateThatCannotBeWrittenLeavesTheOldFile) {
    const TemporaryDirectory directory;
    const std::string path = directory / "heartbeat";
    constexpr Date infinity = std::numeric_limits<Date>::infinity();
    for (const Date date : {std::nan(""), infinity, -infinity, 1e300, 9223372036854775.808}) {
        EXPECT_TRUE(touch(path, 5));
        EXPECT_FALSE(touch(path, date)) << date;
        EXPECT_EQ(readFile(path), "5000");
    }
}

TEST(HelperHeartbeat, ReadsDecimalIntegersOnly) {
    const TemporaryDirectory directory;
    const std::string path = directory / "heartbeat";
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
        writeFile(path, content);
        EXPECT_EQ(lastTouch(path), date) << content;
    }
    EXPECT_EQ(lastTouch(directory / "missing"), std::nullopt);
    EXPECT_EQ(lastTouch(directory.path()), std::nullopt);
}

TEST(HelperHeartbeat, IsFreshUpToTheThreshold) {
    const TemporaryDirectory directory;
    const std::string path = directory / "heartbeat";
    touch(path, 1000);
    EXPECT_EQ(age(path, 1300), 300);
    EXPECT_TRUE(isFresh(path, 1300));
    EXPECT_FALSE(isFresh(path, 1300.001));
    EXPECT_TRUE(isFresh(path, 1010, 10));
    EXPECT_FALSE(isFresh(path, 1011, 10));
    EXPECT_EQ(age(path, 900), -100);
    EXPECT_TRUE(isFresh(path, 900));  // dated in the future
}

TEST(HelperHeartbeat, AMissingOneHasNoAgeAndIsNotFresh) {
    const TemporaryDirectory directory;
    EXPECT_EQ(age(directory / "heartbeat", 1), std::nullopt);
    EXPECT_FALSE(isFresh(directory / "heartbeat", 1));
}

TEST(HelperHeartbeat, ClearsAlsoWhatIsNotThere) {
    const TemporaryDirectory directory;
    const std::string path = directory / "heartbeat";
    touch(path, 1);
    clear(path);
    EXPECT_EQ(readFile(path), std::nullopt);
    clear(path);
}

TEST(HelperHeartbeat, LivesInTheStateDirectory) {
    const ScopedEnvironment root("TOLVARAN_APPLICATION_SUPPORT_DIR", "/as");
    EXPECT_EQ(defaultPath(), "/as/State/.helper-heartbeat");
    EXPECT_EQ(defaultStaleThreshold, 300.0);
}

TEST(HelperHeartbeat, TheCurrentDateIsThePlatformsClock) {
    simulator::reset();
    const Date start = currentDate();
    simulator::advance(12.5);
    EXPECT_EQ(currentDate(), start + 12.5);
}

}  // namespace
}  // namespace tolvaran::tests
