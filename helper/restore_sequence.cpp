#include "helper/restore_sequence.hpp"

#include <array>
#include <new>

#include "helper/step_log.hpp"
#include "helper/steps/steps.hpp"

namespace tolvaran {
namespace {

struct Step {
    const char* name;  // as its log lines show it
    void (*run)(const std::string& tag, std::optional<pid_t> exitedPID);
};

constexpr std::array<Step, 6> steps{{
    {"checkInvariant", checkInvariant},
    {"restoreResolutions", restoreResolutions},
    {"restoreMenuBar", restoreMenuBar},
    {"restoreHotCorners", restoreHotCorners},
    {"restoreDockAutoHide", restoreDockAutoHide},
    {"restoreCursorAssociation", restoreCursorAssociation},
}};

}  // namespace

void runRestoreSequence(const std::string& tag, std::optional<pid_t> exitedPID) {
    for (const Step& step : steps) {
        try {
            step.run(tag, exitedPID);
        } catch (const std::bad_alloc& error) {
            // Out of memory. What the step did not do stays on disk for the next run; the steps
            // after it may still have their chance now.
            StepLog(step.name, tag).log("error", std::string("gave up: ") + error.what());
        }
    }
}

}  // namespace tolvaran
