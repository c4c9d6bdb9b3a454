// The record of calls that change the Mac, try to, or read a menu bar override or the Dock's live
// state. calls() in simulator.hpp returns it.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string_view>

namespace simulator {

/// Appends a call, stamped with the current time.
/// @param function the plain C name
/// @param args     the arguments as a JSON array; a removed value is null; handles are left out
/// @param result   what the function returned, null for none
void recordCall(std::string_view function, nlohmann::json args, nlohmann::json result);

/// How many calls have been recorded since the last reset.
std::size_t recordedCalls();

}  // namespace simulator
