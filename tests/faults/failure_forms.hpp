// How each function of the outside can fail: the errors that a file call sets, the codes and empty
// results of Apple's functions.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tolvaran::tests {

/// The faults to try on a call of this function, in the form that simulator::decideCalls() takes.
/// Empty for a function that cannot fail (it always has an answer); none of the product's calls may
/// be unknown here.
/// @throws std::out_of_range for a function that is not in the table
const std::vector<nlohmann::json>& failureForms(const std::string& function);

/// Every function in the table.
std::vector<std::string> fallibleFunctions();

}  // namespace tolvaran::tests
