#include "simulator/machine/call_record.hpp"

#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

class CallRecord : public SimulatorTest {};

TEST_F(CallRecord, CallsAreStampedAndKeptInOrder) {
    recordCall("first", json::array({1, nullptr}), true);
    advance(2.5);
    recordCall("second", json::array(), nullptr);
    EXPECT_EQ(calls(), json::parse(R"([
        {"at": 0, "call": "first", "args": [1, null], "result": true},
        {"at": 2.5, "call": "second", "args": [], "result": null}])"));
    EXPECT_EQ(recordedCalls(), 2U);
    reset();
    EXPECT_EQ(calls(), json::array());
}

}  // namespace
}  // namespace tolvaran::tests
