// What the tests of the simulator and of the player share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {

using nlohmann::json;

/// A test whose simulated process ends with the test's body: what lasts until its end is freed
/// before the check for what was left behind.
class SimulatorTest : public ProcessTest {
  protected:
    ~SimulatorTest() override { simulator::reset(); }
};

/// The message of the Error that `action` throws; empty if it does not throw one.
template <typename Error = std::invalid_argument>
std::string thrownBy(const std::function<void()>& action) {
    try {
        action();
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}

}  // namespace tolvaran::tests
