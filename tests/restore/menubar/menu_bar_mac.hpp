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
#include "restore/support/process_wide.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/call_lines.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {

using Lines = std::vector<std::string>;

/// A process of its own on a Mac as given. Its files lie below a directory of its own. At the end,
/// no Core Foundation object may be left.
class MenuBarProcess {
  public:
    explicit MenuBarProcess(const nlohmann::json& mac = nlohmann::json::object()) {
        endProcess();
        simulator::reset(mac);
        objectsBefore_ = simulator::liveObjects();
    }
    ~MenuBarProcess() {
        endProcess();
        EXPECT_EQ(simulator::liveObjects(), objectsBefore_);
    }
    MenuBarProcess(const MenuBarProcess&) = delete;
    MenuBarProcess& operator=(const MenuBarProcess&) = delete;

    /// The warnings since the last call, without their level; any other line would fail the test.
    Lines takeWarnings() {
        Lines warnings;
        for (const std::string& line : log_.take()) {
            EXPECT_EQ(line.substr(0, 6), "warn: ");
            warnings.push_back(line.substr(6));
        }
        return warnings;
    }

    /// Makes the main application know these groups of IDs to be one display each.
    void knowDisplays(const std::vector<std::vector<std::string>>& groups) const {
        nlohmann::json displays = nlohmann::json::array();
        for (const auto& ids : groups) {
            displays.push_back({{"ids", ids}});
        }
        writeFile(directory_ / "Settings/preferences.json",
                  nlohmann::json{{"knownDisplays", displays}}.dump());
    }

    /// A path below the application-support directory.
    std::string path(const std::string& name) const { return directory_ / name; }

  private:
    TemporaryDirectory directory_;
    ScopedEnvironment support_{"TOLVARAN_APPLICATION_SUPPORT_DIR", directory_.path()};
    ScopedEnvironment settings_{"TOLVARAN_CONFIG_DIR", std::nullopt};
    LogCapture log_;
    std::size_t objectsBefore_ = 0;
};

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

    /// Whether single displays' menu bars can be handled: all but the active display's identifier.
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

    /// What is logged when it is looked up.
    Lines warnings() const { return isComplete() ? Lines{} : Lines{unavailableWarning}; }

  private:
    unsigned present_;
};

// Displays. One with a serial number is "HW-1552-41234-" and the serial number.

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

/// The machine's override of a display.
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

/// Whether a preference or a snapshot's value is on, or absent.
using Switch = std::optional<bool>;

/// The line of one call.
inline std::string calls(const std::string& function, const nlohmann::json& args,
                         const nlohmann::json& result) {
    return function + " " + args.dump() + " = " + result.dump();
}

inline std::string setsPreference(const std::string& key, Switch value) {
    const nlohmann::json written = value ? nlohmann::json(*value) : nlohmann::json();
    return calls("CFPreferencesSetValue",
                 {key, written, "kCFPreferencesAnyApplication", "kCFPreferencesCurrentUser",
                  "kCFPreferencesAnyHost"},
                 nullptr);
}

inline Lines stores(Switch hide, Switch visibleInFullscreen, bool synchronizes = true) {
    return {
        setsPreference(hideKey, hide), setsPreference(visibleInFullscreenKey, visibleInFullscreen),
        calls(
            "CFPreferencesSynchronize",
            {"kCFPreferencesAnyApplication", "kCFPreferencesCurrentUser", "kCFPreferencesAnyHost"},
            synchronizes)};
}

inline Lines operator+(Lines lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

/// The notification has no object, carries the marker and is delivered immediately.
inline std::string postsMarked(const std::string& notification) {
    return calls("CFNotificationCenterPostNotification",
                 {notification, nullptr, {{"TolvaranMenuBarPolicyChange", true}}, true}, nullptr);
}

/// One global apply.
inline Lines appliesGlobal(Switch hide, Switch visibleInFullscreen, bool synchronizes = true,
                           int switchResult = 0) {
    return stores(hide, visibleInFullscreen, synchronizes) +
           Lines{calls("CGSSetMenuBarAutohideEnabled", nlohmann::json::array({hide == true}),
                       switchResult),
                 postsMarked("AppleInterfaceMenuBarHidingChangedNotification"),
                 postsMarked("AppleInterfaceFullScreenMenuBarVisibilityChangedNotification")};
}

inline std::string setsOverride(CGDirectDisplayID id, bool enabled, int result = 0) {
    return calls("SLSSetMenuBarVisibilityOverrideOnDisplay", nlohmann::json::array({id, enabled}),
                 result);
}

inline std::string readsOverride(CGDirectDisplayID id, bool result) {
    return calls("SLSGetMenuBarVisibilityOverrideOnDisplay", nlohmann::json::array({id}), result);
}

/// One override that shows at once.
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
