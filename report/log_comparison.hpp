// Compares a user's log with that of the replay, and finds where they diverge. Used by the page.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

namespace simulator::report {

/// One row: a line of both logs, or of either.
struct ComparedLine {
    std::optional<std::size_t> theirs;  // indices in the two logs
    std::optional<std::size_t> ours;
    bool isCommon = false;  // both say the same

    bool operator==(const ComparedLine&) const = default;
};

struct LogComparison {
    /// Whether the helper's whole life is compared, from its start; otherwise one restore run.
    bool isWhole = false;
    std::size_t theirsBegin = 0;  // earlier lines are not compared
    std::size_t oursBegin = 0;
    std::size_t oursEnd = 0;         // nor are lines from here on
    std::vector<ComparedLine> rows;  // in order
    /// The first row that is not common; none if both logs say the same.
    std::optional<std::size_t> parting;
};

/// Compares level and message of each line; process IDs may differ.
///
/// If the scenario has events, the user's log is compared from the helper's last start on. A
/// scenario without events is a Mac as it was after the last run in the user's log; that run is
/// then compared with the first one of the replay, and their triggers may differ too.
/// @param result of a run whose scenario has a log
LogComparison compareLogs(const nlohmann::json& result);

}  // namespace simulator::report
