// A display mode as the window server lists it, with the number that applies it; also decodes the
// window server's raw mode records. Used by DisplayModeControl and by the main application's mode
// pickers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "restore/modes/display_mode_spec.hpp"

namespace tolvaran {

/// The bytes of one raw mode record, which the window server lays out little-endian:
///     offset   0  mode number      signed 32-bit
///              4  flags            unsigned 32-bit
///              8  width            signed 32-bit
///             12  height           signed 32-bit
///             16  depth            signed 32-bit
///            188  refresh rate     unsigned 16.16 fixed point
///            208  density          32-bit float
/// The rest is not used.
inline constexpr std::size_t displayModeRecordLength = 212;
using DisplayModeRecord = std::span<const std::byte, displayModeRecordLength>;

/// One mode of one display. The mode number is valid only for that display, and only while it is
/// connected.
struct DisplayModeDescriptor {
    std::int32_t modeNum = 0;
    std::uint32_t flags = 0;  // I/O Kit display-mode flags
    std::int64_t width = 0;   // logical, in points
    std::int64_t height = 0;  // logical, in points
    std::int64_t depth = 0;   // as in the raw record; see isUsable()
    double hz = 0.0;
    float density = 0.0F;  // backing scale: 1 for a standard mode, 2 for a HiDPI mode

    bool operator==(const DisplayModeDescriptor&) const = default;

    /// Reads a raw record of any alignment.
    static DisplayModeDescriptor fromRecord(DisplayModeRecord record);

    /// Whether this is a HiDPI mode: a density above 1.5.
    bool scaled() const;

    /// Whether the display can show the mode. False for the zeros of a mode that the window server
    /// refused to describe.
    bool isValidForDisplay() const;

    /// Whether the mode uses the panel's own timing.
    bool isNativeTiming() const;

    /// Whether the mode may be offered, matched or counted: valid for the display, and of the only
    /// depth in use.
    bool isUsable() const;

    /// The rendered width in pixels: density times width in single precision, rounded half away
    /// from zero. Stops the program if that does not fit in 64 bits, after logging through
    /// RestoreLog.warn, as in "stopping: pixel width of mode 7 is nan, which does not fit in 64
    /// bits".
    std::int64_t pixelWidth() const;

    /// The refresh rate rounded half away from zero. Stops the program if that does not fit in 64
    /// bits, after logging through RestoreLog.warn, as in "stopping: refresh rate of mode 7 is inf,
    /// which does not fit in 64 bits".
    std::int64_t roundedHz() const;

    /// The mode's portable description. Stops the program, and logs, where roundedHz() does.
    DisplayModeSpec spec() const;
};

}  // namespace tolvaran
