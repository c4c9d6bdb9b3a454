#include <CoreGraphics/CoreGraphics.h>

#include "tests/simulator/devices/device_test.hpp"

namespace tolvaran::tests {
namespace {

using Cursor = DeviceTest;

TEST_F(Cursor, IsAssociatedAndDissociated) {
    EXPECT_EQ(CGAssociateMouseAndMouseCursorPosition(0), kCGErrorSuccess);
    EXPECT_EQ(simulator::machine().at("cursorAssociated"), false);
    EXPECT_EQ(CGAssociateMouseAndMouseCursorPosition(1), kCGErrorSuccess);
    EXPECT_EQ(simulator::machine().at("cursorAssociated"), true);
    EXPECT_EQ(callLines(), (Lines{"CGAssociateMouseAndMouseCursorPosition [false] = 0",
                                  "CGAssociateMouseAndMouseCursorPosition [true] = 0"}));
}

TEST_F(Cursor, MeetsFaults) {
    simulator::addFault({{"call", "CGAssociateMouseAndMouseCursorPosition"}, {"result", 1001}});
    EXPECT_EQ(CGAssociateMouseAndMouseCursorPosition(0), kCGErrorIllegalArgument);
    EXPECT_EQ(simulator::machine().at("cursorAssociated"), true);
    EXPECT_EQ(callLines(), (Lines{"CGAssociateMouseAndMouseCursorPosition [false] = 1001"}));
}

}  // namespace
}  // namespace tolvaran::tests
