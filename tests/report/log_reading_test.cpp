#include "report/log_reading.hpp"

#include <gtest/gtest.h>

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::report;

TEST(LogReading, TakesALineApart) {
    EXPECT_EQ(readLogLine("[2026-01-01 00:00:00.000] [   1.500] [helper] [warn] a] [b] c"),
              (LogLine{"2026-01-01 00:00:00.000", "1.500", "warn", "a] [b] c"}));
    EXPECT_EQ(readLogLine("[x] [0] [helper] [debug] "), (LogLine{"x", "0", "debug", ""}));
}

TEST(LogReading, OtherTextIsNotALine) {
    for (const char* const text :
         {"", "text", "[", "[x] [0] [helper] [no end", "[x] [0] [other] [info] a",
          "[x] [helper] [info] a", " [x] [0] [helper] [info] a", "[x] [0] [helper] info a"}) {
        EXPECT_EQ(readLogLine(text), std::nullopt) << text;
    }
}

TEST(LogReading, KnowsTheStepsOfARun) {
    const auto middle = readStepLine("restoreMenuBar [safety-tick]: kept 1 unsettled display(s)");
    ASSERT_TRUE(middle);
    EXPECT_EQ(steps[middle->step].title, std::string("Menu bar"));
    EXPECT_EQ(middle->tag, "safety-tick");
    EXPECT_EQ(middle->text, "kept 1 unsettled display(s)");
    EXPECT_FALSE(middle->endsRun());
    EXPECT_TRUE(readStepLine("restoreCursorAssociation [x]: re-associated cursor")->endsRun());
    for (const char* const text :
         {"restoreMenuBar: a", "restoreMenuBar [x] a", "menu bar [x]: a", ""}) {
        EXPECT_FALSE(readStepLine(text)) << text;
    }
}

TEST(LogReading, DistinguishesProcessesFromRuns) {
    EXPECT_TRUE(isAboutProcesses("Helper starting (pid 1)"));
    EXPECT_TRUE(isAboutProcesses("PROC_EXIT fired for Tolvaran (pid 1)"));
    EXPECT_FALSE(isAboutProcesses("Detected zigzag/corner-touch arrangement"));
}

}  // namespace
}  // namespace tolvaran::tests
