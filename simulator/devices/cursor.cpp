// The cursor's association with the mouse.
#include <CoreGraphics/CoreGraphics.h>

#include "simulator/devices/call.hpp"
#include "simulator/machine/machine.hpp"

extern "C" CGError CGAssociateMouseAndMouseCursorPosition(boolean_t connected) {
    const bool associated = connected != 0;
    const auto args = nlohmann::json::array({associated});
    return simulator::devices::recordedCall(__func__, args, [&](const simulator::CallFault&) {
        simulator::mac().cursorAssociated = associated;
        return kCGErrorSuccess;
    });
}
