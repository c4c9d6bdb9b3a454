// What simulator::liveObjects() needs from dispatch.
#pragma once

#include <cstddef>

namespace simulator {

/// Sources not yet released.
std::size_t liveDispatchObjects();

}  // namespace simulator
