#include "simulator/simulator.hpp"

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

#include "simulator/core_foundation/object.hpp"
#include "simulator/devices/devices.hpp"
#include "simulator/loop/clock.hpp"
#include "simulator/loop/dispatch_objects.hpp"
#include "simulator/loop/event_loop.hpp"
#include "simulator/loop/timeline.hpp"
#include "simulator/machine/mac_json.hpp"
#include "simulator/machine/machine.hpp"
#include "simulator/on_reset.hpp"

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

namespace {

std::vector<std::function<void()>>& resets() {
    static auto& all = *new std::vector<std::function<void()>>;
    return all;
}

}  // namespace

OnReset::OnReset(std::function<void()> work) {
    work();
    resets().push_back(std::move(work));
}

void reset(const nlohmann::json& machine) {
    Machine next = readMachine(JsonReader(machine, ""));
    for (const std::function<void()>& work : resets()) {
        work();
    }
    mac() = std::move(next);
}

namespace {

// A program that links the simulator and never calls reset() has a Mac too.
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
    performEvent(readEvent(JsonReader(event, "")));
}

void advance(double seconds) {
    runUntil(clock::now() + clock::fromSeconds(seconds));
}

double now() {
    return clock::seconds();
}

}  // namespace simulator
