#include "simulator/simulator.hpp"

#include <algorithm>

#include "simulator/core_foundation/object.hpp"
#include "simulator/core_foundation/uuid.hpp"
#include "simulator/devices/devices.hpp"
#include "simulator/faults/faults.hpp"
#include "simulator/host/file_calls.hpp"
#include "simulator/host/processes.hpp"
#include "simulator/loop/clock.hpp"
#include "simulator/loop/dispatch_objects.hpp"
#include "simulator/loop/event_loop.hpp"
#include "simulator/loop/notifications.hpp"
#include "simulator/loop/timeline.hpp"
#include "simulator/loop/workspace_events.hpp"
#include "simulator/machine/mac_json.hpp"
#include "simulator/machine/machine.hpp"

namespace simulator {

Machine& mac() {
    static Machine& machine = *new Machine;
    return machine;
}

Display* findDisplay(CGDirectDisplayID id) {
    for (Display& display : mac().displays) {
        if (display.id == id) {
            return &display;
        }
    }
    return nullptr;
}

std::string portUUIDOfMainDisplay(const Machine& machine) {
    const auto found = std::ranges::find(machine.displays, machine.mainDisplay, &Display::id);
    return found == machine.displays.end() ? "" : found->portUUID.value_or("");
}

void reset(const nlohmann::json& machine) {
    devices::registerPrivateSymbols();
    Machine next = readMachine(JsonReader(machine, ""));
    clearProcesses();
    clearWorkspace();
    clearEventLoop();
    devices::reset();
    forgetProcessNames();
    forgetNotifications();
    forgetCalls();
    clearFaults();
    clearHooks();
    clearFileCalls();
    cf::restartUUIDs();
    clock::restart(clock::Kind::virtualTime);
    setArguments({"tolvaran_helper"});
    setBundlePaths({"/Applications/Tolvaran.app/Contents/Helpers"});
    mac() = std::move(next);
}

namespace {

// A program that merely links the simulator, and never hears of reset(), has a Mac all the same.
[[maybe_unused]] const bool begun = [] {
    reset();
    return true;
}();

}  // namespace

void set(const nlohmann::json& part) {
    mac() = mergedMachine(mac(), JsonReader(part, ""));
}

nlohmann::json machine() {
    return writeMachine(mac());
}

std::size_t liveObjects() {
    return cf::liveObjects() + liveDispatchObjects() + devices::liveRegistryObjects();
}

void perform(const nlohmann::json& event) {
    happen(readEvent(JsonReader(event, "")));
}

void advance(double seconds) {
    runUntil(clock::now() + clock::fromSeconds(seconds));
}

double now() {
    return clock::seconds();
}

}  // namespace simulator
