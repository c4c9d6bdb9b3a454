#include "simulator/devices/displays.hpp"

#include <ColorSync/ColorSync.h>

#include <array>
#include <map>
#include <stdexcept>

#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "tests/simulator/devices/device_test.hpp"

namespace tolvaran::tests {
namespace {

class Displays : public DeviceTest {
  protected:
    void SetUp() override {
        simulator::reset({{"displays",
                           {{{"id", 7},
                             {"frame", {-1280, 10.5, 1280, 1024}},
                             {"vendor", 1552},
                             {"model", 41234},
                             {"serial", 4294967295U},
                             {"portUUID", "37D8832A-2D66-02CA-B9F7-8F30A301B230"}},
                            {{"id", 3}, {"frame", {0, 0, 1920, 1080}}, {"portUUID", nullptr}},
                            {{"id", 5}, {"frame", {1920, 0, 800, 600}}}}}});
    }
};

TEST_F(Displays, AreListedInTheMachinesOrderUpToTheLimitAndCounted) {
    using IDs = std::array<CGDirectDisplayID, 4>;
    const struct {
        std::uint32_t limit;
        bool hasBuffer;
        IDs ids;
        std::uint32_t count;
    } rows[] = {
        {4, true, {7, 3, 5, 99}, 3},
        {2, true, {7, 3, 99, 99}, 2},
        {0, false, {99, 99, 99, 99}, 3},
        {1, false, {99, 99, 99, 99}, 3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.limit << ", with a buffer: " << row.hasBuffer);
        IDs ids{99, 99, 99, 99};
        std::uint32_t count = 99;
        EXPECT_EQ(CGGetActiveDisplayList(row.limit, row.hasBuffer ? ids.data() : nullptr, &count),
                  kCGErrorSuccess);
        EXPECT_EQ(count, row.count);
        EXPECT_EQ(ids, row.ids);
    }
}

TEST_F(Displays, TheCountMayBeLeftOut) {
    CGDirectDisplayID first = 0;
    EXPECT_EQ(CGGetActiveDisplayList(1, &first, nullptr), kCGErrorSuccess);
    EXPECT_EQ(first, 7U);
}

TEST_F(Displays, AnswerTheirBoundsAndNumbers) {
    EXPECT_TRUE(CGRectEqualToRect(CGDisplayBounds(7), CGRectMake(-1280, 10.5, 1280, 1024)));
    EXPECT_EQ(CGDisplayVendorNumber(7), 1552U);
    EXPECT_EQ(CGDisplayModelNumber(7), 41234U);
    EXPECT_EQ(CGDisplaySerialNumber(7), 4294967295U);
    EXPECT_EQ(CGDisplayVendorNumber(3), 0U);
    EXPECT_EQ(CGMainDisplayID(), 3U);
    EXPECT_TRUE(CGDisplayIsActive(5));
}

TEST_F(Displays, AnswerZeroForADisplayThatIsNotActive) {
    EXPECT_TRUE(CGRectEqualToRect(CGDisplayBounds(8), CGRectZero));
    EXPECT_EQ(CGDisplayVendorNumber(8), 0U);
    EXPECT_EQ(CGDisplayModelNumber(8), 0U);
    EXPECT_EQ(CGDisplaySerialNumber(8), 0U);
    EXPECT_FALSE(CGDisplayIsActive(8));
    EXPECT_EQ(CGDisplayCreateUUIDFromDisplayID(8), nullptr);
}

TEST_F(Displays, GiveTheirPortUUID) {
    const simulator::cf::Owned<CFUUIDRef> uuid(CGDisplayCreateUUIDFromDisplayID(7));
    ASSERT_NE(uuid.get(), nullptr);
    const simulator::cf::Owned<CFStringRef> text(CFUUIDCreateString(nullptr, uuid.get()));
    EXPECT_EQ(simulator::cf::text(text.get()), "37D8832A-2D66-02CA-B9F7-8F30A301B230");
    EXPECT_EQ(simulator::liveObjects(), 2U);
}

TEST_F(Displays, MayHaveNoPortUUID) {
    EXPECT_EQ(CGDisplayCreateUUIDFromDisplayID(3), nullptr);
}

TEST_F(Displays, GetTheirOwnPortUUIDIfNoneIsGiven) {
    simulator::reset(twoDisplays());
    const simulator::cf::Owned<CFUUIDRef> one(CGDisplayCreateUUIDFromDisplayID(1));
    const simulator::cf::Owned<CFUUIDRef> two(CGDisplayCreateUUIDFromDisplayID(2));
    ASSERT_NE(one.get(), nullptr);
    ASSERT_NE(two.get(), nullptr);
    EXPECT_FALSE(CFEqual(one.get(), two.get()));
}

TEST_F(Displays, QueriesMeetFaults) {
    failCalls("CGGetActiveDisplayList", 1000);
    failCalls("CGMainDisplayID", 42);
    simulator::addFault({{"call", "CGDisplayBounds"}, {"effect", false}});
    failCalls("CGDisplayVendorNumber", 0);
    failCalls("CGDisplayModelNumber", 1);
    failCalls("CGDisplaySerialNumber", 2);
    failCalls("CGDisplayCreateUUIDFromDisplayID", nullptr);
    std::uint32_t count = 99;
    EXPECT_EQ(CGGetActiveDisplayList(0, nullptr, &count), kCGErrorFailure);
    EXPECT_EQ(count, 99U);
    EXPECT_EQ(CGMainDisplayID(), 42U);
    EXPECT_TRUE(CGRectEqualToRect(CGDisplayBounds(7), CGRectZero));
    EXPECT_EQ(CGDisplayVendorNumber(7), 0U);
    EXPECT_EQ(CGDisplayModelNumber(7), 1U);
    EXPECT_EQ(CGDisplaySerialNumber(7), 2U);
    EXPECT_EQ(CGDisplayCreateUUIDFromDisplayID(7), nullptr);
}

TEST_F(Displays, QueriesAreNotAmongTheResultsCalls) {
    CGMainDisplayID();
    CGDisplayBounds(7);
    std::uint32_t count = 0;
    CGGetActiveDisplayList(0, nullptr, &count);
    EXPECT_EQ(callLines(), Lines{});
}

TEST_F(Displays, ConnectedOnesAreListedLast) {
    simulator::devices::connect(displayAt(4, CGRectMake(0, 1080, 640, 480)));
    EXPECT_EQ(displayValues("id"), nlohmann::json({7, 3, 5, 4}));
    EXPECT_TRUE(CGRectEqualToRect(CGDisplayBounds(4), CGRectMake(0, 1080, 640, 480)));
    EXPECT_EQ(CGMainDisplayID(), 3U);
}

TEST_F(Displays, DisconnectedOnesAreGone) {
    simulator::devices::disconnect(7);
    EXPECT_EQ(displayValues("id"), nlohmann::json({3, 5}));
    EXPECT_FALSE(CGDisplayIsActive(7));
}

TEST_F(Displays, MoveWhenArranged) {
    simulator::devices::arrange({{7, CGPointMake(100, 1080)}, {5, CGPointMake(-800.5, -600)}});
    EXPECT_EQ(
        displayValues("frame"),
        nlohmann::json({{100, 1080, 1280, 1024}, {0, 0, 1920, 1080}, {-800.5, -600, 800, 600}}));
}

TEST_F(Displays, ImpossibleEventsAreRefused) {
    using simulator::devices::arrange;
    using simulator::devices::connect;
    using simulator::devices::disconnect;
    const nlohmann::json before = simulator::machine();
    EXPECT_THROW(connect(displayAt(5, CGRectZero)), std::invalid_argument);
    EXPECT_THROW(disconnect(8), std::invalid_argument);
    EXPECT_THROW(arrange({{5, CGPointMake(1, 1)}, {8, CGPointMake(2, 2)}}), std::invalid_argument);
    EXPECT_EQ(simulator::machine(), before);
}

}  // namespace
}  // namespace tolvaran::tests
