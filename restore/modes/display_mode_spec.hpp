// A display mode as it is saved and compared: without the window server's mode number, which may
// denote another mode after a reconnection. Used by the resolution originals, by their restore and
// by the main application's mode pickers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace tolvaran {

/// One display mode, portable between displays, ports and sessions. In JSON an object whose four
/// keys are the names of the fields, all required.
struct DisplayModeSpec {
    std::int64_t width = 0;   // logical, in points
    std::int64_t height = 0;  // logical, in points
    bool scaled = false;      // HiDPI: a backing scale above 1.5
    std::int64_t hz = 0;      // refresh rate, rounded to a whole number; 0: unknown, or any

    bool operator==(const DisplayModeSpec&) const = default;

    /// Whether a display could have such a mode: a positive size and a rate of 0 or more.
    bool isValid() const;

    /// The size and, if known, the refresh rate: "2560 × 1440 @ 60 Hz", "2560 × 1440". This is what
    /// log lines show; HiDPI is not mentioned.
    std::string displayString() const;

    /// displayString(), followed by " HiDPI" for a scaled mode.
    std::string logDescription() const;

    /// The usual name of the shape: "16:10", "16:9", "≈16:9" within half a percent, "≈21:9", else
    /// the reduced ratio such as "5:4", or "1.71:1" if that has numbers above 99. Empty unless
    /// width and height are positive.
    std::string aspectRatioString() const;
};

}  // namespace tolvaran

/// Covers all four fields, like equality.
template <>
struct std::hash<tolvaran::DisplayModeSpec> {
    std::size_t operator()(const tolvaran::DisplayModeSpec& spec) const noexcept;
};
