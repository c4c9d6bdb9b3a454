#include "restore/support/text.hpp"

#include <gtest/gtest.h>

#include <locale>
#include <string>

namespace tolvaran::text {
namespace {

/// A locale as in much of Europe: decimal comma, dots between thousands.
class CommaPunctuation : public std::numpunct<char> {
  protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(Text, FormatsNumbersAlikeInEveryLocale) {
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new CommaPunctuation));
    EXPECT_EQ(fixed(1234.5678, 2), "1234.57");
    EXPECT_EQ(fixed(0.0004, 3, 8), "   0.000");
    EXPECT_EQ(fixed(123456.789, 3, 8), "123456.789");
    std::locale::global(before);
}

TEST(Text, DescribesMappings) {
    EXPECT_EQ(describe({}), "[:]");
    EXPECT_EQ(describe({{"b", "x"}, {"a", "y"}}), R"(["a": "y", "b": "x"])");
}

TEST(Text, Trims) {
    EXPECT_EQ(trimmed(" \t\r\n\v\fa b\n"), "a b");
    EXPECT_EQ(trimmed(" \n"), "");
    EXPECT_EQ(trimmed(""), "");
}

TEST(Text, ChangesTheCaseOfASCIILettersOnly) {
    EXPECT_EQ(uppercased("aZ-9ä"), "AZ-9ä");
    EXPECT_EQ(uppercased("`az{"), "`AZ{");
    EXPECT_EQ(lowercased("@AZ["), "@az[");
    EXPECT_EQ(lowercased("aZ-9Ä"), "az-9Ä");
}

}  // namespace
}  // namespace tolvaran::text
