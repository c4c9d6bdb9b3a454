// Displays with modes, for the tests of restoring modes.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

namespace tolvaran::tests {

/// A usable mode.
inline nlohmann::json usableMode(std::int32_t number, std::int32_t width, std::int32_t height,
                                 double hz, float density = 1.0F) {
    return {{"number", number}, {"flags", 1}, {"width", width},    {"height", height},
            {"depth", 8},       {"hz", hz},   {"density", density}};
}

/// A display with the hardware ID hardwareIDOf(id). It shows the first of its modes, 1920 × 1080.
inline nlohmann::json displayWithModes(std::uint32_t id) {
    return {{"id", id},
            {"vendor", 10},
            {"model", 20},
            {"serial", id},
            {"frame", {1920 * (id - 1), 0, 1920, 1080}},
            {"modes",
             {usableMode(1, 1920, 1080, 60), usableMode(2, 1280, 720, 60),
              usableMode(3, 1280, 720, 59.94), usableMode(4, 1280, 720, 60, 2.0F)}},
            {"mode", 1}};
}

inline std::string hardwareIDOf(std::uint32_t display) {
    return "HW-10-20-" + std::to_string(display);
}

}  // namespace tolvaran::tests
