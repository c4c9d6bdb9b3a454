#include "helper/steps/steps.hpp"

#include "helper/step_log.hpp"
#include "restore/dock/dock_auto_hide_override.hpp"

namespace tolvaran {

void restoreDockAutoHide(const std::string& tag, std::optional<pid_t> exitedPID) {
    const StepLog step(step_names::restoreDockAutoHide, tag);
    if (step.mainAppIsRunning(exitedPID)) {
        return;
    }
    const std::string marker = DockAutoHideOverride::defaultSnapshotPath();
    if (!DockAutoHideOverride::isPending(marker) || step.recordHasChanged(marker)) {
        return;
    }
    step.log("info", "marker found, restoring");
    if (DockAutoHideOverride::restoreIfPending(marker)) {
        step.log("info", "auto-hide restored + marker deleted");
    }
}

}  // namespace tolvaran
