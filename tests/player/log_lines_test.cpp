#include "player/log_lines.hpp"

#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

class LogLinesTest : public SimulatorTest {};

TEST_F(LogLinesTest, PutsLinesTogetherAndLeavesOutOthers) {
    LogLines lines;
    lines.take("[2026-01-01 00:00:00.000] [   0.000] [helper] [info] a [b] c\n[2026");
    EXPECT_EQ(lines.entries().size(), 1U);
    advance(1.5);
    lines.take("-01-01] [   1.500] [helper] [warn] \xFF\n");
    lines.take("something else\n\n[x] [helper] [no end\n");
    lines.take("[x] [0] [helper] [debug] \n[x] [0] [helper] [debug] unfinished");
    EXPECT_EQ(lines.entries(), json::parse(R"([
        {"at": 0, "level": "info", "message": "a [b] c"},
        {"at": 1.5, "level": "warn", "message": "\ufffd"},
        {"at": 1.5, "level": "debug", "message": ""}])"));
}

}  // namespace
}  // namespace tolvaran::tests
