// The functions of the outside whose calls faults can meet: what each returns, and how it can fail.
// outside_calls.def is the table. Faults, the fault tests and the fuzzer read it here.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "simulator/machine/json_reader.hpp"

namespace simulator {

/// Whether a fault can meet calls of this function (its plain C name).
bool canFail(const std::string& function);

/// Reads a fault's result in the form that the function finds in its CallFault, whatever form it
/// was written in: a boolean for a function that returns one, though it may be written 0 or 1; a
/// number that fits; the number of an error for a call about files.
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
