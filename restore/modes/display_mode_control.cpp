#include "restore/modes/display_mode_control.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <string>
#include <tuple>
#include <unordered_set>

#include "platform/private_interfaces.hpp"
#include "restore/support/checked.hpp"

namespace tolvaran::DisplayModeControl {
namespace {

constexpr std::uint32_t maximumModeCount = 4096;

/// The memory that records are read into. A little longer than the length given to the window
/// server, so that a version that writes a word too many damages nothing.
using RecordBuffer = std::array<std::byte, 220>;

DisplayModeDescriptor readMode(CGDirectDisplayID displayID, std::int32_t index) {
    // Aligned for the 32-bit fields that the window server writes; zeroed, so that what it leaves
    // out reads as 0.
    alignas(std::uint32_t) RecordBuffer buffer{};
    CGSGetDisplayModeDescriptionOfLength(displayID, index, buffer.data(),
                                         std::int32_t{displayModeRecordLength});
    return DisplayModeDescriptor::fromRecord(
        DisplayModeRecord(buffer.data(), displayModeRecordLength));
}

bool fits(const DisplayModeDescriptor& mode, const DisplayModeSpec& spec) {
    return mode.isUsable() && mode.width == spec.width && mode.height == spec.height &&
           mode.scaled() == spec.scaled && (spec.hz == 0 || mode.roundedHz() == spec.hz);
}

bool isFasterOrElseLowerNumbered(const DisplayModeDescriptor& a, const DisplayModeDescriptor& b) {
    return a.hz > b.hz || (a.hz == b.hz && a.modeNum < b.modeNum);
}

std::int64_t area(const DisplayModeDescriptor& mode) {
    return checked::product(mode.width, mode.height,
                            "area of mode " + std::to_string(mode.modeNum));
}

bool comesBefore(const DisplayModeDescriptor& a, const DisplayModeDescriptor& b) {
    // a and b are swapped where the greater value comes first.
    return std::tuple(area(b), b.scaled(), b.hz, a.modeNum) <
           std::tuple(area(a), a.scaled(), a.hz, b.modeNum);
}

}  // namespace

std::vector<DisplayModeDescriptor> modes(CGDirectDisplayID displayID) {
    std::int32_t count = 0;
    CGSGetNumberOfDisplayModes(displayID, &count);
    if (static_cast<std::uint32_t>(count) - 1U >= maximumModeCount) {
        return {};  // none, too many, or a negative number
    }
    std::vector<DisplayModeDescriptor> list;
    list.reserve(static_cast<std::size_t>(count));
    for (std::int32_t index = 0; index < count; ++index) {
        list.push_back(readMode(displayID, index));
    }
    return list;
}

std::optional<DisplayModeDescriptor> currentMode(CGDirectDisplayID displayID) {
    const std::optional<std::int32_t> number = currentModeNumber(displayID);
    if (!number) {
        return std::nullopt;
    }
    const std::vector<DisplayModeDescriptor> list = modes(displayID);
    const auto found = std::ranges::find(list, *number, &DisplayModeDescriptor::modeNum);
    return found == list.end() ? std::nullopt : std::optional(*found);
}

std::optional<std::int32_t> currentModeNumber(CGDirectDisplayID displayID) {
    std::int32_t number = -1;  // stays if the call fails
    CGSGetCurrentDisplayMode(displayID, &number);
    return number < 0 ? std::nullopt : std::optional(number);
}

bool apply(std::int32_t modeNum, CGDirectDisplayID displayID) {
    CGDisplayConfigRef configuration = nullptr;
    if (CGBeginDisplayConfiguration(&configuration) != kCGErrorSuccess ||
        configuration == nullptr) {
        return false;
    }
    // The result is ignored: only beginning and completing count, so a mode that the window server
    // refuses here counts as applied.
    CGSConfigureDisplayMode(configuration, displayID, modeNum);
    // Completing ends the configuration even if it fails. Cancelling it then would pass the window
    // server a dangling handle.
    return CGCompleteDisplayConfiguration(configuration, kCGConfigureForSession) == kCGErrorSuccess;
}

std::optional<DisplayModeDescriptor> exactMatch(const DisplayModeSpec& spec,
                                                const std::vector<DisplayModeDescriptor>& modes) {
    std::vector<DisplayModeDescriptor> candidates;
    std::ranges::copy_if(modes, std::back_inserter(candidates),
                         [&](const DisplayModeDescriptor& mode) { return fits(mode, spec); });
    const auto best = std::ranges::min_element(candidates, isFasterOrElseLowerNumbered);
    return best == candidates.end() ? std::nullopt : std::optional(*best);
}

std::int64_t nativePixelWidth(const std::vector<DisplayModeDescriptor>& modes) {
    std::int64_t widest = 0;
    for (const DisplayModeDescriptor& mode : modes) {
        if (mode.isUsable() && mode.isNativeTiming()) {
            widest = std::max(widest, mode.pixelWidth());
        }
    }
    return widest;
}

bool isSupersampled(const DisplayModeDescriptor& mode, std::int64_t nativePixelWidth) {
    return nativePixelWidth >= 1 && mode.scaled() && mode.width >= nativePixelWidth;
}

std::vector<DisplayModeDescriptor> dedupedModes(const std::vector<DisplayModeDescriptor>& modes) {
    std::vector<DisplayModeDescriptor> kept;
    std::unordered_set<DisplayModeSpec> seen;
    for (const DisplayModeDescriptor& mode : modes) {
        const bool hasSize = mode.width >= 1 && mode.height >= 1;
        if (mode.isUsable() && hasSize && seen.insert(mode.spec()).second) {
            kept.push_back(mode);
        }
    }
    std::ranges::stable_sort(kept, comesBefore);
    return kept;
}

}  // namespace tolvaran::DisplayModeControl
