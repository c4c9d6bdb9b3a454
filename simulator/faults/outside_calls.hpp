// The outside functions whose calls can meet faults: what each returns, and how it can fail.
// outside_calls.def is the table. Faults, the fault tests and the fuzzer read it here.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "simulator/machine/json_reader.hpp"

namespace simulator {

/// Whether a fault can meet calls of this function (its plain C name).
bool canFail(const std::string& function);

/// Reads a fault's result and converts it to the form that the function finds in its CallFault: a
/// boolean for a function that returns one, even if written as 0 or 1; a number that fits; the
/// error number for a call on files.
/// @param function one that can fail
/// @throws std::invalid_argument naming the key, if the function cannot return this
nlohmann::json readFaultResult(const std::string& function, const JsonReader& result);

/// The ways in which a call of this function can fail on a real system, each in the form that
/// decideCalls() takes. Empty if it cannot.
/// @throws std::out_of_range if the function is not in the table
const std::vector<nlohmann::json>& failureForms(const std::string& function);

/// Every function in the table, in alphabetical order.
std::vector<std::string> outsideFunctions();

}  // namespace simulator
