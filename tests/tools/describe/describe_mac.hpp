// A simulated Mac to be described.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

#include "restore/support/process_wide.hpp"
#include "simulator/simulator.hpp"
#include "tools/describe/describe.hpp"

namespace tolvaran::tests {

/// A Mac where nothing is as usual.
inline nlohmann::json fullMac() {
    std::ifstream file(TOLVARAN_FULL_MAC);
    return nlohmann::json::parse(file);
}

/// The description that a fresh process gives of the Mac. It must change nothing and leave nothing
/// behind.
/// @param alter changes the machine in ways that no scenario can describe
inline describe::Description described(
    const nlohmann::json& mac, const nlohmann::json& faults = nlohmann::json::array(),
    const std::function<void()>& alter = [] {}) {
    forgetProcessWideValues();
    simulator::reset(mac);
    alter();
    for (const nlohmann::json& fault : faults) {
        simulator::addFault(fault);
    }
    const nlohmann::json before = simulator::machine();
    const std::size_t objects = simulator::liveObjects();
    describe::Description description = describe::describeMac();
    EXPECT_EQ(simulator::machine(), before);
    EXPECT_EQ(simulator::notifications(), nlohmann::json::array());
    forgetProcessWideValues();
    EXPECT_EQ(simulator::liveObjects(), objects);
    return description;
}

}  // namespace tolvaran::tests
