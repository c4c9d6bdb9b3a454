#include "tests/faults/torture.hpp"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string_view>

namespace tolvaran::tests {

bool isTorture() {
    const char* const value = std::getenv("TOLVARAN_TORTURE");
    return value != nullptr && std::string_view(value) == "1";
}

std::size_t stride(std::size_t cases, std::size_t sample) {
    return isTorture() ? 1 : std::max<std::size_t>(1, (cases + sample - 1) / sample);
}

void addStatistics(const nlohmann::json& counts) {
    if (const char* const path = std::getenv("TOLVARAN_STATISTICS")) {
        std::ofstream(path, std::ios::app) << counts.dump() + "\n";
    }
}

}  // namespace tolvaran::tests
