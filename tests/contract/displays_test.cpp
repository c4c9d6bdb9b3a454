// The display services: the list, the displays' properties, configurations, callbacks, the cursor.
#include <ColorSync/ColorSync.h>
#include <CoreGraphics/CoreGraphics.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"
#include "tests/contract/the_mac.hpp"

namespace {

using tolvaran::CFRef;

class Displays : public Contract {
  protected:
    Displays() {
        CGDirectDisplayID listed[32] = {};
        std::uint32_t count = 0;
        EXPECT_EQ(CGGetActiveDisplayList(32, listed, &count), kCGErrorSuccess);
        displays.assign(listed, listed + count);
    }

    std::vector<CGDirectDisplayID> displays;
};

constexpr CGDirectDisplayID noDisplay = 0x7FFF1234;

bool sameBounds(CGRect a, CGRect b) {
    return CGRectEqualToRect(a, b);
}

std::string portUUID(CGDirectDisplayID display) {
    const auto uuid = CFRef<CFUUIDRef>::assume(CGDisplayCreateUUIDFromDisplayID(display));
    if (!uuid) {
        return "";
    }
    const auto text =
        CFRef<CFStringRef>::assume(CFUUIDCreateString(kCFAllocatorDefault, uuid.get()));
    return tolvaran::cf::string(text.get()).value_or("");
}

// Documented: no more than the given number is stored; without a list, the count is that of all
// displays. (It is also documented that the main display is listed first; nothing relies on it, and
// the simulated Mac lists it second.)
TEST_F(Displays, TheListNamesEveryActiveDisplayOnce) {
    ASSERT_FALSE(displays.empty());
    std::uint32_t count = 0;
    EXPECT_EQ(CGGetActiveDisplayList(0, nullptr, &count), kCGErrorSuccess);
    EXPECT_EQ(count, displays.size());
    for (const CGDirectDisplayID display : displays) {
        EXPECT_NE(display, kCGNullDirectDisplay);
        EXPECT_TRUE(CGDisplayIsActive(display));
        EXPECT_EQ(std::ranges::count(displays, display), 1);
    }
    EXPECT_FALSE(CGDisplayIsActive(noDisplay));
    EXPECT_EQ(std::ranges::count(displays, noDisplay), 0);
}

// Documented: no more than the given number is stored, and the count is that of the stored ones.
TEST_F(Displays, TheListIsCutOffAtTheEndOfTheBuffer) {
    CGDirectDisplayID listed[2] = {noDisplay, noDisplay};
    std::uint32_t count = 0;
    EXPECT_EQ(CGGetActiveDisplayList(1, listed, &count), kCGErrorSuccess);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(listed[0], displays.front());
    EXPECT_EQ(listed[1], noDisplay);
}

// Documented: global coordinates count from the main display's upper left corner; the bounds of an
// ID that is not a display's are CGRectZero.
TEST_F(Displays, TheMainDisplayIsAtTheOriginAndEveryDisplayHasAnArea) {
    const CGDirectDisplayID main = CGMainDisplayID();
    EXPECT_EQ(std::ranges::count(displays, main), 1);
    EXPECT_TRUE(CGPointEqualToPoint(CGDisplayBounds(main).origin, CGPointZero));
    for (const CGDirectDisplayID display : displays) {
        EXPECT_GT(CGRectGetWidth(CGDisplayBounds(display)), 0);
        EXPECT_GT(CGRectGetHeight(CGDisplayBounds(display)), 0);
    }
    EXPECT_TRUE(sameBounds(CGDisplayBounds(noDisplay), CGRectZero));
}

// The numbers of a monitor do not change from call to call. Left open: the numbers of a monitor
// that reports none, so none are expected.
TEST_F(Displays, AMonitorsNumbersStayTheSame) {
    for (const CGDirectDisplayID display : displays) {
        EXPECT_EQ(CGDisplayVendorNumber(display), CGDisplayVendorNumber(display));
        EXPECT_EQ(CGDisplayModelNumber(display), CGDisplayModelNumber(display));
        EXPECT_EQ(CGDisplaySerialNumber(display), CGDisplaySerialNumber(display));
    }
}

// Left open, since the header only names the conversion: whether every display has a UUID, how long
// it stays the same, and what an ID that is not a display's gives. Null means "has none".
TEST_F(Displays, EveryDisplayHasAUUIDOfItsOwnThatStaysTheSame) {
    std::vector<std::string> seen;
    for (const CGDirectDisplayID display : displays) {
        const std::string uuid = portUUID(display);
        EXPECT_THAT(uuid, testing::SizeIs(36));
        EXPECT_EQ(portUUID(display), uuid);
        EXPECT_EQ(std::ranges::count(seen, uuid), 0);
        seen.push_back(uuid);
    }
    EXPECT_EQ(portUUID(noDisplay), "");
}

// Documented: cancelling discards all changes of the configuration; none is made before completion.
TEST_F(Displays, ACancelledConfigurationChangesNothing) {
    const CGDirectDisplayID display = displays.back();
    const CGRect before = CGDisplayBounds(display);
    CGDisplayConfigRef configuration = nullptr;
    ASSERT_EQ(CGBeginDisplayConfiguration(&configuration), kCGErrorSuccess);
    EXPECT_NE(configuration, nullptr);
    EXPECT_EQ(CGConfigureDisplayOrigin(configuration, display,
                                       static_cast<std::int32_t>(before.origin.x) + 40,
                                       static_cast<std::int32_t>(before.origin.y) + 40),
              kCGErrorSuccess);
    EXPECT_TRUE(sameBounds(CGDisplayBounds(display), before));
    EXPECT_EQ(CGCancelDisplayConfiguration(configuration), kCGErrorSuccess);
    the_mac::letPass(0.2);
    EXPECT_TRUE(sameBounds(CGDisplayBounds(display), before));
}

// Left open: whether one may begin while another is open. One after another must work.
TEST_F(Displays, OneConfigurationCanBeBegunAfterAnother) {
    for (int round = 0; round < 3; ++round) {
        CGDisplayConfigRef configuration = nullptr;
        ASSERT_EQ(CGBeginDisplayConfiguration(&configuration), kCGErrorSuccess);
        EXPECT_EQ(CGCancelDisplayConfiguration(configuration), kCGErrorSuccess);
    }
}

/// Moves one display; the window server may put it elsewhere, to avoid gaps and overlaps.
void moveDisplay(CGDirectDisplayID display, CGPoint origin) {
    CGDisplayConfigRef configuration = nullptr;
    ASSERT_EQ(CGBeginDisplayConfiguration(&configuration), kCGErrorSuccess);
    EXPECT_EQ(CGConfigureDisplayOrigin(configuration, display, static_cast<std::int32_t>(origin.x),
                                       static_cast<std::int32_t>(origin.y)),
              kCGErrorSuccess);
    EXPECT_EQ(CGCompleteDisplayConfiguration(configuration, kCGConfigureForSession),
              kCGErrorSuccess);
}

/// The calls of a reconfiguration callback.
using Calls = std::vector<std::pair<CGDirectDisplayID, CGDisplayChangeSummaryFlags>>;

void keep(CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags, void* calls) {
    static_cast<Calls*>(calls)->emplace_back(display, flags);
}

// Documented: a registered callback is called for each display before a reconfiguration, with the
// begin flag alone, and after it, with flags for what has changed. Left open: the order of the
// displays.
TEST_F(Displays, AMoveShowsAtOnceAndIsReportedBeforeAndAfter) {
    const auto other = std::ranges::find_if(
        displays, [](CGDirectDisplayID display) { return display != CGMainDisplayID(); });
    if (!the_mac::mayBeDisturbed() || other == displays.end()) {
        GTEST_SKIP() << "moves a second display and back: needs one, and permission to disturb";
    }
    const CGRect before = CGDisplayBounds(*other);
    // Along the edge that the two displays share, so that no gap or overlap results.
    const bool isBeside = before.origin.x >= CGRectGetMaxX(CGDisplayBounds(CGMainDisplayID())) ||
                          CGRectGetMaxX(before) <= 0;
    const CGPoint place = isBeside ? CGPointMake(before.origin.x, before.origin.y + 40)
                                   : CGPointMake(before.origin.x + 40, before.origin.y);
    Calls calls;
    ASSERT_EQ(CGDisplayRegisterReconfigurationCallback(keep, &calls), kCGErrorSuccess);
    moveDisplay(*other, place);
    EXPECT_TRUE(CGPointEqualToPoint(CGDisplayBounds(*other).origin, place));
    EXPECT_TRUE(the_mac::waitUntil([&] {
        return std::ranges::any_of(calls, [&](const auto& call) {
            return call.first == *other && (call.second & kCGDisplayMovedFlag) != 0;
        });
    }));
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.front().second, kCGDisplayBeginConfigurationFlag);
    for (const auto& [display, flags] : calls) {
        const bool begins = (flags & kCGDisplayBeginConfigurationFlag) != 0;
        EXPECT_TRUE(!begins || flags == kCGDisplayBeginConfigurationFlag) << flags;
    }

