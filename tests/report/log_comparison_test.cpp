#include "report/log_comparison.hpp"

#include "tests/report/results.hpp"
#include "tests/support/lines.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::report;

const std::string cursor = "restoreCursorAssociation [cold-start]: re-associated cursor";
const std::string tickedCursor = "restoreCursorAssociation [safety-tick]: re-associated cursor";

/// A result whose logs say this at level "info".
json withLogs(const Lines& theirs, const Lines& ours) {
    const json mac = macWith({display(1, 0, 0, 100, 80)});
    json result = resultOf(mac, mac);
    for (const std::string& line : theirs) {
        result["scenario"]["log"].push_back({{"time", ""}, {"level", "info"}, {"message", line}});
    }
    for (const std::string& line : ours) {
        addLine(result, 0, "info", line);
    }
    return result;
}

json withEvent(json result) {
    addEvent(result, 0.5, {{"wake", true}});
    return result;
}

TEST(LogComparison, WithEventsBeginsAtTheLastStart) {
    const auto comparison = compareLogs(withEvent(withLogs(
        {"Helper starting (pid 3)", "old", "Helper starting (pid 4)", "one", "two", "three"},
        {"Helper starting (pid 501)", "one", "2", "three"})));
    EXPECT_TRUE(comparison.isWhole);
    EXPECT_EQ(comparison.theirsBegin, 2U);
    EXPECT_EQ(comparison.parting, 2U);
    EXPECT_EQ(comparison.rows,
              (std::vector<ComparedLine>{{2, 0, true}, {3, 1, true}, {4, 2, false}, {5, 3, true}}));
}

TEST(LogComparison, WithEventsTheTagCounts) {
    EXPECT_EQ(compareLogs(withEvent(withLogs({tickedCursor}, {cursor}))).parting, 0U);
    EXPECT_EQ(compareLogs(withEvent(withLogs({cursor}, {cursor}))).parting, std::nullopt);
}

TEST(LogComparison, WithoutEventsComparesTheLastRunWithTheFirst) {
    const auto comparison =
        compareLogs(withLogs({"Helper starting (pid 3)", "a", tickedCursor,
                              "Tolvaran launched (pid 8)", "PROC_EXIT fired for Tolvaran (pid 8)",
                              "Detected", "dockish", tickedCursor, "Tolvaran launched (pid 9)"},
                             {"Helper starting (pid 501)",
                              "Tolvaran not running at helper start; running cold-start "
                              "check",
                              "Detected", cursor, "a later run"}));
    EXPECT_FALSE(comparison.isWhole);
    EXPECT_EQ(comparison.theirsBegin, 5U);
    EXPECT_EQ(comparison.oursBegin, 2U);
    EXPECT_EQ(comparison.oursEnd, 4U);
    EXPECT_EQ(comparison.rows,
              (std::vector<ComparedLine>{{5, 2, true}, {6, {}, false}, {7, 3, true}}));
    EXPECT_EQ(comparison.parting, 1U);
}

TEST(LogComparison, LevelsCount) {
    json result = withLogs({"a"}, {"a"});
    EXPECT_EQ(compareLogs(result).parting, std::nullopt);
    result["log"][0]["level"] = "warn";
    EXPECT_EQ(compareLogs(result).parting, 0U);
}

TEST(LogComparison, OneLogMayBeEmpty) {
    json result = withLogs({}, {cursor});
    result["scenario"]["log"] = json::array();
    EXPECT_EQ(compareLogs(result).rows, (std::vector<ComparedLine>{{{}, 0, false}}));
    EXPECT_EQ(compareLogs(withLogs({cursor}, {})).rows,
              (std::vector<ComparedLine>{{0, {}, false}}));
    result["log"] = json::array();
    EXPECT_TRUE(compareLogs(result).rows.empty());
    EXPECT_TRUE(compareLogs(withEvent(result)).rows.empty());
}

TEST(LogComparison, DifferentLinesAreSideBySide) {
    EXPECT_EQ(
        compareLogs(withLogs({"a", "b", "c", cursor}, {"x", "y", cursor})).rows,
        (std::vector<ComparedLine>{{0, 0, false}, {1, 1, false}, {2, {}, false}, {3, 2, true}}));
    EXPECT_EQ(
        compareLogs(withLogs({"a", cursor}, {"x", "y", "z", cursor})).rows,
        (std::vector<ComparedLine>{{0, 0, false}, {{}, 1, false}, {{}, 2, false}, {1, 3, true}}));
}

}  // namespace
}  // namespace tolvaran::tests
