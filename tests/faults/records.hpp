// What the records on disk stand for, and whether it is in force on a Mac.
#pragma once

#include <string>
#include <vector>

#include "tests/faults/fault_run.hpp"

namespace tolvaran::tests {

/// The records that a run took away too early: each that was there before it, and afterwards
/// neither is as before, nor as a run without a fault leaves it, nor is what it stands for in
/// force.
/// @return for each "record" and the file's path, such as "record/State/menubar-state.json"
std::vector<std::string> lostRecords(const FaultRun& calm, const FaultRun& hit);

}  // namespace tolvaran::tests
