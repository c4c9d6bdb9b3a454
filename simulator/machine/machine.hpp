// The simulated Mac: everything that the system under test can see or change, as plain values. The
// functions that the simulator offers under Apple's names read and write mac(); tests and the
// scenario player access it as JSON through simulator.hpp. What only one device knows is a part of
// its own (machine_part.hpp).
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <any>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace simulator {

struct DisplayMode {
    std::int32_t number = 0;
    std::uint32_t flags = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t depth = 8;
    double hz = 60.0;
    float density = 1.0F;
};

struct Display {
    CGDirectDisplayID id = 0;
    std::uint32_t vendor = 0;
    std::uint32_t model = 0;
    std::uint32_t serial = 0;
    std::optional<std::string> portUUID;  // none: the window server has no UUID for it
    CGRect frame{};                       // global display coordinates, points
    std::vector<DisplayMode> modes;
    std::optional<std::int32_t> mode;  // none: the current mode number reads as -1
    bool menuBarOverride = true;
    std::int64_t spaceType = 0;
};

struct MenuBar {
    bool autoHide = false;
    std::string activeDisplay;  // port UUID
};

struct Application {
    std::optional<std::string> bundle;
    std::int32_t pid = 0;
    bool terminated = false;
};

struct Machine {
    std::vector<Display> displays;  // the active ones, in the window server's listing order
    CGDirectDisplayID mainDisplay = 0;
    // One object per display-connect service.
    nlohmann::json registry = nlohmann::json::array();
    std::map<std::string, std::map<std::string, nlohmann::json>> preferences;  // domain, key, value
    MenuBar menuBar;
    std::vector<Application> applications;  // in the workspace's listing order
    std::set<std::string> unavailable;      // private symbols, "SkyLight", "HIServices"
    std::map<std::string, std::any> parts;  // by key, of the devices that keep their own state
};

Machine& mac();
Display* findDisplay(CGDirectDisplayID id);  // null if it is not active

/// Empty if there is no main display, or no UUID for it.
std::string portUUIDOfMainDisplay(const Machine& machine);

}  // namespace simulator
