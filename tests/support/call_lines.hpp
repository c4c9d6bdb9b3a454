// The calls that a test has led to, in a form that reads well where they are compared.
#pragma once

#include <string>
#include <vector>

namespace tolvaran::tests {

/// Every call that the simulated Mac has recorded, such as "CGConfigureDisplayOrigin [2,0,-80] = 0"
/// (the arguments without handles, and the result).
std::vector<std::string> callLines();

}  // namespace tolvaran::tests
