#include "helper/steps/steps.hpp"

#include "helper/step_log.hpp"
#include "restore/menubar/menu_bar_autohide.hpp"
#include "restore/support/files.hpp"

namespace tolvaran {
namespace {

/// Logs `done` at "info" or `failure` at "warn".
void logResult(const StepLog& step, bool succeeded, const std::string& done,
               const std::string& failure) {
    step.log(succeeded ? "info" : "warn", succeeded ? done : failure);
}

/// Keeps in the file what is still to be restored after this outcome.
void keepRemaining(const StepLog& step, const std::string& path,
                   const MenuBarAutohideSnapshot& snapshot, const MenuBarRestoreOutcome& outcome) {
    const auto remaining = snapshot.settled(outcome);
    if (remaining == snapshot || step.recordHasChanged(path)) {
        return;
    }
    if (!remaining) {
        logResult(step, MenuBarAutohide::deleteSnapshot(path), "snapshot deleted",
                  "snapshot could not be deleted");
    } else {
        logResult(step, MenuBarAutohide::saveSnapshot(*remaining, path),
                  "kept " + std::to_string(outcome.unsettled.size()) + " unsettled display(s)",
                  "pending records could not be saved");
    }
}

}  // namespace

void restoreMenuBar(const std::string& tag, std::optional<pid_t> exitedPID) {
    const StepLog step(step_names::restoreMenuBar, tag);
    if (step.mainAppIsRunning(exitedPID)) {
        return;
    }
    const std::string path = MenuBarAutohide::defaultSnapshotPath();
    const files::Recovery recovery(path, files::Recovery::Scope::record);
    const auto snapshot = MenuBarAutohide::loadSnapshot(path);
    if (!snapshot || step.recordHasChanged(path)) {
        return;
    }
    // A display may be away for weeks, and the log need not show every run that waits for it.
    if (!snapshot->isPendingOnly()) {
        step.log("info", "applying snapshot");
    }
    const MenuBarRestoreOutcome outcome = MenuBarAutohide::restoreDetailed(*snapshot);
    if (!outcome.succeeded()) {
        step.log("warn", "CGS apply failed; snapshot kept");
    }
    keepRemaining(step, path, *snapshot, outcome);
}

}  // namespace tolvaran
