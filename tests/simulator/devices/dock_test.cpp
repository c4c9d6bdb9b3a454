#include "simulator/devices/dock.hpp"

#include <array>
#include <limits>
#include <string>

#include "platform/private_interfaces.hpp"
#include "tests/simulator/devices/device_test.hpp"
#include "tests/simulator/devices/run_time_library.hpp"

namespace tolvaran::tests {
namespace {

constexpr const char* hiServicesPath =
    "/System/Library/Frameworks/ApplicationServices.framework/Frameworks/HIServices.framework/"
    "HIServices";
const std::string getterName = "CoreDockGetExposeCornerActionsWithModifiers";
const std::string setterName = "CoreDockSetExposeCornerActionWithModifier";
constexpr std::int32_t sentinel = std::numeric_limits<std::int32_t>::min();

using Corners = std::array<std::int32_t, 4>;

class Dock : public DeviceTest {
  protected:
    void SetUp() override {
        simulator::reset({{"dock",
                           {{"autoHide", false},
                            {"cornerActions", {2, 3, 5, 14}},
                            {"cornerModifiers", {0, 131072, 0, -1}}}}});
    }

    void read() {
        auto* const getter =
            hiServices_.find<void(std::int32_t*, std::int32_t*)>(getterName.c_str());
        ASSERT_NE(getter, nullptr);
        getter(actions_.data(), modifiers_.data());
    }

    std::int32_t set(std::int32_t action, std::int32_t corner, std::int32_t modifier) {
        auto* const setter =
            hiServices_.find<std::int32_t(std::int32_t, std::int32_t, std::int32_t)>(
                setterName.c_str());
        EXPECT_NE(setter, nullptr);
        return setter(action, corner, modifier);
    }

    RunTimeLibrary hiServices_{hiServicesPath};
    Corners actions_{sentinel, sentinel, sentinel, sentinel};
    Corners modifiers_{sentinel, sentinel, sentinel, sentinel};
};

TEST_F(Dock, HidesAndStays) {
    EXPECT_EQ(CoreDockGetAutoHideEnabled(), 0);
    CoreDockSetAutoHideEnabled(1);
    EXPECT_EQ(CoreDockGetAutoHideEnabled(), 1);
    EXPECT_EQ(simulator::machine().at("dock").at("autoHide"), true);
    CoreDockSetAutoHideEnabled(0);
    EXPECT_EQ(simulator::machine().at("dock").at("autoHide"), false);
    EXPECT_EQ(
        callLines(),
        (Lines{"CoreDockGetAutoHideEnabled [] = false", "CoreDockSetAutoHideEnabled [true]",
               "CoreDockGetAutoHideEnabled [] = true", "CoreDockSetAutoHideEnabled [false]"}));
}

TEST_F(Dock, AutoHideMeetsFaults) {
    simulator::addFault({{"call", "CoreDockSetAutoHideEnabled"}, {"effect", false}});
    simulator::addFault({{"call", "CoreDockGetAutoHideEnabled"}, {"result", true}});
    CoreDockSetAutoHideEnabled(1);
    EXPECT_EQ(simulator::machine().at("dock").at("autoHide"), false);
    EXPECT_EQ(CoreDockGetAutoHideEnabled(), 1);
}

TEST_F(Dock, GivesItsLiveCorners) {
    read();
    EXPECT_EQ(actions_, (Corners{2, 3, 5, 14}));
    EXPECT_EQ(modifiers_, (Corners{0, 131072, 0, -1}));
    EXPECT_EQ(callLines(), (Lines{getterName + " []"}));
}

TEST_F(Dock, SetsOneCornerAtATime) {
    EXPECT_EQ(set(1, 2, 7), 0);
    EXPECT_EQ(set(10, 0, 0), 0);
    read();
    EXPECT_EQ(actions_, (Corners{10, 3, 1, 14}));
    EXPECT_EQ(modifiers_, (Corners{0, 131072, 7, -1}));
    EXPECT_EQ(callLines(), (Lines{setterName + " [1,2,7] = 0", setterName + " [10,0,0] = 0",
                                  getterName + " []"}));
}

TEST_F(Dock, RefusesACornerThatDoesNotExist) {
    EXPECT_NE(set(1, 4, 0), 0);
    EXPECT_NE(set(1, -1, 0), 0);
    read();
    EXPECT_EQ(actions_, (Corners{2, 3, 5, 14}));
}

TEST_F(Dock, DoesNotTakeCornersFromPreferences) {
    simulator::set({{"preferences", {{"com.apple.dock", {{"wvous-tl-corner", 6}}}}}});
    read();
    EXPECT_EQ(actions_, (Corners{2, 3, 5, 14}));
}

TEST_F(Dock, AGetterThatFailsLeavesTheBuffersUntouched) {
    simulator::addFault({{"call", getterName}, {"effect", false}});
    read();
    EXPECT_EQ(actions_, (Corners{sentinel, sentinel, sentinel, sentinel}));
    EXPECT_EQ(modifiers_, (Corners{sentinel, sentinel, sentinel, sentinel}));
    EXPECT_EQ(callLines().size(), 1U);
}

TEST_F(Dock, ASetterThatFailsLeavesTheCorners) {
    simulator::addFault({{"call", setterName}, {"result", -50}, {"skip", 1}, {"times", 1}});
    EXPECT_EQ(set(1, 0, 0), 0);
    EXPECT_EQ(set(1, 1, 0), -50);
    EXPECT_EQ(set(1, 2, 0), 0);
    read();
    EXPECT_EQ(actions_, (Corners{1, 3, 1, 14}));
}

TEST_F(Dock, FunctionsMayBeMissing) {
    for (const std::string& name : {getterName, setterName}) {
        simulator::set({{"unavailable", nlohmann::json::array({name})}});
        EXPECT_EQ(hiServices_.find<void()>(name.c_str()), nullptr);
        EXPECT_EQ(dlsym(RTLD_DEFAULT, name.c_str()), nullptr);
    }
    simulator::set({{"unavailable", nlohmann::json::array({"HIServices"})}});
    EXPECT_EQ(RunTimeLibrary(hiServicesPath).handle, nullptr);
}

}  // namespace
}  // namespace tolvaran::tests
