#include "simulator/machine/mac_json.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <functional>
#include <stdexcept>

#include "simulator/core_foundation/base64.hpp"
#include "simulator/core_foundation/uuid.hpp"
#include "simulator/host/dynamic_library.hpp"
#include "simulator/machine/machine_part.hpp"

namespace simulator {
namespace {

using nlohmann::json;

// Reading.

CGRect readFrame(const JsonReader& frame) {
    std::array<double, 4> numbers{};
    const std::vector<JsonReader> elements = frame.elements(numbers.size());
    std::transform(elements.begin(), elements.end(), numbers.begin(),
                   [](const JsonReader& element) { return element.number(); });
    if (numbers[2] < 0 || numbers[3] < 0) {
        frame.fail("must not have a negative width or height");
    }
    return {{numbers[0], numbers[1]}, {numbers[2], numbers[3]}};
}

DisplayMode readMode(const JsonReader& mode) {
    mode.requireKeys({"number", "flags", "width", "height", "depth", "hz", "density"});
    DisplayMode result;
    result.number = mode.at("number").integer<std::int32_t>();
    readInteger(mode, "flags", result.flags);
    readInteger(mode, "width", result.width);
    readInteger(mode, "height", result.height);
    readInteger(mode, "depth", result.depth);
    ifPresent(mode, "hz", [&](const JsonReader& hz) { result.hz = hz.number(); });
    ifPresent(mode, "density", [&](const JsonReader& density) {
        result.density = static_cast<float>(density.number());
    });
    return result;
}

std::string ownPortUUID(CGDirectDisplayID id) {
    char text[37];
    std::snprintf(text, sizeof text, "D15B1A70-0000-4000-8000-%012X", id);
    return text;
}

std::optional<std::string> readPortUUID(const JsonReader& uuid) {
    if (uuid.isNull()) {
        return std::nullopt;
    }
    if (!cf::isUUID(uuid.text())) {
        uuid.fail("must be a UUID in the form 8-4-4-4-12, or null");
    }
    return uuid.text();
}

template <typename T, typename Key>
void requireDistinct(const JsonReader& list, const std::vector<T>& elements, Key key,
                     const std::string& what) {
    for (std::size_t i = 1; i < elements.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (std::invoke(key, elements[i]) == std::invoke(key, elements[j])) {
                list.elements()[i].fail("has the same " + what + " as an earlier one");
            }
        }
    }
}

std::vector<Display> readDisplays(const JsonReader& list) {
    std::vector<Display> displays;
    for (const JsonReader& display : list.elements()) {
        displays.push_back(readDisplay(display));
    }
    requireDistinct(list, displays, &Display::id, "id");
    return displays;
}

void requireTagged(const JsonReader& value) {
    ifPresent(value, "$data", [](const JsonReader& data) {
        try {
            cf::base64Decoded(data.text());
        } catch (const std::invalid_argument&) {
            data.fail("must be base64");
        }
    });
    ifPresent(value, "$date", [](const JsonReader& date) { date.number(); });
}

void readRegistry(const JsonReader& list, Machine& machine) {
    for (const JsonReader& service : list.elements()) {
        service.requireObject();
        requirePropertyList(service);
    }
    machine.registry = list.value();
}

void readPreferences(const JsonReader& domains, Machine& machine) {
    for (const auto& [domain, values] : domains.entries()) {
        auto& stored = machine.preferences[domain];  // exists even if nothing is set in it
        for (const auto& [key, value] : values.entries()) {
            if (value.isNull()) {
                stored.erase(key);
            } else {
                requirePropertyList(value);
                stored[key] = value.value();
            }
        }
    }
}

void readMenuBar(const JsonReader& menuBar, Machine& machine) {
    menuBar.requireKeys({"autoHide", "activeDisplay"});
    readBoolean(menuBar, "autoHide", machine.menuBar.autoHide);
    ifPresent(menuBar, "activeDisplay", [&](const JsonReader& uuid) {
        machine.menuBar.activeDisplay = readPortUUID(uuid).value_or("");
    });
}

void readApplications(const JsonReader& list, Machine& machine) {
    machine.applications.clear();
    for (const JsonReader& application : list.elements()) {
        application.requireKeys({"bundle", "pid", "terminated"});
        Application result{readBundle(application), readPID(application.at("pid")), false};
        readBoolean(application, "terminated", result.terminated);
        machine.applications.push_back(std::move(result));
    }
    requireDistinct(list, machine.applications, &Application::pid, "pid");
}

void readUnavailable(const JsonReader& list, Machine& machine) {
    machine.unavailable.clear();
    for (const JsonReader& name : list.elements()) {
        if (!isKnownToLibraries(name.text())) {
            name.fail("is not a private symbol or library that is looked up at run time");
        }
        machine.unavailable.insert(name.text());
    }
}

/// The keys of a whole `mac`.
std::vector<std::string_view> knownKeys() {
    std::vector<std::string_view> keys{"displays", "mainDisplay",  "registry",   "preferences",
                                       "menuBar",  "applications", "unavailable"};
    for (const PartFormat& part : partFormats()) {
        keys.push_back(part.key);
    }
    return keys;
}

/// Every key of `mac` except `displays`, which other functions read.
void readParts(const JsonReader& mac, Machine& machine) {
    mac.requireKeys(knownKeys());
    readInteger(mac, "mainDisplay", machine.mainDisplay);
    using Read = void (*)(const JsonReader&, Machine&);
    constexpr std::array<std::pair<const char*, Read>, 5> parts{{
        {"registry", readRegistry},
        {"preferences", readPreferences},
        {"menuBar", readMenuBar},
        {"applications", readApplications},
        {"unavailable", readUnavailable},
    }};
    for (const auto& [key, read] : parts) {
        ifPresent(mac, key, [&, part = read](const JsonReader& value) { part(value, machine); });
    }
    for (const PartFormat& part : partFormats()) {
        std::any& state = machine.parts.try_emplace(part.key, part.initial).first->second;
        ifPresent(mac, part.key, [&](const JsonReader& value) { part.read(value, state); });
    }
}

CGDirectDisplayID displayAtOrigin(const std::vector<Display>& displays) {
    for (const Display& display : displays) {
        if (display.frame.origin.x == 0 && display.frame.origin.y == 0) {
            return display.id;
        }
    }
    return displays.empty() ? 0 : displays.front().id;
}

Display defaultDisplay() {
    Display display;
    display.id = 1;
    display.portUUID = ownPortUUID(display.id);
    display.frame = {{0, 0}, {1440, 900}};
    display.modes = {DisplayMode{1, 0, 1440, 900, 8, 60.0, 1.0F}};
    display.mode = 1;
    return display;
}

// Writing.

/// A number; whole ones without a fraction.
json number(double value) {
    constexpr double limit = 9007199254740992.0;  // all integers below are exact
    if (std::abs(value) < limit && value == std::trunc(value)) {
        return static_cast<std::int64_t>(value);
    }
    return value;
}

template <typename T>
json orNull(const std::optional<T>& value) {
    return value ? json(*value) : json(nullptr);
}

json writeMode(const DisplayMode& mode) {
    return {{"number", mode.number},          {"flags", mode.flags}, {"width", mode.width},
            {"height", mode.height},          {"depth", mode.depth}, {"hz", number(mode.hz)},
            {"density", number(mode.density)}};
}

json writeDisplay(const Display& display) {
    json modes = json::array();
    for (const DisplayMode& mode : display.modes) {
        modes.push_back(writeMode(mode));
    }
    const CGRect& frame = display.frame;
    return {{"id", display.id},
            {"vendor", display.vendor},
            {"model", display.model},
            {"serial", display.serial},
            {"portUUID", orNull(display.portUUID)},
            {"frame", json::array({number(frame.origin.x), number(frame.origin.y),
                                   number(frame.size.width), number(frame.size.height)})},
            {"modes", std::move(modes)},
            {"mode", orNull(display.mode)},
            {"menuBarOverride", display.menuBarOverride},
            {"spaceType", display.spaceType}};
}

json writeApplication(const Application& application) {
    return {{"bundle", orNull(application.bundle)},
            {"pid", application.pid},
            {"terminated", application.terminated}};
}

template <typename T>
json writeAll(const std::vector<T>& values, json (*write)(const T&)) {
    json list = json::array();
    for (const T& value : values) {
        list.push_back(write(value));
    }
    return list;
}

}  // namespace

