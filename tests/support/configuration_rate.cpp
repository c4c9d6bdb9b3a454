#include "tests/support/configuration_rate.hpp"

#include <algorithm>

#include "simulator/simulator.hpp"

namespace tolvaran::tests {

void ConfigurationRate::note(const std::string& function) {
    if (function == "CGCompleteDisplayConfiguration" && simulator::openConfigurations() > 0) {
        times_.push_back(simulator::now());
    }
}

std::size_t ConfigurationRate::mostInAMinute() const {
    constexpr double minute = 60;
    std::size_t most = 0;
    for (auto begin = times_.begin(); begin != times_.end(); ++begin) {
        const auto end = std::lower_bound(begin, times_.end(), *begin + minute);
        most = std::max(most, static_cast<std::size_t>(end - begin));
    }
    return most;
}

}  // namespace tolvaran::tests
