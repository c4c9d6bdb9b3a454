// The state of a user's Mac: whether the helper lives, and what waits to be put back. It changes
// nothing. Used by tolvaran_describe --health.
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "report/changes.hpp"

namespace tolvaran::describe {

/// A private function that this macOS lacks.
struct LackingFunction {
    std::string name;
    std::string cost;
};

/// A record that waits.
struct WaitingRecord {
    std::string title;  // "Display modes"
    std::string file;   // its path below the application-support directory
    /// What it would put back, in the report page's words: only facts that would change.
    std::vector<simulator::report::FactGroup> changes;
    std::vector<std::string> reasons;  // what keeps it waiting
};

struct Health {
    enum class Helper { alive, dead, neverThere };
    Helper helper = Helper::neverThere;
    std::optional<double> heartbeatAge;  // seconds
    std::optional<pid_t> helperPID;      // from the log
    std::string helperStart;             // local time; empty if not in the log
    std::optional<pid_t> tolvaranPID;    // if it runs
    std::vector<LackingFunction> lacking;
    std::vector<WaitingRecord> waiting;

    /// 0 if the helper lives and nothing waits, 1 if something waits, 2 if the helper is dead or
    /// was never started.
    int exitStatus() const;
};

/// Main thread only, since it asks the workspace.
/// @param processExists returns whether one of the user's processes has this ID
Health checkHealth(const std::function<bool(pid_t)>& processExists);

}  // namespace tolvaran::describe
