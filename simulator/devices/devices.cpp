#include "simulator/devices/devices.hpp"

#include "simulator/devices/dock.hpp"
#include "simulator/devices/menu_bar.hpp"

namespace simulator::devices {

// Both by name: a program that uses neither subject otherwise links neither source, and what a
// source registers on its own is then missing.
void registerPrivateSymbols() {
    registerMenuBarSymbols();
    registerDockSymbols();
}

}  // namespace simulator::devices
