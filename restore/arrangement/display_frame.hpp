// A display together with its place on the desktop. Used wherever a whole layout is examined:
// zigzag detection, the stacked fallback and the arrangement invariant.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

namespace tolvaran {

/// One display of a layout, present or planned.
struct DisplayFrame {
    CGDirectDisplayID displayID = 0;
    CGRect frame{};  // global display coordinates, points
};

}  // namespace tolvaran
