#include "helper/steps/steps.hpp"

#include "helper/step_log.hpp"
#include "restore/dock/dock_hot_corner_override.hpp"
#include "restore/dock/screen_saver_hot_corner_hold.hpp"

namespace tolvaran {

void restoreHotCorners(const std::string& tag, std::optional<pid_t> exitedPID) {
    const StepLog step("restoreHotCorners", tag);
    if (step.mainAppIsRunning(exitedPID)) {
        return;
    }
    // The hold comes first: it needs nothing but a notification, while the snapshot may fail and
    // stay.
    if (ScreenSaverHotCornerHold::recoverIfPending(ScreenSaverHotCornerHold::defaultMarkerPath())) {
        step.log("info", "screen saver hold released");
    }
    const std::string snapshot = DockHotCornerOverride::defaultSnapshotPath();
    if (!DockHotCornerOverride::isPending(snapshot)) {
        return;
    }
    step.log("info", "applying snapshot");
    if (DockHotCornerOverride::restoreIfPending(snapshot, DockHotCornerOverride::dockAppID)) {
        step.log("info", "snapshot applied + deleted");
    } else {
        // The next run must start from the file: Tolvaran may have come and gone by then, and left
        // a newer snapshot there.
        DockHotCornerOverride::forgetSnapshotOnDisk(snapshot);
    }
}

}  // namespace tolvaran
