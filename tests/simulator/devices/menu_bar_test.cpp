#include "simulator/devices/menu_bar.hpp"

#include <string>
#include <vector>

#include "platform/private_interfaces.hpp"
#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "tests/simulator/devices/device_test.hpp"
#include "tests/simulator/devices/run_time_library.hpp"

namespace tolvaran::tests {
namespace {

constexpr const char* skyLightPath =
    "/System/Library/PrivateFrameworks/SkyLight.framework/Versions/A/SkyLight";
constexpr const char* firstUUID = "37D8832A-2D66-02CA-B9F7-8F30A301B230";
constexpr const char* secondUUID = "00000000-0000-0000-0000-00000000000F";

class MenuBar : public DeviceTest {
  protected:
    void SetUp() override {
        simulator::reset({{"displays",
                           {{{"id", 1},
                             {"frame", {0, 0, 1920, 1080}},
                             {"portUUID", firstUUID},
                             {"menuBarOverride", true},
                             {"spaceType", 4}},
                            {{"id", 2},
                             {"frame", {1920, 0, 800, 600}},
                             {"portUUID", secondUUID},
                             {"menuBarOverride", false}},
                            {{"id", 3}, {"frame", {2720, 0, 800, 600}}, {"portUUID", nullptr}}}},
                          {"menuBar", {{"autoHide", false}, {"activeDisplay", secondUUID}}}});
    }

    template <typename Function>
    Function& found(const char* name) {
        Function* const function = skyLight_.find<Function>(name);
        EXPECT_NE(function, nullptr) << name;
        return *function;
    }

    // The functions that are looked up, for the process's own connection or another one.

    std::int32_t setOverride(CGDirectDisplayID display, Boolean visible,
                             std::int32_t connection = CGSMainConnectionID()) {
        return found<std::int32_t(std::int32_t, CGDirectDisplayID, Boolean)>(
            "SLSSetMenuBarVisibilityOverrideOnDisplay")(connection, display, visible);
    }

    bool getOverride(CGDirectDisplayID display, std::int32_t connection = CGSMainConnectionID()) {
        return found<Boolean(std::int32_t, CGDirectDisplayID)>(
                   "SLSGetMenuBarVisibilityOverrideOnDisplay")(connection, display) != 0;
    }

    std::int32_t getAutoHide(Boolean& enabled, std::int32_t connection = CGSMainConnectionID()) {
        return found<std::int32_t(std::int32_t, Boolean*)>("SLSGetMenuBarAutohideEnabled")(
            connection, &enabled);
    }

    nlohmann::json activeDisplay(std::int32_t connection = CGSMainConnectionID()) {
        return copied<CFStringRef>("SLSCopyActiveMenuBarDisplayIdentifier", connection);
    }

    nlohmann::json managedSpaces(std::int32_t connection = CGSMainConnectionID()) {
        return copied<CFArrayRef>("SLSCopyManagedDisplaySpaces", connection);
    }

    /// Makes the next override show late.
    static void delayOverride(int reads) {
        simulator::addFault({{"call", "SLSSetMenuBarVisibilityOverrideOnDisplay"},
                             {"delayReads", reads},
                             {"times", 1}});
    }

    std::vector<bool> readings(CGDirectDisplayID display, std::size_t count) {
        std::vector<bool> values;
        while (values.size() < count) {
            values.push_back(getOverride(display));
        }
        return values;
    }

    /// What a Copy function returns; null for null.
    template <typename Reference>
    nlohmann::json copied(const char* function, std::int32_t connection) {
        const simulator::cf::Owned<Reference> value(
            found<Reference(std::int32_t)>(function)(connection));
        return simulator::cf::toJson(value.get());
    }

