#include "helper/restore_sequence.hpp"

#include <new>

#include "helper/step_log.hpp"
#include "helper/steps/steps.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"

namespace tolvaran {

void runRestoreSequence(const std::string& tag, std::optional<pid_t> exitedPID) {
    // Records that the main application writes from here on are left alone: this run's steps do not
    // see that it has started.
    std::optional<files::Recovery> recovery;
    try {
        recovery.emplace(TolvaranPaths::stateDir(), files::Recovery::Scope::directory);
    } catch (const std::bad_alloc&) {
        // Each step then looks after its own record, from its own beginning.
    }
    for (const Step& step : steps) {
        try {
            step.run(tag, exitedPID);
        } catch (const std::bad_alloc& error) {
            // Out of memory. What the step did not do stays on disk for the next run; later steps
            // may still succeed now.
            StepLog(step.name, tag).log("error", std::string("gave up: ") + error.what());
        }
    }
}

}  // namespace tolvaran
