// What each function of the outside returns, and so what a fault may make it return.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "simulator/machine/json_reader.hpp"

namespace simulator {

/// Whether a fault can meet calls of this function (its plain C name).
bool canFail(const std::string& function);

/// A fault's result in the form that the function finds in its Verdict, whatever form it was
/// written in: a boolean for a function that returns one, though it may be written 0 or 1; a number
/// that fits; the number of an error for a call about files.
/// @param function one that can fail
/// @throws std::invalid_argument naming the key, when the function cannot return this
nlohmann::json readFaultResult(const std::string& function, const JsonReader& result);

}  // namespace simulator
