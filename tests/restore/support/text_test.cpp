#include "restore/support/text.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/decimal_comma_locale.hpp"

namespace tolvaran::tests {
namespace {

using namespace text;

TEST(Text, FormatsNumbersTheSameInEveryLocale) {
    const DecimalCommaLocale locale;
    ASSERT_TRUE(locale.changesStreams());
    EXPECT_EQ(fixed(1234.5678, 2), "1234.57");
    EXPECT_EQ(fixed(0.0004, 3, 8), "   0.000");
    EXPECT_EQ(fixed(123456.789, 3, 8), "123456.789");
}

TEST(Text, DescribesMappings) {
    EXPECT_EQ(describe({}), "[:]");
    EXPECT_EQ(describe({{"b", "x"}, {"a", "y"}}), R"(["a": "y", "b": "x"])");
    EXPECT_EQ(describe({{"", "\xC3\xA9\xE2\x80\x94"}}), "[\"\": \"\xC3\xA9\xE2\x80\x94\"]");
    EXPECT_EQ(describe({{"a\"b\\", "1\n2\r\t3\x1B\x7F"}}),
              R"(["a\"b\\": "1\n2\r\t3\u{1B}\u{7F}"])");
    EXPECT_EQ(describe({{std::string(1, '\0'), "\xC2\x85\xE2\x80\xA8\xE2\x80\xA9"}}),
              R"(["\u{00}": "\u{85}\u{2028}\u{2029}"])");
}

TEST(Text, FindsWhatIsNotUTF8) {
    constexpr std::size_t none = std::string_view::npos;
    const std::vector<std::pair<std::string, std::size_t>> rows = {
        {"", none},
        {std::string("a\0", 2), none},
        {"0123456789abcde\xC3\xA9", none},
        {"\xC2\x80\xDF\xBF", none},
        {"\xE0\xA0\x80\xEF\xBF\xBF", none},
        {"\xED\x9F\xBF\xEE\x80\x80", none},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", none},
        {"\x80", 0},
        {"0123456789abcdef\xBF", 16},
        {"\xC0\xAF", 0},
        {"\xC1\xBF", 0},
        {"\xC3(", 1},
        {"a\xC3", 2},
        {"\xE0\x9F\xBF", 1},
        {"\xE2\x82", 2},
        {"\xE2\x82\xC0", 2},
        {"\xED\xA0\x80", 1},
        {"\xF0\x8F\xBF\xBF", 1},
        {"\xF0\x90\x80(", 3},
        {"\xF4\x90\x80\x80", 1},
        {"\xF5\x80\x80\x80", 0},
        {"\xFF", 0},
    };
    for (const auto& [bytes, where] : rows) {
        EXPECT_EQ(findInvalidUTF8(bytes), where) << testing::PrintToString(bytes);
        EXPECT_EQ(isUTF8(bytes), where == none);
    }
}

TEST(Text, TrimsEveryBlankAndLineEndOfUnicode) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {" \t\r\n\v\fa b\n", "a b"},
        {" \n", ""},
        {"", ""},
        {"\u0085a\u0085", "a"},  // next line
        {"\u00A0a\u00A0", "a"},  // no-break space
        {"\u1680a\u1680", "a"},  // Ogham space mark
        {"\u2003a\u2003", "a"},  // em space
        {"\u2028a\u2028", "a"},  // line separator
        {"\u3000a\u3000", "a"},  // ideographic space
        {"\u2003 \u3000\na\u00A0\u2028\t", "a"},
        {"\u00A0\u0085", ""},
        {"a\u2003b\u00A0", "a\u2003b"},
        {"\u2060a\uFEFF", "\u2060a\uFEFF"},  // zero width, and not blanks
        {"\u00E0a\u00E0", "\u00E0a\u00E0"},  // the last byte of à is also that of a no-break space
        {"\240a\240", "\240a\240"},          // that byte alone
        {"\x85", "\x85"},
        {"\xC2", "\xC2"},
        {"a\xE2\x80", "a\xE2\x80"},
    };
    for (const auto& [value, expected] : rows) {
        EXPECT_EQ(trimmed(value), expected) << testing::PrintToString(value);
    }
}

TEST(Text, TrimsEachOfTheSpacesOfSetWidths) {
    for (char last = '\x80'; last <= '\x8A'; ++last) {
        const std::string space = std::string("\xE2\x80") + last;
        EXPECT_EQ(trimmed(space + "a" + space), "a") << testing::PrintToString(space);
    }
    for (const std::string blank : {"\u2029", "\u202F", "\u205F"}) {
        EXPECT_EQ(trimmed(blank + "a" + blank), "a") << testing::PrintToString(blank);
    }
}

TEST(Text, ChangesTheCaseOfASCIILettersOnly) {
    EXPECT_EQ(uppercased("aZ-9ä"), "AZ-9ä");
    EXPECT_EQ(uppercased("`az{"), "`AZ{");
    EXPECT_EQ(lowercased("@AZ["), "@az[");
    EXPECT_EQ(lowercased("aZ-9Ä"), "az-9Ä");
}

}  // namespace
}  // namespace tolvaran::tests
