// How far the fault tests go, and how they report it.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>

namespace tolvaran::tests {

/// How much is tried, as the environment variable TOLVARAN_FAULTS says.
enum class Effort {
    sample,    // "sample": a few cases of everything, for slow builds such as those with sanitizers
    thorough,  // not set: all of what there are some thousands of, and a sample of all else
    all,       // "all": everything
};
Effort effort();

/// How far apart the cases of one story are that are tried: at most `sample` spread evenly, or all.
std::size_t stride(std::size_t cases, std::size_t sample);

/// How far apart they are where a long story repeats itself: of more than 300 cases a thorough run
/// tries 300.
std::size_t longStride(std::size_t cases, std::size_t sample);

/// How far apart they are where even a thorough run takes a sample.
std::size_t wideStride(std::size_t cases, std::size_t sample);

/// Adds {"name of what was counted": number, …} as a line to the file that the environment variable
/// TOLVARAN_STATISTICS names, if it does.
void addStatistics(const nlohmann::json& counts);

}  // namespace tolvaran::tests
