#include "helper/restore_sequence.hpp"

#include <array>
#include <new>

#include "helper/step_log.hpp"
#include "helper/steps/steps.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"

namespace tolvaran {
namespace {

struct Step {
    const char* name;
    void (*run)(const std::string& tag, std::optional<pid_t> exitedPID);
};

constexpr std::array<Step, 6> steps{{
    {step_names::checkInvariant, checkInvariant},
    {step_names::restoreResolutions, restoreResolutions},
    {step_names::restoreMenuBar, restoreMenuBar},
    {step_names::restoreHotCorners, restoreHotCorners},
    {step_names::restoreDockAutoHide, restoreDockAutoHide},
    {step_names::restoreCursorAssociation, restoreCursorAssociation},
}};

}  // namespace

void runRestoreSequence(const std::string& tag, std::optional<pid_t> exitedPID) {
    // What the main application writes from here on is left to it, or to the next run: no step sees
    // that it has started.
    std::optional<files::Recovery> recovery;
    try {
        recovery.emplace(TolvaranPaths::stateDir(), files::Recovery::Scope::directory);
    } catch (const std::bad_alloc&) {
        // Each step then sees to its own record from where it begins.
    }
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
