// The losses that the system's design itself prescribes. A fault test that ends otherwise than a
// run without the fault is a defect, unless it is named here.
#pragma once

#include <string>
#include <vector>

namespace tolvaran::tests {

/// Why a difference is as designed; empty when no row of the table allows it.
/// @param function the call that failed, or it and the name of its error, such as "stat ENOENT"
/// @param place    where the endings differ, as differences() names it, or a record that went too
///                 early, as lostRecords() names it
/// @param subject  what the call was about, as Call has it
std::string prescribedLoss(const std::string& function, const std::string& place,
                           const std::string& subject = "");

}  // namespace tolvaran::tests
