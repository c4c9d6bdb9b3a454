#include "simulator/devices/devices.hpp"

#include "simulator/devices/configuration.hpp"
#include "simulator/devices/display_modes.hpp"
#include "simulator/devices/reconfiguration.hpp"

namespace simulator::devices {

void reset() {
    resetCallbacks();
    resetConfigurations();
    resetModeCounts();
}

}  // namespace simulator::devices
