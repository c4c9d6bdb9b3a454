#include "helper/steps/steps.hpp"

#include "helper/step_log.hpp"
#include "restore/dock/dock_hot_corner_override.hpp"
#include "restore/dock/hot_corner_lease_state.hpp"
#include "restore/dock/screen_saver_hot_corner_hold.hpp"

namespace tolvaran {

void restoreHotCorners(const std::string& tag, std::optional<pid_t> exitedPID) {
    const StepLog step(step_names::restoreHotCorners, tag);
    if (step.mainAppIsRunning(exitedPID)) {
        return;
    }
    // The hold comes first: ending it only takes a notification, while the snapshot may fail and
    // stay.
    const std::string hold = ScreenSaverHotCornerHold::defaultMarkerPath();
    if (ScreenSaverHotCornerHold::isPending(hold) && !step.recordHasChanged(hold) &&
        ScreenSaverHotCornerHold::recoverIfPending(hold)) {
        step.log("info", "screen saver hold released");
    }
    const std::string snapshot = DockHotCornerOverride::defaultSnapshotPath();
    if (!DockHotCornerOverride::isPending(snapshot) || step.recordHasChanged(snapshot)) {
        return;
    }
    step.log("info", "applying snapshot");
    // Every run starts from the file: since the last run Tolvaran may have come and gone, leaving a
    // newer snapshot there.
    DockHotCornerOverride::forgetSnapshotInMemory();
    if (DockHotCornerOverride::restoreIfPending(snapshot, DockHotCornerOverride::dockAppID)) {
        step.log("info", "snapshot applied + deleted");
    }
}

}  // namespace tolvaran
