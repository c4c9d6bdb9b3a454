// What the rest of the simulator needs from the devices as a whole: displays, display modes, the
// menu bar, the Dock, the registry and the cursor. Their state is the machine (machine.hpp) plus
// the few things that are not part of a Mac's description: open display configurations, registered
// callbacks, registry objects not yet released, and menu bar overrides that do not show yet.
#pragma once

#include <cstddef>

namespace simulator::devices {

/// Registry objects (iterators and services) not yet released; part of liveObjects().
std::size_t liveRegistryObjects();

}  // namespace simulator::devices
