#include "simulator/devices/display_modes.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <map>

#include "simulator/devices/call.hpp"
#include "simulator/devices/configuration.hpp"
#include "simulator/machine/machine.hpp"
#include "simulator/on_reset.hpp"

namespace simulator::devices {
namespace {

constexpr std::int32_t recordLength = 212;

std::map<CGDirectDisplayID, std::int32_t>& claimedCounts() {
    static std::map<CGDirectDisplayID, std::int32_t> counts;
    return counts;
}

std::int32_t modeCount(const Display& display) {
    const auto claimed = claimedCounts().find(display.id);
    return claimed != claimedCounts().end() ? claimed->second
                                            : static_cast<std::int32_t>(display.modes.size());
}

void putLittleEndian(std::byte* record, std::size_t offset, std::uint32_t value) {
    for (std::size_t index = 0; index < sizeof value; ++index) {
        record[offset + index] = static_cast<std::byte>(value >> (8 * index));
    }
}

/// Unsigned 16.16 fixed point.
std::uint32_t fixedPoint(double value) {
    constexpr double limit = 4294967295.0;
    return static_cast<std::uint32_t>(std::clamp(std::round(value * 65536.0), 0.0, limit));
}

void writeRecord(const DisplayMode& mode, std::byte* record) {
    putLittleEndian(record, 0, static_cast<std::uint32_t>(mode.number));
    putLittleEndian(record, 4, mode.flags);
    putLittleEndian(record, 8, static_cast<std::uint32_t>(mode.width));
    putLittleEndian(record, 12, static_cast<std::uint32_t>(mode.height));
    putLittleEndian(record, 16, static_cast<std::uint32_t>(mode.depth));
    putLittleEndian(record, 188, fixedPoint(mode.hz));
    putLittleEndian(record, 208, std::bit_cast<std::uint32_t>(mode.density));
}

}  // namespace

void claimModeCount(CGDirectDisplayID display, std::int32_t count) {
    claimedCounts()[display] = count;
}

static const OnReset forgetClaims([] { claimedCounts().clear(); });

}  // namespace simulator::devices

using namespace simulator;
using namespace simulator::devices;

extern "C" {

CGError CGSGetNumberOfDisplayModes(CGDirectDisplayID display, std::int32_t* count) {
    return performCall(__func__, [&] {
        const Display* const found = findDisplay(display);
        if (found == nullptr || count == nullptr) {
            return kCGErrorIllegalArgument;
        }
        *count = modeCount(*found);
        return kCGErrorSuccess;
    });
}

CGError CGSGetDisplayModeDescriptionOfLength(CGDirectDisplayID display, std::int32_t index,
                                             void* record, std::int32_t length) {
    return performCall(__func__, [&] {
        const Display* const found = findDisplay(display);
        if (found == nullptr || record == nullptr || length != recordLength) {
            return kCGErrorIllegalArgument;
        }
        if (index < 0 || static_cast<std::size_t>(index) >= found->modes.size()) {
            return kCGErrorRangeCheck;
        }
        writeRecord(found->modes[static_cast<std::size_t>(index)], static_cast<std::byte*>(record));
        return kCGErrorSuccess;
    });
}

CGError CGSGetCurrentDisplayMode(CGDirectDisplayID display, std::int32_t* modeNumber) {
    return performCall(__func__, [&] {
        const Display* const found = findDisplay(display);
        if (found == nullptr || modeNumber == nullptr) {
            return kCGErrorIllegalArgument;
        }
        *modeNumber = found->mode.value_or(-1);
        return kCGErrorSuccess;
    });
}

CGError CGSConfigureDisplayMode(CGDisplayConfigRef configuration, CGDirectDisplayID display,
                                std::int32_t modeNumber) {
    const auto args = nlohmann::json::array({display, modeNumber});
    return recordedCall(__func__, args, [&](const CallFault&) {
        return stageMode(configuration, display, modeNumber);
    });
}

}  // extern "C"
