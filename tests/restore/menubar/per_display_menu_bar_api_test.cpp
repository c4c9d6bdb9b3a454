#include "restore/menubar/per_display_menu_bar_api.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <array>

#include "tests/restore/menubar/menu_bar_mac.hpp"

namespace tolvaran::tests {
namespace {

/// Which functions were found, in the order of skyLightFunctions.
std::array<bool, 6> found(const PerDisplayMenuBarAPI& api) {
    return {api.mainConnection != nullptr,    api.getAutohide != nullptr,
            api.getOverride != nullptr,       api.setOverride != nullptr,
            api.copyActiveDisplay != nullptr, api.copyManagedDisplaySpaces != nullptr};
}

TEST(PerDisplayMenuBarAPI, HasWhatTheMacHas) {
    for (const SkyLight& skyLight : SkyLight::all()) {
        SCOPED_TRACE(skyLight.missing());
        SimulatedProcess process(nlohmann::json{{"unavailable", skyLight.missing()}});
        const PerDisplayMenuBarAPI api;
        EXPECT_TRUE(api.handle.isOpen());
        for (std::size_t function = 0; function < skyLightFunctions.size(); ++function) {
            EXPECT_EQ(found(api)[function], skyLight.has(function));
        }
        EXPECT_EQ(api.isComplete(), skyLight.isComplete());
        EXPECT_EQ(nlohmann::json(api.missing), skyLight.missing());
        EXPECT_EQ(process.takeWarnings(), skyLight.warnings());
    }
}

TEST(PerDisplayMenuBarAPI, HasNothingWhenSkyLightCannotBeOpened) {
    SimulatedProcess process(nlohmann::json{{"unavailable", {"SkyLight"}}});
    simulator::addFault({{"call", "dlsym"}, {"effect", true}});  // only counts the calls
    const PerDisplayMenuBarAPI api;
    EXPECT_FALSE(api.handle.isOpen());
    EXPECT_EQ(found(api), (std::array<bool, 6>{}));
    EXPECT_EQ(api.missing, skyLightFunctions);
    EXPECT_FALSE(api.isComplete());
    EXPECT_EQ(process.takeWarnings(), Lines{unavailableWarning});
    EXPECT_EQ(simulator::faultsMet(), 0U);
}

TEST(PerDisplayMenuBarAPI, LooksTheFunctionsUpInOrder) {
    for (std::size_t failing = 0; failing < skyLightFunctions.size(); ++failing) {
        SimulatedProcess process;
        simulator::addFault({{"call", "dlsym"}, {"skip", failing}, {"times", 1}, {"result", 0}});
        std::array<bool, 6> expected{true, true, true, true, true, true};
        expected[failing] = false;
        EXPECT_EQ(found(PerDisplayMenuBarAPI()), expected);
        process.takeWarnings();
    }
}

TEST(PerDisplayMenuBarAPI, FunctionsAreThoseOfTheWindowServer) {
    nlohmann::json mac = macWith({display(7, 1, 1, false)});
    mac["menuBar"] = {{"autoHide", true}};
    SimulatedProcess process(mac);
    const PerDisplayMenuBarAPI api;
    const CGSConnectionID connection = api.mainConnection();
    EXPECT_EQ(connection, CGSMainConnectionID());
    Boolean autoHide = 0;
    EXPECT_EQ(api.getAutohide(connection, &autoHide), 0);
    EXPECT_EQ(autoHide, 1);
    EXPECT_EQ(api.getOverride(connection, 7), 0);
    EXPECT_EQ(api.setOverride(connection, 7, 1), 0);
    EXPECT_EQ(api.getOverride(connection, 7), 1);
}

/// How often SkyLight is open, found by closing it until that fails.
int timesOpen() {
    void* const handle = ::dlopen(
        "/System/Library/PrivateFrameworks/SkyLight.framework/Versions/A/SkyLight", RTLD_LAZY);
    int times = -1;  // not counting the opening above
    while (::dlclose(handle) == 0) {
        ++times;
    }
    return times;
}

TEST(PerDisplayMenuBarAPI, SkyLightIsClosedAtTheEnd) {
    SimulatedProcess process;
    { const PerDisplayMenuBarAPI api; }
    EXPECT_EQ(timesOpen(), 0);
    const PerDisplayMenuBarAPI api;
    EXPECT_EQ(timesOpen(), 1);
}

TEST(PerDisplayMenuBarAPI, IsCreatedOncePerProcess) {
    SimulatedProcess process(nlohmann::json{{"unavailable", {"SkyLight"}}});
    const PerDisplayMenuBarAPI& api = PerDisplayMenuBarAPI::shared();
    simulator::set({{"unavailable", nlohmann::json::array()}});
    EXPECT_EQ(&PerDisplayMenuBarAPI::shared(), &api);
    EXPECT_FALSE(PerDisplayMenuBarAPI::shared().isComplete());
    EXPECT_EQ(process.takeWarnings(), Lines{unavailableWarning});
    process.restart();
    EXPECT_TRUE(PerDisplayMenuBarAPI::shared().isComplete());
}

}  // namespace
}  // namespace tolvaran::tests
