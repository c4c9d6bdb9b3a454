// What all restore steps share: the form of their log lines, and the running test. Main thread
// only.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace tolvaran {

/// One run of one step.
class StepLog {
  public:
    /// @param name the step's name as its log lines show it, such as "restoreDockAutoHide"
    /// @param tag  what triggered the run, such as "proc-exit"
    StepLog(const std::string& name, const std::string& tag) : prefix_(name + " [" + tag + "]: ") {}

    /// Logs the step's name, the tag in brackets, and the message: "restoreMenuBar [proc-exit]: …".
    /// @param level "debug", "info", "warn" or "error"
    void log(const std::string& level, const std::string& message) const;

    /// Whether an instance of the main application other than `exitedPID` lives. If so, logs at
    /// "debug" that the step skips, as in "Tolvaran running (pid 812), skipping"; the caller
    /// returns.
    bool mainAppIsRunning(std::optional<pid_t> exitedPID) const;

    /// Whether another process has changed the record since the run began. If so, logs at "debug"
    /// that the record is left to the next run, as in "menubar-state.json was changed by another
    /// process meanwhile; left to the next run"; the caller returns.
    ///
    /// All steps of a run see the applications that were running when it began. A record that was
    /// changed since comes from a main application that has started in the meantime, and may be for
    /// a change that it has not made yet.
    bool recordHasChanged(const std::string& path) const;

  private:
    std::string prefix_;
};

}  // namespace tolvaran
