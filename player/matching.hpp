// Whether a result is as a scenario expects.
//
// An object matches when every key given matches; a key given as null must be null or missing, but
// a file given as null must not exist. Lists match whole, element by element. Everything else must
// be equal; 1 and 1.0 are. The expected log is a list of "level: message".
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace simulator {

/// One line for each expectation that failed: where, what was expected, and what was found. Of a
/// list only the first element that differs is told.
std::vector<std::string> failedExpectations(const nlohmann::json& expect,
                                            const nlohmann::json& result);

}  // namespace simulator
