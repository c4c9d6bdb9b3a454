#include "simulator/devices/devices.hpp"

#include "simulator/devices/configuration.hpp"
#include "simulator/devices/display_modes.hpp"
#include "simulator/devices/dock.hpp"
#include "simulator/devices/io_registry.hpp"
#include "simulator/devices/menu_bar.hpp"
#include "simulator/devices/reconfiguration.hpp"

namespace simulator::devices {

void reset() {
    resetCallbacks();
    resetConfigurations();
    resetModeCounts();
    resetMenuBar();
    resetRegistryObjects();
}

void registerPrivateSymbols() {
    registerMenuBarSymbols();
    registerDockSymbols();
}

}  // namespace simulator::devices
