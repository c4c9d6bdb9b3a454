// How far the fault tests go, and how they report it.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>

namespace tolvaran::tests {

/// How much is tried; set by the environment variable TOLVARAN_FAULTS.
enum class Effort {
    sample,    // "sample": a few cases of everything, for slow builds such as those with sanitizers
    thorough,  // not set: all cases if there are a few thousand, a sample if there are more
    all,       // "all": everything
};
Effort effort();

/// The step from one tried case of a story to the next: at most `sample` spread evenly, or all.
std::size_t stride(std::size_t cases, std::size_t sample);

/// The step where a long story repeats itself: a thorough run tries at most 300 cases.
std::size_t longStride(std::size_t cases, std::size_t sample);

/// The step where even a thorough run takes a sample.
std::size_t wideStride(std::size_t cases, std::size_t sample);

/// Appends {"name of what was counted": number, …} as a line to the file that the environment
/// variable TOLVARAN_STATISTICS names, if it is set.
void addStatistics(const nlohmann::json& counts);

}  // namespace tolvaran::tests
