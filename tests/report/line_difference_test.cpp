#include "report/line_difference.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::report;

/// "=kept -removed +added", each line a word.
std::string difference(const std::vector<std::string>& before,
                       const std::vector<std::string>& after) {
    std::string result;
    for (const DifferenceLine& line : lineDifference(before, after)) {
        result += std::string(result.empty() ? "" : " ") +
                  "=-+"[static_cast<std::size_t>(line.fate)] + line.text;
    }
    return result;
}

TEST(LineDifference, ShowsWhatIsGoneAndWhatIsNew) {
    const struct {
        std::vector<std::string> before;
        std::vector<std::string> after;
        const char* difference;
    } rows[] = {
        {{}, {}, ""},
        {{"a"}, {"a"}, "=a"},
        {{"a"}, {}, "-a"},
        {{}, {"a"}, "+a"},
        {{"a"}, {"b"}, "-a +b"},
        {{"a", "b", "c"}, {"a", "x", "c"}, "=a -b +x =c"},
        {{"a", "b"}, {"a", "b", "c"}, "=a =b +c"},
        {{"b", "c"}, {"a", "b", "c"}, "+a =b =c"},
        {{"a", "b", "c", "d"}, {"d", "a", "b", "e"}, "+d =a =b -c -d +e"},
        {{"x", "x"}, {"x"}, "=x -x"},
        {{"a", "b", "a"}, {"a"}, "=a -b -a"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(difference(row.before, row.after), row.difference);
    }
}

/// Both texts of a difference, and the lines that they share.
struct Texts {
    std::vector<std::string> was;
    std::vector<std::string> is;
    std::vector<std::string> kept;
};

Texts texts(const std::vector<DifferenceLine>& difference) {
    Texts all;
    for (const auto& [fate, text] : difference) {
        if (fate != LineFate::added) {
            all.was.push_back(text);
        }
        if (fate != LineFate::removed) {
            all.is.push_back(text);
        }
        if (fate == LineFate::kept) {
            all.kept.push_back(text);
        }
    }
    return all;
}

// Every pair of short texts of two different lines: the difference gives back both.
TEST(LineDifference, GivesBackBothTexts) {
    std::vector<std::vector<std::string>> all{{}};
    for (std::size_t i = 0; all[i].size() < 5; ++i) {
        for (const char* const line : {"a", "b"}) {
            all.push_back(all[i]);
            all.back().push_back(line);
        }
    }
    for (const auto& before : all) {
        for (const auto& after : all) {
            const auto [was, is, kept] = texts(lineDifference(before, after));
            ASSERT_EQ(was, before);
            ASSERT_EQ(is, after);
        }
    }
}

/// This many times the line, between a beginning, a middle and an end that do not depend on it.
std::vector<std::string> around(const std::string& line, std::size_t count) {
    std::vector<std::string> text{"begin"};
    text.insert(text.end(), count, line);
    text.emplace_back("middle");
    text.insert(text.end(), count, line);
    text.emplace_back("end");
    return text;
}

/// The lines of the difference between around(a, count) and around(b, count) that are kept.
std::vector<std::string> keptOf(std::size_t count) {
    const auto [was, is, kept] = texts(lineDifference(around("a", count), around("b", count)));
    EXPECT_EQ(was, around("a", count));
    EXPECT_EQ(is, around("b", count));
    return kept;
}

TEST(LineDifference, OfVeryLongTextsKeepsOnlyTheBeginningAndTheEnd) {
    EXPECT_EQ(keptOf(500), (std::vector<std::string>{"begin", "middle", "end"}));
    EXPECT_EQ(keptOf(2'000), (std::vector<std::string>{"begin", "end"}));
}

TEST(LineDifference, OfVeryLongTextsRemovesAllBeforeItAddsAny) {
    const std::vector<DifferenceLine> lines =
        lineDifference(around("a", 2'000), around("b", 2'000));
    ASSERT_EQ(lines.size(), 8'004U);
    const auto isRemoved = [](const DifferenceLine& line) {
        return line.fate == LineFate::removed;
    };
    EXPECT_TRUE(std::all_of(lines.begin() + 1, lines.begin() + 4'002, isRemoved));
    EXPECT_TRUE(std::none_of(lines.begin() + 4'002, lines.end(), isRemoved));
}

}  // namespace
}  // namespace tolvaran::tests
