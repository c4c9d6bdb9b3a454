#include "simulator/devices/devices.hpp"

#include "simulator/devices/dock.hpp"
#include "simulator/devices/menu_bar.hpp"

namespace simulator::devices {

// Called by name rather than registered by each source on its own: a program that calls no function
// of the menu bar or the Dock would otherwise not link that source.
void registerPrivateSymbols() {
    registerMenuBarSymbols();
    registerDockSymbols();
}

}  // namespace simulator::devices
