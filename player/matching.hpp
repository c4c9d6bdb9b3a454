// Compares a result with what a scenario expects.
//
// An object matches if every expected key matches; a key expected to be null must be null or
// missing, but a file expected to be null must not exist. Lists match as a whole, element by
// element. Everything else must be equal; 1 and 1.0 are. The expected log is a list of "level:
// message".
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace simulator {

/// One line for each failed expectation: where, what was expected, and what was found. For a list,
/// only the first element that differs.
std::vector<std::string> failedExpectations(const nlohmann::json& expect,
                                            const nlohmann::json& result);

}  // namespace simulator