void requirePropertyList(const JsonReader& value) {
    if (value.value().is_object()) {
        if (value.value().size() == 1) {
            requireTagged(value);
        }
        for (const auto& [key, entry] : value.entries()) {
            requirePropertyList(entry);
        }
    } else if (value.value().is_array()) {
        for (const JsonReader& element : value.elements()) {
            requirePropertyList(element);
        }
    } else if (value.isNull()) {
        value.fail("must not be null");
    }
}

Display readDisplay(const JsonReader& display) {
    display.requireKeys({"id", "vendor", "model", "serial", "portUUID", "frame", "modes", "mode",
                         "menuBarOverride", "spaceType"});
    Display result;
    result.id = display.at("id").integer<CGDirectDisplayID>(1);
    readInteger(display, "vendor", result.vendor);
    readInteger(display, "model", result.model);
    readInteger(display, "serial", result.serial);
    result.portUUID = ownPortUUID(result.id);
    ifPresent(display, "portUUID",
              [&](const JsonReader& uuid) { result.portUUID = readPortUUID(uuid); });
    result.frame = readFrame(display.at("frame"));
    ifPresent(display, "modes", [&](const JsonReader& modes) {
        for (const JsonReader& mode : modes.elements()) {
            result.modes.push_back(readMode(mode));
        }
    });
    ifPresent(display, "mode", [&](const JsonReader& mode) {
        result.mode = mode.isNull() ? std::nullopt : std::optional(mode.integer<std::int32_t>());
    });
    readBoolean(display, "menuBarOverride", result.menuBarOverride);
    readInteger(display, "spaceType", result.spaceType);
    return result;
}

