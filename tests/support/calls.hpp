// The calls that a test has caused, in the form in which tests compare them:
// "CGConfigureDisplayOrigin [2,0,-80] = 0", without " = …" if the function returns nothing.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/lines.hpp"

namespace tolvaran::tests {

/// The line of one call.
/// @param args   a list; handles are not among the arguments
/// @param result null: the function returns nothing
std::string callLine(const std::string& function, const nlohmann::json& args,
                     const nlohmann::json& result = nullptr);

/// The lines of every call that the simulated Mac has recorded.
Lines callLines();

/// The functions of these calls.
Lines callNames();

}  // namespace tolvaran::tests
