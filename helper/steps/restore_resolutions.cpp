#include "helper/steps/steps.hpp"

#include "helper/step_log.hpp"
#include "restore/modes/resolution_originals_store.hpp"
#include "restore/modes/resolution_restore.hpp"
#include "restore/support/files.hpp"

namespace tolvaran {

void restoreResolutions(const std::string& tag, std::optional<pid_t> exitedPID) {
    const StepLog step(step_names::restoreResolutions, tag);
    const std::string path = ResolutionOriginalsStore::defaultPath();
    if (ResolutionOriginalsStore::pendingEntries(path).empty()) {
        return;
    }
    if (step.mainAppIsRunning(exitedPID)) {
        return;
    }
    const files::Recovery recovery(path, files::Recovery::Scope::record);
    if (step.recordHasChanged(path)) {
        return;
    }
    const std::int64_t count = ResolutionRestore::restorePendingUsingSystemDisplays(path);
    if (count >= 1) {
        step.log("info", "restored " + std::to_string(count) + " display mode(s)");
    }
}

}  // namespace tolvaran
