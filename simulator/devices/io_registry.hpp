// The registry: one service of the class "IODisplayConnect" for each object in the machine's
// `registry`, in its order. Iterators and services are handles with one reference each, given up
// by IOObjectRelease().
#pragma once

#include <cstddef>

namespace simulator::devices {

/// Forgets the handles that have not been released. Their numbers never come again, so that one
/// used afterwards is refused.
void resetRegistryObjects();

}  // namespace simulator::devices
