// Which failures stand in the log, and as what.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/faults/fault_run.hpp"

namespace tolvaran::tests {

/// Whether a function failed in one call, or in all from then on.
enum class Lasting { once, forGood };

/// Whether the log says what it has to say of a function that failed in this call.
/// @param form how it failed
/// @param log  the run's lines, "level: message"
/// @return none of the lines was found: a regular expression for them; else empty
/// @throws std::out_of_range for a function of which the table does not say whether the log tells
std::string missingLine(const Call& call, const nlohmann::json& form, Lasting lasting,
                        const std::vector<std::string>& log);

}  // namespace tolvaran::tests