    EXPECT_EQ(CGDisplayRemoveReconfigurationCallback(keep, &calls), kCGErrorSuccess);
    calls.clear();
    moveDisplay(*other, before.origin);
    the_mac::letPass(1);
    EXPECT_TRUE(sameBounds(CGDisplayBounds(*other), before));
    EXPECT_EQ(calls, Calls());
}

// Documented: the mouse and the cursor are associated at first. Left open: what associating them
// again does; it is not an error.
TEST_F(Displays, TheCursorCanBeAssociatedWhateverItWas) {
    EXPECT_EQ(CGAssociateMouseAndMouseCursorPosition(true), kCGErrorSuccess);
    EXPECT_EQ(CGAssociateMouseAndMouseCursorPosition(true), kCGErrorSuccess);
}

// Documented.
TEST_F(Displays, ARectanglesEdgesAreItsOriginAndWhatItsSizeAdds) {
    const CGRect rect = CGRectMake(-3, 4, 10, 20);
    EXPECT_EQ(CGRectGetMinX(rect), -3);
    EXPECT_EQ(CGRectGetMaxX(rect), 7);
    EXPECT_EQ(CGRectGetMinY(rect), 4);
    EXPECT_EQ(CGRectGetMaxY(rect), 24);
    EXPECT_EQ(CGRectGetWidth(rect), 10);
    EXPECT_TRUE(CGPointEqualToPoint(rect.origin, CGPointMake(-3, 4)));
    EXPECT_FALSE(CGPointEqualToPoint(rect.origin, CGPointMake(-3, 5)));
}

}  // namespace