std::optional<std::string> readBundle(const JsonReader& application) {
    const JsonReader bundle = application.at("bundle");
    return bundle.isNull() ? std::nullopt : std::optional(bundle.text());
}

std::int32_t readPID(const JsonReader& pid) {
    return pid.integer<std::int32_t>(1);
}

Machine mergedMachine(Machine machine, const JsonReader& mac) {
    ifPresent(mac, "displays", [](const JsonReader& displays) { displays.fail("unknown key"); });
    readParts(mac, machine);
    return machine;
}

Machine readMachine(const JsonReader& mac) {
    mac.requireObject();
    Machine machine;
    const std::optional<JsonReader> displays = mac.find("displays");
    machine.displays = displays ? readDisplays(*displays) : std::vector{defaultDisplay()};
    machine.mainDisplay = displayAtOrigin(machine.displays);
    readInteger(mac, "mainDisplay", machine.mainDisplay);
    machine.menuBar.activeDisplay = portUUIDOfMainDisplay(machine);
    readParts(mac, machine);
    return machine;
}

json writeMachine(const Machine& machine) {
    json mac = {{"displays", writeAll(machine.displays, writeDisplay)},
                {"mainDisplay", machine.mainDisplay},
                {"registry", machine.registry},
                {"preferences", machine.preferences},
                {"menuBar",
                 {{"autoHide", machine.menuBar.autoHide},
                  {"activeDisplay", machine.menuBar.activeDisplay.empty()
                                        ? json(nullptr)
                                        : json(machine.menuBar.activeDisplay)}}},
                {"applications", writeAll(machine.applications, writeApplication)},
                {"unavailable", machine.unavailable}};
    for (const PartFormat& part : partFormats()) {
        mac[part.key] = part.write(machine.parts.at(part.key));
    }
    return mac;
}

}  // namespace simulator
