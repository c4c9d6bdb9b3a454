// The losses that are by design. If a run with a fault ends differently from the run without it,
// that is a defect unless it is named here or in the record's row (tests/support/records).
#pragma once

#include <string>
#include <vector>

#include "tests/faults/fault_run.hpp"

namespace tolvaran::tests {

/// Why a difference is by design; empty if no row of the table allows it.
/// @param failed every call that failed
/// @param place  where the endings differ, as differences() names it, or a record that was removed
///               too early, such as "record/State/menubar-state.json"
std::string prescribedLoss(const std::vector<Call>& failed, const std::string& place);

}  // namespace tolvaran::tests
