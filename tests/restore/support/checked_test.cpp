#include "restore/support/checked.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>

#include "restore/paths/restore_log.hpp"
#include "tests/support/decimal_comma_locale.hpp"

namespace tolvaran::tests {
namespace {

using namespace checked;

class Checked : public testing::Test {
  protected:
    void SetUp() override {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        RestoreLog::warn = [](const std::string& message) {
            std::fprintf(stderr, "%s\n", message.c_str());
        };
    }
    void TearDown() override { RestoreLog::silence(); }
};
using CheckedDeathTest = Checked;

TEST_F(Checked, TruncatesTowardZero) {
    EXPECT_EQ(int32(1.9, "x"), 1);
    EXPECT_EQ(int32(-1.9, "x"), -1);
    EXPECT_EQ(int32(2147483647.9, "x"), 2147483647);
    EXPECT_EQ(int32(-2147483648.9, "x"), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(int64(-9223372036854775808.0, "x"), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(int64(-1.9), -1);
    EXPECT_EQ(product(-3, 4, "x"), -12);
}

TEST_F(Checked, SaysWhetherANumberFits) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double tooMuch :
         {9223372036854775808.0, -9223372036854777856.0, infinity, -infinity, std::nan("")}) {
        EXPECT_EQ(int64(tooMuch), std::nullopt) << tooMuch;
    }
}

TEST_F(CheckedDeathTest, StopsAndSaysWhatItRefused) {
    EXPECT_DEATH(int32(2147483648.0, "origin x"),
                 "stopping: origin x is 2147483648, which does not fit in 32 bits");
    EXPECT_DEATH(int32(-2147483649.0, "origin x"), "is -2147483649, which does not fit in 32 bits");
    EXPECT_DEATH(int32(std::nan(""), "origin x"), "origin x is nan");
    EXPECT_DEATH(int32(std::numeric_limits<double>::infinity(), "origin x"), "origin x is inf");
    EXPECT_DEATH(int64(1e300, "date"),
                 "stopping: date is 1.*e\\+300, which does not fit in 64 bits");
    EXPECT_DEATH(product(std::numeric_limits<std::int64_t>::max(), 2, "area"),
                 "stopping: area is 9223372036854775807 times 2, which does not fit in 64 bits");
}

TEST_F(CheckedDeathTest, SaysItTheSameInEveryRegion) {
    const DecimalCommaLocale locale;
    ASSERT_TRUE(locale.changesStreams());
    EXPECT_DEATH(int32(4294967296.5, "x"), "stopping: x is 4294967296.5, which does not fit");
}

}  // namespace
}  // namespace tolvaran::tests
