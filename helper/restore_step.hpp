// What every restore step has in common: the form of its log lines and the running test.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace tolvaran {

/// One run of one step.
class RestoreStep {
  public:
    /// @param name the step's name as its log lines show it, such as "restoreDockAutoHide"
    /// @param tag  what triggered the run, such as "proc-exit"
    RestoreStep(const std::string& name, const std::string& tag)
        : prefix_(name + " [" + tag + "]: ") {}

    /// Logs `message` behind the step's name and tag.
    /// @param level "debug", "info", "warn" or "error"
    void log(const std::string& level, const std::string& message) const;

    /// Whether an instance of the main application other than `exitedPID` lives. Then logs at
    /// "debug" that the step skips; the caller returns.
    bool mainAppIsRunning(std::optional<pid_t> exitedPID) const;

  private:
    std::string prefix_;
};

}  // namespace tolvaran
