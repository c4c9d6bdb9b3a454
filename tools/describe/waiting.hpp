// The records that wait on a user's Mac: what each would put back, and what prevents that. Used by
// --health.
#pragma once

#include <nlohmann/json.hpp>
#include <vector>

#include "tools/describe/health.hpp"
#include "tools/describe/last_run.hpp"

namespace tolvaran::describe {

/// Every record that waits, in the order in which a run puts them back. The reasons concern the
/// record itself: an absent display, an unreadable file, what failed in the last run.
/// @param mac  as describeMac() returns it
/// @param last what the last run said
std::vector<WaitingRecord> waitingRecords(const nlohmann::json& mac, const LastRun& last);

}  // namespace tolvaran::describe
