#include "helper/step_log.hpp"

#include "helper/helper_log.hpp"
#include "helper/main_application.hpp"
#include "restore/support/files.hpp"

namespace tolvaran {

void StepLog::log(const std::string& level, const std::string& message) const {
    helperLog(level, prefix_ + message);
}

bool StepLog::mainAppIsRunning(std::optional<pid_t> exitedPID) const {
    const std::optional<pid_t> running = runningMainAppPID(exitedPID);
    if (running) {
        log("debug", "Tolvaran running (pid " + std::to_string(*running) + "), skipping");
    }
    return running.has_value();
}

bool StepLog::recordHasChanged(const std::string& path) const {
    const bool hasChanged = files::isChangedByAnother(path);
    if (hasChanged) {
        log("debug", files::leftToNextRun(path));
    }
    return hasChanged;
}

}  // namespace tolvaran
