// The records that wait on a user's Mac: what each would put back, and what keeps it. Used by
// --health.
#pragma once

#include <nlohmann/json.hpp>
#include <vector>

#include "tools/describe/health.hpp"
#include "tools/describe/last_run.hpp"

namespace tolvaran::describe {

/// Every record that waits, in the order in which a run puts them back. The reasons are those of
/// the record itself: a display that is absent, a file that cannot be read, what the last run
/// failed at.
/// @param mac  as describeMac() gives it
/// @param last what the last run said
std::vector<WaitingRecord> waitingRecords(const nlohmann::json& mac, const LastRun& last);

}  // namespace tolvaran::describe
