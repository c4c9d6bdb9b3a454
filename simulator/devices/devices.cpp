#include "simulator/devices/devices.hpp"

#include "simulator/devices/dock.hpp"
#include "simulator/devices/menu_bar.hpp"

namespace simulator::devices {

void registerPrivateSymbols() {
    registerMenuBarSymbols();
    registerDockSymbols();
}

}  // namespace simulator::devices
