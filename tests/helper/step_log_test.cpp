#include "helper/step_log.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/helper/helper_test.hpp"

namespace tolvaran::tests {
namespace {

TEST(StepLog, PutsTheNameAndTheTagBeforeEachMessage) {
    HelperProcess process;
    const StepLog step("restoreMenuBar", "proc-exit");
    for (const std::string level : {"debug", "info", "warn", "error"}) {
        step.log(level, "done");
        EXPECT_EQ(process.takeLog(), Lines{level + ": restoreMenuBar [proc-exit]: done"});
    }
}

TEST(StepLog, TheRunningTestLeavesOutTheInstanceThatHasExited) {
    struct Case {
        std::vector<pid_t> running;
        std::optional<pid_t> exited;
        std::optional<pid_t> found;
    };
    const Case cases[] = {
        {{}, std::nullopt, std::nullopt}, {{}, 812, std::nullopt}, {{812}, std::nullopt, 812},
        {{812}, 812, std::nullopt},       {{812}, 813, 812},       {{812, 900}, 812, 900},
        {{812, 900}, std::nullopt, 812},
    };
    for (const Case& c : cases) {
        HelperProcess process(whileTolvaranRuns(c.running));
        EXPECT_EQ(StepLog("someStep", "safety-tick").mainAppIsRunning(c.exited),
                  c.found.has_value());
        EXPECT_EQ(process.takeLog(),
                  c.found ? Lines{skips("someStep", "safety-tick", *c.found)} : Lines{});
    }
}

}  // namespace
}  // namespace tolvaran::tests
