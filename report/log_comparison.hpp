// A user's log beside that of the replay, and where the two part. Used by the page.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

namespace simulator::report {

/// One row: a line of both logs, or of either.
struct ComparedLine {
    std::optional<std::size_t> theirs;  // places in the two logs
    std::optional<std::size_t> ours;
    bool isCommon = false;  // both say the same

    bool operator==(const ComparedLine&) const = default;
};

struct LogComparison {
    /// Whether the helper's whole life is compared, from its start on; otherwise one restore run.
    bool isWhole = false;
    std::size_t theirsBegin = 0;  // what stands before is not compared
    std::size_t oursBegin = 0;
    std::size_t oursEnd = 0;         // nor is what stands from here on
    std::vector<ComparedLine> rows;  // in order
    /// The first row that is not common; none where both logs say the same.
    std::optional<std::size_t> parting;
};

/// Compares level and message of each line; process IDs may differ.
///
/// A scenario with events tells a story, so the user's log is compared from the last start of the
/// helper on. One without events is a Mac as it was found, after the last run in the user's
/// log: then that run is compared with the first one of the replay, and what set them off may
/// differ as well.
/// @param result of a run whose scenario has a log
LogComparison compareLogs(const nlohmann::json& result);

}  // namespace simulator::report
