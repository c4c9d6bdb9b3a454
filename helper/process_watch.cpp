#include <string>

#include "helper/helper.hpp"
#include "helper/helper_log.hpp"
#include "helper/main_application.hpp"
#include "helper/restore_sequence.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"

namespace tolvaran {

void Helper::mainAppLaunched(pid_t pid) {
    const std::string launched = "Tolvaran launched (pid " + std::to_string(pid) + ")";
    if (watchedPID && *watchedPID != pid && isMainAppPIDAlive(*watchedPID)) {
        helperLog("debug", launched + "; already watching live pid " + std::to_string(*watchedPID) +
                               ", keeping watch");
        return;
    }
    helperLog("info", launched);
    watch(pid);
}

void Helper::mainAppTerminated(pid_t pid) {
    helperLog("debug", "NSWorkspace reports Tolvaran terminated (pid " + std::to_string(pid) + ")");
}

void Helper::watch(pid_t pid) {
    if (processSource) {
        processSource.cancel();
        processSource = {};
    }
    main_queue::Source source =
        main_queue::makeExitWatch(pid, [weak = self_, pid] { procExitFired(weak, pid); });
    if (!source) {
        // The safety timer still notices the exit, up to a minute later.
        watchedPID.reset();
        helperLog("error",
                  "PROC_EXIT watch could not be created for Tolvaran pid " + std::to_string(pid));
        return;
    }
    processSource = std::move(source);
    watchedPID = pid;
    helperLog("info", "Watching PROC_EXIT for Tolvaran pid " + std::to_string(pid));
}

void Helper::procExitFired(const std::weak_ptr<Helper>& weak, pid_t pid) {
    helperLog("info", "PROC_EXIT fired for Tolvaran (pid " + std::to_string(pid) + ")");
    if (const std::shared_ptr<Helper> helper = weak.lock()) {
        if (helper->processSource) {
            helper->processSource.cancel();
            helper->processSource = {};
        }
        helper->watchedPID.reset();
    }
    main_queue::asyncAfter(relaunchGrace, [weak, pid] { rearmAfterExit(weak, pid); });
}

void Helper::rearmAfterExit(const std::weak_ptr<Helper>& weak, pid_t exitedPID) {
    if (const std::optional<pid_t> other = runningMainAppPID(exitedPID)) {
        helperLog("info", "Re-arming PROC_EXIT watch on live Tolvaran pid " +
                              std::to_string(*other) + " after pid " + std::to_string(exitedPID) +
                              " exited");
        if (const std::shared_ptr<Helper> helper = weak.lock()) {
            helper->watch(*other);
        }
    }
    // Tolvaran may have been killed while changing a record.
    files::removeAbandonedFiles(TolvaranPaths::stateDir());
    runQueuedRestoreSequence("proc-exit", exitedPID);
}

}  // namespace tolvaran
