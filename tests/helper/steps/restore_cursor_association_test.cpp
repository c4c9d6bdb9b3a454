#include "helper/steps/steps.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

TEST(RestoreCursorAssociation, ReassociatesOnEveryRun) {
    HelperProcess process(json{{"cursorAssociated", false}});
    restoreCursorAssociation("safety-tick", std::nullopt);
    restoreCursorAssociation("safety-tick", std::nullopt);
    const std::string line = "info: restoreCursorAssociation [safety-tick]: re-associated cursor";
    EXPECT_EQ(process.takeLog(), (Lines{line, line}));
    EXPECT_EQ(simulator::machine()["cursorAssociated"], true);
    EXPECT_EQ(simulator::calls()[0]["call"], "CGAssociateMouseAndMouseCursorPosition");
    EXPECT_EQ(simulator::calls().size(), 2U);
}

TEST(RestoreCursorAssociation, LogsTheErrorCode) {
    HelperProcess process(json{{"cursorAssociated", false}});
    simulator::addFault({{"call", "CGAssociateMouseAndMouseCursorPosition"}, {"result", 1000}});
    restoreCursorAssociation("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(), Lines{"warn: restoreCursorAssociation [cold-start]: "
                                       "CGAssociateMouseAndMouseCursorPosition(1) returned 1000"});
    EXPECT_EQ(simulator::machine()["cursorAssociated"], false);
}

TEST(RestoreCursorAssociation, LeavesTheCursorToARunningTolvaran) {
    HelperProcess process(
        json{{"cursorAssociated", false},
             {"applications", json::array({{{"bundle", "com.morvelli.Tolvaran"}, {"pid", 812}}})}});
    restoreCursorAssociation("safety-tick", 7);
    EXPECT_EQ(process.takeLog(), Lines{"debug: restoreCursorAssociation [safety-tick]: Tolvaran "
                                       "running (pid 812), skipping"});
    EXPECT_EQ(simulator::calls(), json::array());
    restoreCursorAssociation("proc-exit", 812);
    EXPECT_EQ(process.takeLog(),
              Lines{"info: restoreCursorAssociation [proc-exit]: re-associated cursor"});
}

}  // namespace
}  // namespace tolvaran::tests
