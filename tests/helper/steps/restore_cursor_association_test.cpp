#include "helper/steps/steps.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "simulator/simulator.hpp"
#include "tests/helper/steps/step_test.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

class RestoreCursorAssociation : public StepTest {
  protected:
    RestoreCursorAssociation() : StepTest(restoreCursorAssociation, "restoreCursorAssociation") {}
};

TEST_F(RestoreCursorAssociation, ReassociatesOnEveryRun) {
    start(json{{"cursorAssociated", false}});
    const std::string line = "info: restoreCursorAssociation [safety-tick]: re-associated cursor";
    EXPECT_EQ(run("safety-tick"), Lines{line});
    EXPECT_EQ(run("safety-tick"), Lines{line});
    EXPECT_EQ(simulator::machine()["cursorAssociated"], true);
    EXPECT_EQ(simulator::calls()[0]["call"], "CGAssociateMouseAndMouseCursorPosition");
    EXPECT_EQ(simulator::calls().size(), 2U);
}

TEST_F(RestoreCursorAssociation, LogsTheErrorCode) {
    start(json{{"cursorAssociated", false}});
    failCalls("CGAssociateMouseAndMouseCursorPosition", 1000);
    EXPECT_EQ(run(), Lines{"warn: restoreCursorAssociation [cold-start]: "
                           "CGAssociateMouseAndMouseCursorPosition(1) returned 1000"});
    EXPECT_EQ(simulator::machine()["cursorAssociated"], false);
}

TEST_F(RestoreCursorAssociation, LeavesTheCursorToARunningTolvaran) {
    start(whileTolvaranRuns({812}, {{"cursorAssociated", false}}));
    EXPECT_EQ(run("safety-tick", 7), Lines{skips("safety-tick", 812)});
    EXPECT_EQ(simulator::calls(), json::array());
    EXPECT_EQ(run("proc-exit", 812),
              Lines{"info: restoreCursorAssociation [proc-exit]: re-associated cursor"});
}

}  // namespace
}  // namespace tolvaran::tests
