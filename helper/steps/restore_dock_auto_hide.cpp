#include "helper/steps/restore_dock_auto_hide.hpp"

#include "helper/restore_step.hpp"
#include "restore/dock/dock_auto_hide_override.hpp"

namespace tolvaran {

void restoreDockAutoHide(const std::string& tag, std::optional<pid_t> exitedPID) {
    const RestoreStep step("restoreDockAutoHide", tag);
    if (step.mainAppIsRunning(exitedPID)) {
        return;
    }
    const std::string marker = DockAutoHideOverride::defaultSnapshotPath();
    if (!DockAutoHideOverride::isPending(marker)) {
        return;
    }
    step.log("info", "marker found, restoring");
    if (DockAutoHideOverride::restoreIfPending(marker)) {
        step.log("info", "auto-hide restored + marker deleted");
    }
}

}  // namespace tolvaran
