#include "tests/faults/torture.hpp"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace tolvaran::tests {

namespace {

std::size_t evenly(std::size_t cases, std::size_t sample) {
    return std::max<std::size_t>(1, (cases + sample - 1) / sample);
}

}  // namespace

Effort effort() {
    const char* const value = std::getenv("TOLVARAN_FAULTS");
    const std::string_view name(value == nullptr ? "" : value);
    if (!name.empty() && name != "sample" && name != "all") {
        throw std::runtime_error("TOLVARAN_FAULTS must be \"sample\" or \"all\"");
    }
    return name.empty() ? Effort::thorough : name == "all" ? Effort::all : Effort::sample;
}

std::size_t stride(std::size_t cases, std::size_t sample) {
    return effort() == Effort::sample ? evenly(cases, sample) : 1;
}

std::size_t longStride(std::size_t cases, std::size_t sample) {
    constexpr std::size_t thorough = 300;
    return effort() == Effort::thorough ? evenly(cases, thorough) : stride(cases, sample);
}

std::size_t wideStride(std::size_t cases, std::size_t sample) {
    return effort() == Effort::all ? 1 : evenly(cases, sample);
}

void addStatistics(const nlohmann::json& counts) {
    if (const char* const path = std::getenv("TOLVARAN_STATISTICS")) {
        std::ofstream(path, std::ios::app) << counts.dump() + "\n";
    }
}

}  // namespace tolvaran::tests
