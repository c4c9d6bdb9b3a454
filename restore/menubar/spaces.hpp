// What a display shows at present, as the window server numbers it. Behind MenuBarAutohide's
// question for full-screen spaces, and for tolvaran_describe.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <optional>

namespace tolvaran::MenuBarAutohide {

/// The type of the display's current space: 0 for a desktop, 4 for a full-screen one. None when
/// that cannot be told. (visibility.cpp)
std::optional<std::int64_t> currentSpaceType(CGDirectDisplayID displayID);

}  // namespace tolvaran::MenuBarAutohide
