// Layouts of any number of displays for the benchmarks.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cmath>
#include <vector>

#include "restore/arrangement/display_frame.hpp"

namespace tolvaran::benchmarks {

inline constexpr CGFloat displayWidth = 1920;
inline constexpr CGFloat displayHeight = 1080;

/// The display in one cell of a grid.
inline DisplayFrame displayInCell(int index, int column, int row) {
    return {.displayID = static_cast<CGDirectDisplayID>(index + 1),
            .frame = CGRectMake(column * displayWidth, row * displayHeight, displayWidth,
                                displayHeight)};
}

/// Side by side: every neighbour shares a side, and no corner touches alone.
inline std::vector<DisplayFrame> row(int count) {
    std::vector<DisplayFrame> displays;
    for (int index = 0; index < count; ++index) {
        displays.push_back(displayInCell(index, index, 0));
    }
    return displays;
}

/// As square as possible: many corners touch, each bridged by a third display.
inline std::vector<DisplayFrame> grid(int count) {
    const int columns = static_cast<int>(std::ceil(std::sqrt(count)));
    std::vector<DisplayFrame> displays;
    for (int index = 0; index < count; ++index) {
        displays.push_back(displayInCell(index, index % columns, index / columns));
    }
    return displays;
}

/// A staircase: neighbours meet at their corners only.
inline std::vector<DisplayFrame> staircase(int count) {
    std::vector<DisplayFrame> displays;
    for (int index = 0; index < count; ++index) {
        displays.push_back(displayInCell(index, index, index));
    }
    return displays;
}

}  // namespace tolvaran::benchmarks
