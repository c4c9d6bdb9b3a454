#include "helper/step_log.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

json runningApplications(const std::vector<int>& pids) {
    json applications = json::array();
    for (const int pid : pids) {
        applications.push_back({{"bundle", "com.morvelli.Tolvaran"}, {"pid", pid}});
    }
    return {{"applications", applications}};
}

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
        std::vector<int> running;
        std::optional<pid_t> exited;
        std::optional<int> found;
    };
    const Case cases[] = {
        {{}, std::nullopt, std::nullopt}, {{}, 812, std::nullopt}, {{812}, std::nullopt, 812},
        {{812}, 812, std::nullopt},       {{812}, 813, 812},       {{812, 900}, 812, 900},
        {{812, 900}, std::nullopt, 812},
    };
    for (const Case& c : cases) {
        HelperProcess process(runningApplications(c.running));
        EXPECT_EQ(StepLog("someStep", "safety-tick").mainAppIsRunning(c.exited),
                  c.found.has_value());
        const Lines expected = c.found
                                   ? Lines{"debug: someStep [safety-tick]: Tolvaran running (pid " +
                                           std::to_string(*c.found) + "), skipping"}
                                   : Lines{};
        EXPECT_EQ(process.takeLog(), expected);
    }
}

}  // namespace
}  // namespace tolvaran::tests
