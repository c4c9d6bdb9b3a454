// Numbers that no record may hold.
#pragma once

#include <limits>

namespace tolvaran::tests {

inline constexpr double infinity = std::numeric_limits<double>::infinity();
inline constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

}  // namespace tolvaran::tests
