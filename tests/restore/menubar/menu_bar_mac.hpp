// A simulated Mac as the tests of the menu bar see it: its displays, and the calls about the menu
// bar in one list, each as a line of text.
#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "restore/menubar/menu_bar_snapshot.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {

/// SkyLight's functions, in the order in which they are looked up.
inline const Lines skyLightFunctions = {"CGSMainConnectionID",
                                        "SLSGetMenuBarAutohideEnabled",
                                        "SLSGetMenuBarVisibilityOverrideOnDisplay",
                                        "SLSSetMenuBarVisibilityOverrideOnDisplay",
                                        "SLSCopyActiveMenuBarDisplayIdentifier",
                                        "SLSCopyManagedDisplaySpaces"};

inline const std::string unavailableWarning =
    "Per-display menu bar API is unavailable on this macOS build";

/// Whether a Mac has each of the functions above; one bit each, the first one lowest.
class SkyLight {
  public:
    explicit SkyLight(unsigned present) : present_(present) {}

    /// Every combination of present and missing functions.
    static std::vector<SkyLight> all() {
        std::vector<SkyLight> combinations;
        for (unsigned present = 0; present < 1U << skyLightFunctions.size(); ++present) {
            combinations.emplace_back(present);
        }
        return combinations;
    }

    bool has(std::size_t function) const { return (present_ >> function & 1U) != 0; }
    bool hasConnectionAnd(std::size_t function) const { return has(0) && has(function); }

    /// Whether menu bars can be handled per display; only the active display's identifier is not
    /// needed for that.
    bool isComplete() const { return (present_ | 1U << 4U) == (1U << 6U) - 1; }

    nlohmann::json missing() const {
        nlohmann::json names = nlohmann::json::array();
        for (std::size_t function = 0; function < skyLightFunctions.size(); ++function) {
            if (!has(function)) {
                names.push_back(skyLightFunctions[function]);
            }
        }
        return names;
    }

    /// What is logged when the functions are looked up.
    Lines warnings() const { return isComplete() ? Lines{} : Lines{unavailableWarning}; }

  private:
    unsigned present_;
};

// Displays. A hardware ID is "HW-1552-41234-" and the serial number.

inline std::string hardwareID(std::uint32_t serial) {
    return "HW-1552-41234-" + std::to_string(serial);
}

/// The UUID of a port, in the window server's spelling.
inline std::string port(int number) {
    return "AAAAAAAA-0000-4000-8000-00000000000" + std::to_string(number);
}

inline nlohmann::json display(CGDirectDisplayID id, std::uint32_t serial, int portNumber,
                              bool menuBarOverride = true) {
    return {{"id", id},
            {"vendor", 1552},
            {"model", 41234},
            {"serial", serial},
            {"portUUID", port(portNumber)},
            {"frame", {0, 0, 1920, 1080}},
            {"menuBarOverride", menuBarOverride}};
}

inline nlohmann::json macWith(const std::vector<nlohmann::json>& displays) {
    return {{"displays", displays}};
}

/// A display's override on the simulated Mac.
inline bool menuBarOverride(CGDirectDisplayID id) {
    const nlohmann::json displays = simulator::machine()["displays"];
    for (const nlohmann::json& display : displays) {
        if (display["id"] == id) {
            return display["menuBarOverride"];
        }
    }
    ADD_FAILURE() << "no display " << id;
    return false;
}

/// The record of the display of this serial number at this port.
inline MenuBarDisplayVisibilityOverride recordOf(std::uint32_t serial, int portNumber,
                                                 bool enabled) {
    return {.canonicalID = hardwareID(serial),
            .hardwareID = hardwareID(serial),
            .portUUID = port(portNumber),
            .enabled = enabled};
}

// The lines of the calls that concern the menu bar.

inline const std::string hideKey = "_HIHideMenuBar";
inline const std::string visibleInFullscreenKey = "AppleMenuBarVisibleInFullscreen";

/// The value of a preference or in a snapshot: on, off or absent.
using Switch = std::optional<bool>;

inline std::string setsPreference(const std::string& key, Switch value) {
    const nlohmann::json written = value ? nlohmann::json(*value) : nlohmann::json();
    return callLine("CFPreferencesSetValue",
                    {key, written, "kCFPreferencesAnyApplication", "kCFPreferencesCurrentUser",
                     "kCFPreferencesAnyHost"});
}

inline Lines stores(Switch hide, Switch visibleInFullscreen, bool synchronizes = true) {
    return {
        setsPreference(hideKey, hide), setsPreference(visibleInFullscreenKey, visibleInFullscreen),
        callLine(
            "CFPreferencesSynchronize",
            {"kCFPreferencesAnyApplication", "kCFPreferencesCurrentUser", "kCFPreferencesAnyHost"},
            synchronizes)};
}

/// The notification has no object, carries the marker and is delivered immediately.
inline std::string postsMarked(const std::string& notification) {
    return callLine("CFNotificationCenterPostNotification",
                    {notification, nullptr, {{"TolvaranMenuBarPolicyChange", true}}, true});
}

/// The calls of one global apply.
inline Lines appliesGlobal(Switch hide, Switch visibleInFullscreen, bool synchronizes = true,
                           int switchResult = 0) {
    return stores(hide, visibleInFullscreen, synchronizes) +
           Lines{callLine("CGSSetMenuBarAutohideEnabled", nlohmann::json::array({hide == true}),
                          switchResult),
                 postsMarked("AppleInterfaceMenuBarHidingChangedNotification"),
                 postsMarked("AppleInterfaceFullScreenMenuBarVisibilityChangedNotification")};
}

inline std::string setsOverride(CGDirectDisplayID id, bool enabled, int result = 0) {
    return callLine("SLSSetMenuBarVisibilityOverrideOnDisplay",
                    nlohmann::json::array({id, enabled}), result);
}

inline std::string readsOverride(CGDirectDisplayID id, bool result) {
    return callLine("SLSGetMenuBarVisibilityOverrideOnDisplay", nlohmann::json::array({id}),
                    result);
}

/// The calls for one override that shows at once.
inline Lines putsBack(CGDirectDisplayID id, bool enabled) {
    return {setsOverride(id, enabled), readsOverride(id, enabled)};
}

/// The global preferences as the Mac has them.
inline nlohmann::json globalPreferences() {
    return simulator::machine()["preferences"].value("global", nlohmann::json::object());
}

inline bool autoHides() {
    return simulator::machine()["menuBar"]["autoHide"];
}

}  // namespace tolvaran::tests
