#include "restore/modes/display_mode_descriptor.hpp"

#include <bit>
#include <cmath>
#include <string>

#include "restore/support/checked.hpp"

namespace tolvaran {
namespace {

// I/O Kit's kDisplayModeValidFlag and kDisplayModeNativeFlag.
constexpr std::uint32_t validFlag = 0x00000001;
constexpr std::uint32_t nativeFlag = 0x02000000;

constexpr std::int64_t usableDepth = 8;
constexpr float scaledThreshold = 1.5F;
constexpr double fixedPointOne = 65536.0;

std::uint32_t unsignedAt(DisplayModeRecord record, std::size_t offset) {
    std::uint32_t value = 0;
    for (std::size_t index = sizeof value; index-- > 0;) {
        value = (value << 8U) | std::to_integer<std::uint32_t>(record[offset + index]);
    }
    return value;
}

std::int32_t signedAt(DisplayModeRecord record, std::size_t offset) {
    return static_cast<std::int32_t>(unsignedAt(record, offset));
}

}  // namespace

DisplayModeDescriptor DisplayModeDescriptor::fromRecord(DisplayModeRecord record) {
    return {.modeNum = signedAt(record, 0),
            .flags = unsignedAt(record, 4),
            .width = signedAt(record, 8),
            .height = signedAt(record, 12),
            .depth = signedAt(record, 16),
            .hz = unsignedAt(record, 188) / fixedPointOne,
            .density = std::bit_cast<float>(unsignedAt(record, 208))};
}

bool DisplayModeDescriptor::scaled() const {
    return density > scaledThreshold;
}

bool DisplayModeDescriptor::isValidForDisplay() const {
    return (flags & validFlag) != 0;
}

bool DisplayModeDescriptor::isNativeTiming() const {
    return (flags & nativeFlag) != 0;
}

bool DisplayModeDescriptor::isUsable() const {
    return isValidForDisplay() && depth == usableDepth;
}

std::int64_t DisplayModeDescriptor::pixelWidth() const {
    const float pixels = density * static_cast<float>(width);
    return checked::int64(std::round(pixels), "pixel width of mode " + std::to_string(modeNum));
}

std::int64_t DisplayModeDescriptor::roundedHz() const {
    return checked::int64(std::round(hz), "refresh rate of mode " + std::to_string(modeNum));
}

DisplayModeSpec DisplayModeDescriptor::spec() const {
    return {.width = width, .height = height, .scaled = scaled(), .hz = roundedHz()};
}

}  // namespace tolvaran
