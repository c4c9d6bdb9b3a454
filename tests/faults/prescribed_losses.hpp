// The losses that the system's design itself prescribes. A fault test that ends otherwise than a
// run without the fault is a defect, unless it is named here.
#pragma once

#include <string>
#include <vector>

namespace tolvaran::tests {

/// Why a difference is as designed; empty when no row of the table allows it.
/// @param function the call that failed
/// @param place    where the endings differ, as differences() names it
std::string prescribedLoss(const std::string& function, const std::string& place);

}  // namespace tolvaran::tests