    RunTimeLibrary skyLight_{skyLightPath};
};

TEST_F(MenuBar, ConnectionIsTheSameHoweverItIsFound) {
    EXPECT_NE(CGSMainConnectionID(), 0);
    EXPECT_EQ(found<std::int32_t()>("CGSMainConnectionID")(), CGSMainConnectionID());
}

TEST_F(MenuBar, AutoHideIsSwitchedAndRead) {
    for (const Boolean hides : {Boolean{1}, Boolean{0}}) {
        EXPECT_EQ(CGSSetMenuBarAutohideEnabled(CGSMainConnectionID(), hides), kCGErrorSuccess);
        Boolean enabled = 7;
        EXPECT_EQ(getAutoHide(enabled), 0);
        EXPECT_EQ(enabled, hides);
        EXPECT_EQ(simulator::machine().at("menuBar").at("autoHide"), hides != 0);
    }
    EXPECT_EQ(callLines(), (Lines{"CGSSetMenuBarAutohideEnabled [true] = 0",
                                  "CGSSetMenuBarAutohideEnabled [false] = 0"}));
}

TEST_F(MenuBar, OverridesAreReadAndSetPerDisplay) {
    EXPECT_TRUE(getOverride(1));
    EXPECT_FALSE(getOverride(2));
    EXPECT_EQ(setOverride(2, true), 0);
    EXPECT_TRUE(getOverride(2));
    EXPECT_EQ(displayValues("menuBarOverride"), nlohmann::json({true, true, true}));
    EXPECT_EQ(callLines(), (Lines{"SLSGetMenuBarVisibilityOverrideOnDisplay [1] = true",
                                  "SLSGetMenuBarVisibilityOverrideOnDisplay [2] = false",
                                  "SLSSetMenuBarVisibilityOverrideOnDisplay [2,true] = 0",
                                  "SLSGetMenuBarVisibilityOverrideOnDisplay [2] = true"}));
}

TEST_F(MenuBar, ABooleanThatIsNeitherOneNorZeroIsTrueAndRecordedAsItIs) {
    EXPECT_EQ(CGSSetMenuBarAutohideEnabled(CGSMainConnectionID(), 2), kCGErrorSuccess);
    EXPECT_EQ(setOverride(2, 255), 0);
    EXPECT_EQ(simulator::machine().at("menuBar").at("autoHide"), true);
    EXPECT_EQ(displayValues("menuBarOverride").at(1), true);
    EXPECT_EQ(callLines(), (Lines{"CGSSetMenuBarAutohideEnabled [2] = 0",
                                  "SLSSetMenuBarVisibilityOverrideOnDisplay [2,255] = 0"}));
}

TEST_F(MenuBar, AnOverrideMayShowLate) {
    delayOverride(2);
    EXPECT_EQ(setOverride(2, true), 0);
    EXPECT_EQ(displayValues("menuBarOverride").at(1), false);
    EXPECT_EQ(readings(2, 4), (std::vector<bool>{false, false, true, true}));
    EXPECT_EQ(displayValues("menuBarOverride").at(1), true);
    EXPECT_EQ(setOverride(2, false), 0);
    EXPECT_EQ(readings(2, 1), (std::vector<bool>{false}));
}

TEST_F(MenuBar, ALateOverrideIsReplacedByTheNext) {
    delayOverride(1);
    setOverride(2, true);
    setOverride(2, false);
    EXPECT_EQ(readings(2, 3), (std::vector<bool>{false, false, false}));
}

TEST_F(MenuBar, ALateOverrideWaitsForReadsOfItsOwnDisplay) {
    delayOverride(1);
    setOverride(2, true);
    EXPECT_EQ(readings(1, 3), (std::vector<bool>{true, true, true}));
    EXPECT_EQ(readings(2, 2), (std::vector<bool>{false, true}));
}

TEST_F(MenuBar, ResetForgetsALateOverride) {
    delayOverride(1);
    setOverride(2, true);
    const nlohmann::json mac = simulator::machine();
    simulator::reset(mac);
    EXPECT_EQ(readings(2, 3), (std::vector<bool>{false, false, false}));
}

TEST_F(MenuBar, OverrideOfADisplayThatIsNotActiveIsRefused) {
    EXPECT_EQ(setOverride(9, true), kCGErrorIllegalArgument);
    EXPECT_FALSE(getOverride(9));
    EXPECT_EQ(callLines().at(0), "SLSSetMenuBarVisibilityOverrideOnDisplay [9,true] = 1001");
}

TEST_F(MenuBar, ActiveDisplayIsNamedByItsPortUUID) {
    EXPECT_EQ(activeDisplay(), secondUUID);
}

TEST_F(MenuBar, ManagedSpacesNameTheDisplaysThatHaveAUUID) {
    EXPECT_EQ(
        managedSpaces(),
        nlohmann::json({{{"Display Identifier", firstUUID}, {"Current Space", {{"type", 4}}}},
                        {{"Display Identifier", secondUUID}, {"Current Space", {{"type", 0}}}}}));
}

TEST_F(MenuBar, ManagedSpacesMayHaveAnyShape) {
    const nlohmann::json shapes[] = {
        nlohmann::json::array(),
        {{{"Display Identifier", 5}}, "text", {{"Current Space", {{"type", "four"}}}}},
        {{"no", "array"}},
        "no container at all",
        nullptr,
    };
    for (const nlohmann::json& shape : shapes) {
        simulator::devices::replaceManagedDisplaySpaces(shape);
        EXPECT_EQ(managedSpaces(), shape);
    }
    const nlohmann::json mac = simulator::machine();
    simulator::reset(mac);
    EXPECT_EQ(managedSpaces().size(), 2U);
}

TEST_F(MenuBar, AForeignConnectionIsRefused) {
    const std::int32_t foreign = CGSMainConnectionID() + 1;
    const nlohmann::json before = simulator::machine();
    Boolean enabled = 7;
    EXPECT_EQ(CGSSetMenuBarAutohideEnabled(foreign, 1), kCGErrorInvalidConnection);
    EXPECT_EQ(getAutoHide(enabled, foreign), kCGErrorInvalidConnection);
    EXPECT_EQ(enabled, 7);
    EXPECT_EQ(setOverride(1, 0, foreign), kCGErrorInvalidConnection);
    EXPECT_FALSE(getOverride(1, foreign));
    EXPECT_EQ(activeDisplay(foreign), nullptr);
    EXPECT_EQ(managedSpaces(foreign), nullptr);
    EXPECT_EQ(simulator::machine(), before);
}

TEST_F(MenuBar, MeetsFaults) {
    failCalls("CGSSetMenuBarAutohideEnabled", 1000);
    failCalls("SLSGetMenuBarAutohideEnabled", 1001);
    failCalls("SLSSetMenuBarVisibilityOverrideOnDisplay", 1002);
    failCalls("SLSGetMenuBarVisibilityOverrideOnDisplay", false);
    failCalls("SLSCopyActiveMenuBarDisplayIdentifier", nullptr);
    failCalls("SLSCopyManagedDisplaySpaces", nullptr);
    const nlohmann::json before = simulator::machine();
    Boolean enabled = 7;
    EXPECT_EQ(CGSSetMenuBarAutohideEnabled(CGSMainConnectionID(), 1), 1000);
    EXPECT_EQ(getAutoHide(enabled), 1001);
    EXPECT_EQ(enabled, 7);
    EXPECT_EQ(setOverride(2, true), 1002);
    EXPECT_FALSE(getOverride(1));
    EXPECT_EQ(activeDisplay(), nullptr);
    EXPECT_EQ(managedSpaces(), nullptr);
    EXPECT_EQ(simulator::machine(), before);
}

TEST_F(MenuBar, FunctionsMayBeMissing) {
    const nlohmann::json mac = simulator::machine();
    for (const std::string name :
         {"CGSMainConnectionID", "SLSGetMenuBarAutohideEnabled",
          "SLSGetMenuBarVisibilityOverrideOnDisplay", "SLSSetMenuBarVisibilityOverrideOnDisplay",
          "SLSCopyActiveMenuBarDisplayIdentifier", "SLSCopyManagedDisplaySpaces"}) {
        simulator::reset(mac);
        EXPECT_NE(skyLight_.find<void()>(name.c_str()), nullptr) << name;
        simulator::set({{"unavailable", {name}}});
        EXPECT_EQ(skyLight_.find<void()>(name.c_str()), nullptr) << name;
    }
    simulator::set({{"unavailable", {"SkyLight"}}});
    EXPECT_EQ(RunTimeLibrary(skyLightPath).handle, nullptr);
}

}  // namespace
}  // namespace tolvaran::tests
