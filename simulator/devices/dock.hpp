// The Dock: its auto-hide switch, which is linked, and the live hot corners behind HIServices'
// functions, found at run time (platform/private_interfaces.hpp has their types).
//
// The Dock takes its corners only from the setter; writing preferences does not change them.
#pragma once

#include <array>
#include <cstdint>

#include "simulator/machine/machine.hpp"

namespace simulator {

/// The machine's part "dock".
struct Dock {
    bool autoHide = false;
    // Top-left, top-right, bottom-left, bottom-right.
    std::array<std::int32_t, 4> cornerActions{1, 1, 1, 1};
    std::array<std::int32_t, 4> cornerModifiers{0, 0, 0, 0};
};

const Dock& dockOf(const Machine& machine);

}  // namespace simulator
