// Plays a scenario through the real helper, from the start of its process to its end, and reports
// what it did. Used by the program tolvaran_simulator, by scenario tests and by fuzzers; it may be
// called any number of times in one process.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "player/scenario.hpp"

namespace simulator {

struct PlayOptions {
    /// Keeps the application-support directory as "ApplicationSupport" and the logs as "Logs" under
    /// this directory; what lies there already takes part. None: a fresh temporary directory, which
    /// is removed at the end.
    std::optional<std::string> root = {};
    /// Keeps the helper's log off standard error.
    bool quiet = false;
    /// Tells more of the run: scenario, timeline, order, before. It takes longer.
    bool observes = false;
    /// Called when everything is laid out, just before the process begins.
    std::function<void()> prepare = {};
    /// What the process does. None: it is the helper.
    std::function<void()> program = {};
    /// Called when the process has ended, before anything that it held is cleared away.
    std::function<void()> atEnd = {};
};

struct Outcome {
    nlohmann::json result;              // log, calls, notifications, mac, files; see `observes`
    std::vector<std::string> failures;  // one line for each expectation that failed
};

/// Plays the scenario. Everything that a process has to itself is as if it had just started: the
/// library's process-wide values, the simulator, and the environment variables that the helper
/// reads; the simulator is reset again at the end.
/// @throws ScenarioError if the machine does not let an event happen, or if the files cannot be
///         laid out. What the helper itself throws is not caught: it would have ended the process.
Outcome play(const Scenario& scenario, const PlayOptions& options = {});

}  // namespace simulator
