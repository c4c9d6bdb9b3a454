#include "report/text.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::report;

TEST(ReportText, MarkupIsEscaped) {
    EXPECT_EQ(escaped("<b a=\"1\" c='2'>&amp;</b>"),
              "&lt;b a=&quot;1&quot; c=&#39;2&#39;&gt;&amp;amp;&lt;/b&gt;");
    EXPECT_EQ(escaped("Größe 漢字 🖥"), "Größe 漢字 🖥");
}

TEST(ReportText, WhatWouldControlATerminalOrAPageBecomesVisible) {
    using namespace std::string_literals;
    const struct {
        std::string text;
        std::string shown;
    } rows[] = {
        {"\x1b[31mred"s, "␛[31mred"},
        {"a\0b"s, "a␀b"},
        {"\x7f\r"s, "␡␍"},
        {"tab\tand\nline"s, "tab\tand\nline"},
        {"\u009b2J"s, "\ufffd2J"},            // a control sequence in one character
        {"\u202egnp.exe"s, "\ufffdgnp.exe"},  // reverses the direction
        {"\u2066x\u2069"s, "\ufffdx\ufffd"},
        {"\ufffe\U0001ffff\ufdd0"s, "\ufffd\ufffd\ufffd"},  // not characters
        {"\U000e0041"s, "\ufffd"},                          // invisible
    };
    for (const auto& row : rows) {
        EXPECT_EQ(harmless(row.text), row.shown);
        EXPECT_EQ(escaped(row.text), row.shown);
    }
    EXPECT_EQ(oneLine("a\nb\tc"), "a b c");
}

TEST(ReportText, BytesThatAreNotUTF8AreReplaced) {
    const struct {
        const char* bytes;
        const char* shown;
    } rows[] = {
        {"\xff", "\ufffd"},
        {"a\x80z", "a\ufffdz"},
        {"\xc3", "\ufffd"},  // cut off
        {"\xe2\x82", "\ufffd\ufffd"},
        {"\xc0\xaf", "\ufffd\ufffd"},            // overlong
        {"\xed\xa0\x80", "\ufffd\ufffd\ufffd"},  // a surrogate
        {"\xf4\x90\x80\x80", "\ufffd\ufffd\ufffd\ufffd"},
        {"\xf0\x9f\x96\xa5", "🖥"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(harmless(row.bytes), row.shown);
    }
}

TEST(ReportText, EveryCharacterComesBackFromUTF8) {
    for (char32_t c = 1; c <= 0x10FFFF; c += c < 0x3000 ? 1 : 0x101) {
        if (c < 0xD800 || c > 0xDFFF) {
            ASSERT_EQ(codePoints(utf8(std::u32string(1, c))), std::u32string(1, c));
        }
    }
}

TEST(ReportText, ColumnsCountWideAndCombiningCharacters) {
    EXPECT_EQ(columns(U"abc"), 3);
    EXPECT_EQ(columns(U"漢字"), 4);
    EXPECT_EQ(columns(U"e\u0301"), 1);
    EXPECT_EQ(columns(U"🖥"), 2);
}

TEST(ReportText, Numbers) {
    EXPECT_EQ(number(-3), "-3");
    EXPECT_EQ(number(59.94), "59.94");
    EXPECT_EQ(number(1e300), "1e+300");
    const struct {
        double value;
        const char* coordinate;
        const char* seconds;
    } rows[] = {
        {0, "0", "0.000"},          {1.5, "1.5", "1.500"},
        {-0.25, "-0.25", "-0.250"}, {12.3456, "12.35", "12.346"},
        {1e-9, "0", "0.000"},       {100, "100", "100.000"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(coordinate(row.value), row.coordinate);
        EXPECT_EQ(seconds(row.value), row.seconds);
    }
    EXPECT_EQ(coordinate(std::numeric_limits<double>::infinity()), "0");
    EXPECT_EQ(coordinate(1e300), "90000000000000");
}

TEST(ReportText, Lists) {
    EXPECT_EQ(counted(0, "file", "files"), "0 files");
    EXPECT_EQ(counted(1, "file", "files"), "1 file");
    EXPECT_EQ(joined({"a", "b"}, ", "), "a, b");
    EXPECT_EQ(lines("a\n\nb\n"), (std::vector<std::string>{"a", "", "b"}));
    EXPECT_EQ(lines(""), std::vector<std::string>());
    EXPECT_EQ(compactList(nlohmann::json::parse(R"([1, "x", null, {"a": true}])")),
              R"(1, "x", null, {"a":true})");
}

}  // namespace
}  // namespace tolvaran::tests
