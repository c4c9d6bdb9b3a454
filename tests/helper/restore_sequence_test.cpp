#include "helper/restore_sequence.hpp"

#include <gtest/gtest.h>

#include <new>
#include <nlohmann/json.hpp>

#include "helper/steps/steps.hpp"
#include "report/log_reading.hpp"
#include "restore/dock/dock_auto_hide_override.hpp"
#include "restore/support/process_wide.hpp"
#include "tests/helper/helper_test.hpp"
#include "tests/support/other_process.hpp"
#include "tests/support/records/records.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

const std::string cursorIsBack = reassociatesCursor("proc-exit");

/// A process with every record: without its own, a step may not even ask whether Tolvaran runs.
class SequenceProcess : public HelperProcess {
  public:
    explicit SequenceProcess(const json& mac = json::object()) : HelperProcess(mac) {
        for (const Record& record : records()) {
            writeFile(path(record.path), record.example);
        }
    }
};

// The reports keep their own list of the steps.
TEST(RestoreSequence, HasTheStepsThatReportsListInTheirOrder) {
    Lines names;
    Lines namesInReports;
    for (const Step& step : steps) {
        names.emplace_back(step.name);
    }
    for (const simulator::report::Step& step : simulator::report::steps) {
        namesInReports.emplace_back(step.name);
    }
    EXPECT_EQ(namesInReports, names);
}

TEST(RestoreSequence, RunsEveryStepInOneOrderWithItsTag) {
    SequenceProcess process(whileTolvaranRuns({812}));
    runRestoreSequence("proc-exit", 811);
    Lines expected;
    for (const Step& step : steps) {
        expected.push_back(skips(step.name, "proc-exit", 812));
    }
    EXPECT_EQ(process.takeLog(), expected);
}

TEST(RestoreSequence, TellsEveryStepWhichInstanceHasExited) {
    SequenceProcess process(whileTolvaranRuns({812}));
    runRestoreSequence("proc-exit", 812);
    const Lines log = process.takeLog();
    for (const std::string& line : log) {
        EXPECT_EQ(line.find("skipping"), line.npos) << line;
    }
    EXPECT_EQ(log.back(), cursorIsBack);
}

// Every step asks exactly once whether Tolvaran is running, so the number of that call selects it.
TEST(RestoreSequence, AStepThatRunsOutOfMemoryDoesNotStopTheLaterOnes) {
    for (std::size_t failing = 0; failing < steps.size(); ++failing) {
        SequenceProcess process;
        std::size_t calls = 0;
        simulator::onCall("runningApplications", [&] {
            if (calls++ == failing) {
                throw std::bad_alloc();
            }
        });
        runRestoreSequence("proc-exit", std::nullopt);
        Lines errors;
        const Lines log = process.takeLog();
        std::ranges::copy_if(log, std::back_inserter(errors),
                             [](const std::string& line) { return line.starts_with("error: "); });
        EXPECT_EQ(errors, Lines{"error: " + std::string(steps[failing].name) +
                                " [proc-exit]: gave up: " + std::bad_alloc().what()});
        EXPECT_EQ(log.back(), failing + 1 == steps.size() ? errors.back() : cursorIsBack);
    }
}

void hideDockAsMainApplication() {
    inAnotherProcess([] {
        DockAutoHideOverride::markPending(true, DockAutoHideOverride::defaultSnapshotPath());
    });
}

bool isDockHidden() {
    return simulator::machine()["dock"]["autoHide"];
}

TEST(RestoreSequence, QueuedRunsUseTheRecordsOfTheFirstUntilTheQueueIsAtRest) {
    const HelperProcess process(json{{"dock", {{"autoHide", false}}}});
    runQueuedRestoreSequence("display-reconfig", std::nullopt);
    hideDockAsMainApplication();
    runQueuedRestoreSequence("display-reconfig", std::nullopt);
    EXPECT_FALSE(isDockHidden());
    simulator::advance(0);
    runQueuedRestoreSequence("display-reconfig", std::nullopt);
    EXPECT_TRUE(isDockHidden());
}

TEST(RestoreSequence, AQueuedRunPutsBackWhatTheFirstLeftToAProcessThatHasEndedSince) {
    constexpr int other = 1;
    const HelperProcess process(json{{"dock", {{"autoHide", false}}}});
    {
        const PlayedProcess mainApplication(other);
        DockAutoHideOverride::markPending(true, DockAutoHideOverride::defaultSnapshotPath());
    }
    runQueuedRestoreSequence("display-reconfig", std::nullopt);
    EXPECT_FALSE(isDockHidden());
    {
        const PlayedProcess mainApplication(other);
        forgetProcessWideValues();
    }
    runQueuedRestoreSequence("proc-exit", std::nullopt);
    EXPECT_TRUE(isDockHidden());
}

}  // namespace
}  // namespace tolvaran::tests
