#include "helper/steps/steps.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "restore/dock/dock_auto_hide_override.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

json dock(bool autoHide) {
    return {{"dock", {{"autoHide", autoHide}}}};
}

const std::string marker = "dock-autohide-pending.json";
const std::string found = "info: restoreDockAutoHide [cold-start]: marker found, restoring";

TEST(RestoreDockAutoHide, PutsTheRecordedValueBack) {
    for (const bool value : {true, false}) {
        HelperProcess process(dock(!value));
        DockAutoHideOverride::markPending(value, process.state(marker));
        restoreDockAutoHide("cold-start", std::nullopt);
        EXPECT_EQ(
            process.takeLog(),
            (Lines{found,
                   std::string("info: dock auto-hide restoreIfPending: forced back to ") +
                       (value ? "true" : "false"),
                   "info: restoreDockAutoHide [cold-start]: auto-hide restored + marker deleted"}));
        EXPECT_EQ(callNames(), (Lines{"CoreDockGetAutoHideEnabled", "CoreDockSetAutoHideEnabled"}));
        EXPECT_EQ(simulator::machine()["dock"]["autoHide"], value);
        EXPECT_FALSE(readFile(process.state(marker)).has_value());
    }
}

TEST(RestoreDockAutoHide, SaysNothingMoreWhenTheDockNeededNoChange) {
    HelperProcess process(dock(true));
    DockAutoHideOverride::markPending(true, process.state(marker));
    restoreDockAutoHide("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(), Lines{found});
    EXPECT_EQ(callNames(), Lines{"CoreDockGetAutoHideEnabled"});
    EXPECT_FALSE(readFile(process.state(marker)).has_value());
}

TEST(RestoreDockAutoHide, RemovesABadMarkerAndLeavesTheDockAlone) {
    HelperProcess process(dock(true));
    writeFile(process.state(marker), R"({"version":2,"restoreTo":false})");
    restoreDockAutoHide("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(), Lines{found});
    EXPECT_EQ(callNames(), Lines{});
    EXPECT_FALSE(readFile(process.state(marker)).has_value());
}

TEST(RestoreDockAutoHide, WithoutAMarkerDoesNothing) {
    HelperProcess process(dock(true));
    restoreDockAutoHide("cold-start", std::nullopt);
    EXPECT_EQ(process.takeLog(), Lines{});
    EXPECT_EQ(callNames(), Lines{});
}

TEST(RestoreDockAutoHide, LeavesTheMarkerToARunningTolvaran) {
    HelperProcess process(
        json{{"applications", json::array({{{"bundle", "com.morvelli.Tolvaran"}, {"pid", 812}}})}});
    DockAutoHideOverride::markPending(true, process.state(marker));
    restoreDockAutoHide("safety-tick", std::nullopt);
    EXPECT_EQ(process.takeLog(), Lines{"debug: restoreDockAutoHide [safety-tick]: Tolvaran running "
                                       "(pid 812), skipping"});
    EXPECT_TRUE(readFile(process.state(marker)).has_value());
    EXPECT_EQ(callNames(), Lines{});
}

}  // namespace
}  // namespace tolvaran::tests
