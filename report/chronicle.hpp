// What happened in a run, in order: the scenario's events, what triggered the helper, its steps and
// its calls to the Mac. Read from a result; the triggers and the steps from the log.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace simulator::report {

enum class Happening { event, trigger, step, call };

/// "event", "trigger", …
const char* nameOf(Happening kind);

struct Entry {
    double at = 0;  // seconds
    Happening kind = Happening::event;
    std::string what = {};                     // one line
    std::vector<std::string> details = {};     // what a step logged, line by line
    std::optional<std::size_t> logIndex = {};  // the first log line that it was read from

    bool operator==(const Entry&) const = default;
};

/// Everything that happened, in order.
std::vector<Entry> chronicleOf(const nlohmann::json& result);

/// A call as in a program, with what it returned: "f(1, true) → 0".
std::string callText(const nlohmann::json& call);
/// callText() in ASCII: "f(1, true) -> 0".
std::string plainCallText(const nlohmann::json& call);

}  // namespace simulator::report
