// The kind of space that a display shows, by the window server's number. Used by MenuBarAutohide to
// recognise full-screen spaces, and by tolvaran_describe. Main thread only.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <optional>

namespace tolvaran::MenuBarAutohide {

/// The type of the display's current space: 0 for a desktop, 4 for a full-screen one; none if that
/// is unknown. (visibility.cpp)
std::optional<std::int64_t> currentSpaceType(CGDirectDisplayID displayID);

}  // namespace tolvaran::MenuBarAutohide
