#include "helper/steps/steps.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "restore/dock/dock_auto_hide_override.hpp"
#include "simulator/simulator.hpp"
#include "tests/helper/steps/step_test.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

json dock(bool autoHide) {
    return {{"dock", {{"autoHide", autoHide}}}};
}

const std::string marker = "dock-autohide-pending.json";
const std::string found = "info: restoreDockAutoHide [cold-start]: marker found, restoring";

class RestoreDockAutoHide : public StepTest {
  protected:
    RestoreDockAutoHide() : StepTest(restoreDockAutoHide, "restoreDockAutoHide") {}
};

TEST_F(RestoreDockAutoHide, PutsTheRecordedValueBack) {
    for (const bool value : {true, false}) {
        start(dock(!value));
        DockAutoHideOverride::markPending(value, state(marker));
        EXPECT_EQ(
            run(),
            (Lines{found,
                   std::string("info: dock auto-hide restoreIfPending: forced back to ") +
                       (value ? "true" : "false"),
                   "info: restoreDockAutoHide [cold-start]: auto-hide restored + marker deleted"}));
        EXPECT_EQ(callNames(), (Lines{"CoreDockGetAutoHideEnabled", "CoreDockSetAutoHideEnabled"}));
        EXPECT_EQ(simulator::machine()["dock"]["autoHide"], value);
        EXPECT_FALSE(read(marker).has_value());
    }
}

TEST_F(RestoreDockAutoHide, SaysNothingMoreWhenTheDockNeededNoChange) {
    start(dock(true));
    DockAutoHideOverride::markPending(true, state(marker));
    EXPECT_EQ(run(), Lines{found});
    EXPECT_EQ(callNames(), Lines{"CoreDockGetAutoHideEnabled"});
    EXPECT_FALSE(read(marker).has_value());
}

TEST_F(RestoreDockAutoHide, RemovesABadMarkerAndLeavesTheDockAlone) {
    start(dock(true));
    write(marker, R"({"version":2,"restoreTo":false})");
    EXPECT_EQ(run(), Lines{found});
    EXPECT_EQ(callNames(), Lines{});
    EXPECT_FALSE(read(marker).has_value());
}

TEST_F(RestoreDockAutoHide, WithoutAMarkerDoesNothing) {
    start(dock(true));
    EXPECT_EQ(run(), Lines{});
    EXPECT_EQ(callNames(), Lines{});
}

TEST_F(RestoreDockAutoHide, LeavesTheMarkerToARunningTolvaran) {
    start(whileTolvaranRuns({812}));
    DockAutoHideOverride::markPending(true, state(marker));
    EXPECT_EQ(run("safety-tick"), Lines{skips("safety-tick", 812)});
    EXPECT_TRUE(read(marker).has_value());
    EXPECT_EQ(callNames(), Lines{});
}

}  // namespace
}  // namespace tolvaran::tests
