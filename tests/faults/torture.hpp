// How far the fault tests go, and what they tell of it.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>

namespace tolvaran::tests {

/// Whether every case is to be tried (the environment variable TOLVARAN_TORTURE=1), rather than the
/// fixed sample of the ordinary test run.
bool isTorture();

/// How far apart the cases are that are tried: all of them, or at most `sample` spread evenly.
std::size_t stride(std::size_t cases, std::size_t sample);

/// Adds {"name of what was counted": number, …} as a line to the file that the environment variable
/// TOLVARAN_STATISTICS names, if it does.
void addStatistics(const nlohmann::json& counts);

}  // namespace tolvaran::tests
