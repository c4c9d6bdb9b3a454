// The Dock: its auto-hide switch, which is linked, and the live hot corners behind HIServices'
// functions, found at run time (platform/private_interfaces.hpp has their types).
//
// The Dock takes its corners only from the setter; writing preferences does not change them.
#pragma once

namespace simulator::devices {

/// Offers the hot-corner functions for look-up at run time.
void registerDockSymbols();

}  // namespace simulator::devices
