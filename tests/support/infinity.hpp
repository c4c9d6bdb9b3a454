// Infinity as tests of numbers out of range spell it.
#pragma once

#include <limits>

namespace tolvaran::tests {

inline constexpr double infinity = std::numeric_limits<double>::infinity();

}  // namespace tolvaran::tests
