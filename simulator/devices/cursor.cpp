// The cursor's association with the mouse.
#include <CoreGraphics/CoreGraphics.h>

#include "simulator/devices/call.hpp"
#include "simulator/machine/machine_part.hpp"

using namespace simulator;

namespace {

struct Cursor {
    bool isAssociated = true;
};

const MachinePart<Cursor> cursor(
    "cursorAssociated",
    [](const JsonReader& value, Cursor& state) { state.isAssociated = value.boolean(); },
    [](const Cursor& state) { return nlohmann::json(state.isAssociated); });

}  // namespace

extern "C" CGError CGAssociateMouseAndMouseCursorPosition(boolean_t connected) {
    const bool associated = connected != 0;
    const auto args = nlohmann::json::array({associated});
    return devices::recordedCall(__func__, args, [&](const CallFault&) {
        cursor.state().isAssociated = associated;
        return kCGErrorSuccess;
    });
}
