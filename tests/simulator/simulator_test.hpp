// What the simulator's tests share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "simulator/simulator.hpp"

namespace simulator {

using nlohmann::json;

/// Every test begins with a Mac on which nothing has happened, and leaves no object behind.
class SimulatorTest : public ::testing::Test {
  protected:
    SimulatorTest() {
        reset();
        liveBefore_ = liveObjects();
    }
    ~SimulatorTest() override {
        reset();
        EXPECT_EQ(liveObjects(), liveBefore_) << "objects were not released";
    }

  private:
    std::size_t liveBefore_ = 0;
};

/// The message of the Error that `action` throws; empty when it throws none.
template <typename Error = std::invalid_argument>
std::string thrownBy(const std::function<void()>& action) {
    try {
        action();
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}

}  // namespace simulator
