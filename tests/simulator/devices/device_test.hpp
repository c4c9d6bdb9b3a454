// What the tests of the simulated devices share: a fixture that notices everything left behind,
// and a recorder of reconfiguration callbacks.
#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "simulator/machine/machine.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {

using DeviceTest = ProcessTest;

inline constexpr CGDisplayChangeSummaryFlags begin = kCGDisplayBeginConfigurationFlag;
inline constexpr CGDisplayChangeSummaryFlags shape = kCGDisplayDesktopShapeChangedFlag;

/// Two displays side by side, the first one the main display.
inline nlohmann::json twoDisplays() {
    return {{"displays",
             {{{"id", 1}, {"frame", {0, 0, 1920, 1080}}},
              {{"id", 2}, {"frame", {1920, 0, 1280, 1024}}}}}};
}

/// One value of every display of the machine, in listing order.
inline nlohmann::json displayValues(const std::string& key) {
    nlohmann::json values = nlohmann::json::array();
    const nlohmann::json mac = simulator::machine();
    for (const nlohmann::json& display : mac.at("displays")) {
        values.push_back(display.at(key));
    }
    return values;
}

inline simulator::Display displayAt(CGDirectDisplayID id, CGRect frame) {
    simulator::Display display;
    display.id = id;
    display.frame = frame;
    return display;
}

using Callbacks = std::vector<std::pair<CGDirectDisplayID, CGDisplayChangeSummaryFlags>>;

/// The callbacks of a change while twoDisplays() are connected: it begins for both, then `ends`.
inline Callbacks changeOfTwo(const Callbacks& ends) {
    Callbacks all{{1, begin}, {2, begin}};
    all.insert(all.end(), ends.begin(), ends.end());
    return all;
}

/// Registers a reconfiguration callback for its lifetime and keeps what it is called with.
class CallbackRecorder {
  public:
    CallbackRecorder() { EXPECT_EQ(CGDisplayRegisterReconfigurationCallback(note, this), 0); }
    ~CallbackRecorder() { EXPECT_EQ(CGDisplayRemoveReconfigurationCallback(note, this), 0); }
    CallbackRecorder(const CallbackRecorder&) = delete;
    CallbackRecorder& operator=(const CallbackRecorder&) = delete;

    /// The callbacks so far.
    const Callbacks& soFar() const { return received_; }

    /// Lets the main queue run, then returns the callbacks so far.
    const Callbacks& delivered() {
        simulator::advance(0);
        return received_;
    }

  private:
    static void note(CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags, void* userInfo) {
        static_cast<CallbackRecorder*>(userInfo)->received_.emplace_back(display, flags);
    }

    Callbacks received_;
};

}  // namespace tolvaran::tests
