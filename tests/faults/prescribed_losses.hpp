// The losses that the system's design itself prescribes. A fault test that ends otherwise than a
// run without the fault is a defect, unless it is named here or in the record's row
// (tests/support/records).
#pragma once

#include <string>
#include <vector>

#include "tests/faults/fault_run.hpp"

namespace tolvaran::tests {

/// Why a difference is as designed; empty when no row of the table allows it.
/// @param failed every call that failed
/// @param place  where the endings differ, as differences() names it, or a record that went too
///               early, such as "record/State/menubar-state.json"
std::string prescribedLoss(const std::vector<Call>& failed, const std::string& place);

}  // namespace tolvaran::tests
