#include "restore/arrangement/hardware.hpp"

#include <gmock/gmock.h>

#include "simulator/simulator.hpp"
#include "tests/support/arrangement_check.hpp"

namespace tolvaran::tests {
namespace {

using testing::ElementsAre;

class HardwareTest : public ProcessTest {
  protected:
    HardwareTest() { start(mac(sideBySide)); }

    static std::vector<CGDirectDisplayID> displaysOf(const std::vector<DisplayFrame>& frames) {
        std::vector<CGDirectDisplayID> displays;
        for (const DisplayFrame& frame : frames) {
            displays.push_back(frame.displayID);
        }
        return displays;
    }
};

TEST_F(HardwareTest, NamesTheDisplaysInTheWindowServersOrder) {
    const Hardware hardware = readHardware();
    EXPECT_THAT(hardware.displays, ElementsAre(1, 2));
    EXPECT_EQ(hardware.signature, sig({1, 2}));
    EXPECT_EQ(hardware.displayIDByCanonicalID,
              (std::map<std::string, CGDirectDisplayID>{{uuid(1), 1}, {uuid(2), 2}}));
    const auto origins = currentOrigins(hardware);
    EXPECT_EQ(origins.at(uuid(1)).x, 0);
    EXPECT_EQ(origins.at(uuid(2)).x, 100);
}

TEST_F(HardwareTest, FoldsTheNamesThroughTheAliases) {
    knowDisplays({{"desk", uuid(2)}});
    EXPECT_EQ(readHardware().displayIDByCanonicalID.count("desk"), 1U);
}

TEST_F(HardwareTest, LeavesOutADisplayThatHasNoArea) {
    const Hardware hardware = readHardware();
    simulator::addFault({{"call", "CGDisplayBounds"}, {"effect", false}, {"times", 1}});
    EXPECT_THAT(displaysOf(currentFrames(hardware.displays)), ElementsAre(2));
}

TEST_F(HardwareTest, ListsTheDisplaysAgainAndKeepsTheFirstListIfItCannot) {
    const Hardware hardware = readHardware();
    simulator::perform({{"connect", mac(three)["displays"][2]}});
    EXPECT_THAT(displaysOf(presentFrames(hardware)), ElementsAre(1, 2, 3));
    failCalls("CGGetActiveDisplayList", 1000);
    EXPECT_THAT(displaysOf(presentFrames(hardware)), ElementsAre(1, 2));
}

}  // namespace
}  // namespace tolvaran::tests
