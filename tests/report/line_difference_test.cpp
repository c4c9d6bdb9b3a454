#include "report/line_difference.hpp"

#include <gtest/gtest.h>

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

// Every pair of short texts of two different lines: the difference gives back both.
TEST(LineDifference, GivesBackBothTexts) {
    std::vector<std::vector<std::string>> texts{{}};
    for (std::size_t i = 0; texts[i].size() < 5; ++i) {
        for (const char* const line : {"a", "b"}) {
            texts.push_back(texts[i]);
            texts.back().push_back(line);
        }
    }
    for (const auto& before : texts) {
        for (const auto& after : texts) {
            std::vector<std::string> was;
            std::vector<std::string> is;
            for (const DifferenceLine& line : lineDifference(before, after)) {
                if (line.fate != LineFate::added) {
                    was.push_back(line.text);
                }
                if (line.fate != LineFate::removed) {
                    is.push_back(line.text);
                }
            }
            ASSERT_EQ(was, before);
            ASSERT_EQ(is, after);
        }
    }
}

TEST(LineDifference, LongAndDifferentTextsTakeNoTime) {
    std::vector<std::string> before{"begin"};
    std::vector<std::string> after{"begin"};
    for (int i = 0; i < 20'000; ++i) {
        before.push_back("b" + std::to_string(i));
        after.push_back("a" + std::to_string(i));
    }
    before.emplace_back("end");
    after.emplace_back("end");
    const std::vector<DifferenceLine> lines = lineDifference(before, after);
    ASSERT_EQ(lines.size(), 40'002U);
    EXPECT_EQ(lines.front().fate, LineFate::kept);
    EXPECT_EQ(lines[20'000].fate, LineFate::removed);
    EXPECT_EQ(lines[20'001].fate, LineFate::added);
    EXPECT_EQ(lines.back().fate, LineFate::kept);
}

}  // namespace
}  // namespace tolvaran::tests
