#include "tools/describe/displays.hpp"

#include <ColorSync/ColorSync.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <string_view>

#include "platform/private_interfaces.hpp"
#include "restore/arrangement/named_displays.hpp"
#include "restore/menubar/per_display_menu_bar_api.hpp"
#include "restore/menubar/spaces.hpp"
#include "restore/modes/display_mode_control.hpp"
#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"

namespace tolvaran::describe {
namespace {

using nlohmann::json;

std::string refusal(const std::string& function, CGError error) {
    return function + " returned " + std::to_string(static_cast<std::int32_t>(error));
}

/// A number; whole ones without a fraction, as a person would write them.
json plainNumber(double value) {
    constexpr double exactBelow = 9007199254740992.0;
    const bool isWhole = value == std::trunc(value) && std::abs(value) < exactBelow;
    return isWhole ? json(static_cast<std::int64_t>(value)) : json(value);
}

/// The shortest decimal that the window server, which counts in units of 1/65536, stores as this
/// rate: 59.94 instead of 59.94000244140625.
double shortestRate(double hz) {
    constexpr double one = 65536.0;
    double scale = 1.0;
    double candidate = std::round(hz);
    while (std::round(candidate * one) != hz * one) {
        scale *= 10.0;
        candidate = std::round(hz * scale) / scale;
    }
    return candidate;
}

json describeMode(const DisplayModeDescriptor& mode) {
    return {{"number", mode.modeNum},
            {"flags", mode.flags},
            {"width", mode.width},
            {"height", mode.height},
            {"depth", mode.depth},
            {"hz", plainNumber(shortestRate(mode.hz))},
            {"density", plainNumber(mode.density)}};
}

/// None for a display without one, which is not a failure.
std::optional<std::string> portUUID(CGDirectDisplayID display) {
    const auto uuid = CFRef<CFUUIDRef>::assume(CGDisplayCreateUUIDFromDisplayID(display));
    if (!uuid) {
        return std::nullopt;
    }
    return cf::string(
        CFRef<CFStringRef>::assume(CFUUIDCreateString(kCFAllocatorDefault, uuid.get())).get());
}

void putModes(CGDirectDisplayID display, Section& section) {
    std::int32_t count = 0;
    const CGError error = CGSGetNumberOfDisplayModes(display, &count);
    if (error != kCGErrorSuccess) {
        section.leaveOut("modes", refusal("CGSGetNumberOfDisplayModes", error));
        return;
    }
    // The list that the helper sees; also empty if the window server claims an absurd number.
    const auto modes = DisplayModeControl::modes(display);
    if (modes.size() != static_cast<std::size_t>(count)) {
        section.leaveOut("modes", "the display claims " + std::to_string(count) + " modes");
        return;
    }
    json list = json::array();
    for (const DisplayModeDescriptor& mode : modes) {
        if (mode == DisplayModeDescriptor{}) {
            section.note(
                "modes[" + std::to_string(list.size()) + "]",
                "is all zeros: the window server did not describe it to the helper either");
        }
        list.push_back(describeMode(mode));
    }
    section.put("modes", list);
}

void putCurrentMode(CGDirectDisplayID display, Section& section) {
    std::int32_t number = -1;
    const CGError error = CGSGetCurrentDisplayMode(display, &number);
    if (error != kCGErrorSuccess) {
        section.leaveOut("mode", refusal("CGSGetCurrentDisplayMode", error));
    } else {
        section.put("mode", number < 0 ? json(nullptr) : json(number));
    }
}

std::optional<bool> menuBarOverride(CGDirectDisplayID display) {
    const PerDisplayMenuBarAPI& api = PerDisplayMenuBarAPI::shared();
    if (api.mainConnection == nullptr || api.getOverride == nullptr) {
        return std::nullopt;
    }
    return api.getOverride(api.mainConnection(), display) != 0;
}

}  // namespace

std::optional<std::vector<CGDirectDisplayID>> listedDisplays() {
    std::uint32_t count = 0;
    if (CGGetActiveDisplayList(0, nullptr, &count) != kCGErrorSuccess) {
        return std::nullopt;
    }
    std::vector<CGDirectDisplayID> displays = activeDisplays(count);
    return displays.size() == count ? std::optional(std::move(displays)) : std::nullopt;
}

json describeDisplay(CGDirectDisplayID display, Section section) {
    const CGRect frame = CGDisplayBounds(display);
    const std::optional<std::string> port = portUUID(display);
    section.put("id", display);
    section.put("vendor", CGDisplayVendorNumber(display));
    section.put("model", CGDisplayModelNumber(display));
    section.put("serial", CGDisplaySerialNumber(display));
    section.put("portUUID", port ? json(*port) : json(nullptr));
    section.put("frame", {plainNumber(frame.origin.x), plainNumber(frame.origin.y),
                          plainNumber(frame.size.width), plainNumber(frame.size.height)});
    putModes(display, section);
    putCurrentMode(display, section);
    section.put("menuBarOverride", menuBarOverride(display),
                "this Mac lacks functions of the window server");
    section.put("spaceType", MenuBarAutohide::currentSpaceType(display),
                "the window server lists no space of this display");
    return section.object();
}

bool isUUID(const std::string& text) {
    constexpr std::string_view form = "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX";
    return std::ranges::equal(text, form, [](char character, char expected) {
        return expected == 'X' ? std::isxdigit(static_cast<unsigned char>(character)) != 0
                               : character == expected;
    });
}

}  // namespace tolvaran::describe
