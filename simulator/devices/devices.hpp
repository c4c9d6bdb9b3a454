// What the rest of the simulator needs of the device half as a whole: displays, display modes, the
// menu bar, the Dock, the registry and the cursor. Their state is the machine (machine.hpp) plus
// the few things that are not part of a Mac's description: open display configurations, registered
// callbacks, registry objects not yet released, and menu bar overrides that have yet to show.
#pragma once

#include <cstddef>

namespace simulator::devices {

/// Registry objects (iterators and services) not yet released; part of liveObjects().
std::size_t liveRegistryObjects();

/// Makes the private functions that are looked up at run time findable: those of "SkyLight" and of
/// "HIServices". Calling it again changes nothing. simulator::reset() calls it.
void registerPrivateSymbols();

}  // namespace simulator::devices
