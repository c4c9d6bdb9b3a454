#include "simulator/devices/display_modes.hpp"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/private_interfaces.hpp"
#include "tests/simulator/devices/device_test.hpp"

namespace tolvaran::tests {
namespace {

constexpr std::int32_t recordLength = 212;
constexpr std::byte untouched{0xA5};
using Record = std::array<std::byte, 220>;

Record untouchedRecord() {
    Record record{};
    record.fill(untouched);
    return record;
}

void put(Record& record, std::size_t offset, std::array<unsigned char, 4> bytes) {
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        record.at(offset + index) = std::byte{bytes.at(index)};
    }
}

class DisplayModes : public DeviceTest {
  protected:
    void SetUp() override {
        simulator::reset({{"displays",
                           {{{"id", 1},
                             {"frame", {0, 0, 2560, 1440}},
                             {"modes",
                              {{{"number", 0x01020304},
                                {"flags", 0x82000007U},
                                {"width", 2560},
                                {"height", 1440},
                                {"depth", 8},
                                {"hz", 59.94},
                                {"density", 2.0}},
                               {{"number", 5},
                                {"flags", 1},
                                {"width", 640},
                                {"height", 480},
                                {"depth", 4},
                                {"hz", 0},
                                {"density", 1.5}}}},
                             {"mode", 5}},
                            {{"id", 2}, {"frame", {2560, 0, 800, 600}}}}}});
    }
};

TEST_F(DisplayModes, AreCounted) {
    std::int32_t count = 99;
    EXPECT_EQ(CGSGetNumberOfDisplayModes(1, &count), kCGErrorSuccess);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(CGSGetNumberOfDisplayModes(2, &count), kCGErrorSuccess);
    EXPECT_EQ(count, 0);
}

TEST_F(DisplayModes, FillTheBytesOfTheirFieldsAndNoOthers) {
    Record expected = untouchedRecord();
    put(expected, 0, {0x04, 0x03, 0x02, 0x01});
    put(expected, 4, {0x07, 0x00, 0x00, 0x82});
    put(expected, 8, {0x00, 0x0A, 0x00, 0x00});
    put(expected, 12, {0xA0, 0x05, 0x00, 0x00});
    put(expected, 16, {0x08, 0x00, 0x00, 0x00});
    put(expected, 188, {0xA4, 0xF0, 0x3B, 0x00});  // 59.94 * 65536, rounded
    put(expected, 208, {0x00, 0x00, 0x00, 0x40});  // 2.0
    Record record = untouchedRecord();
    EXPECT_EQ(CGSGetDisplayModeDescriptionOfLength(1, 0, record.data(), recordLength),
              kCGErrorSuccess);
    EXPECT_EQ(record, expected);
}

TEST_F(DisplayModes, AreDescribedByIndex) {
    Record record = untouchedRecord();
    EXPECT_EQ(CGSGetDisplayModeDescriptionOfLength(1, 1, record.data(), recordLength),
              kCGErrorSuccess);
    Record expected = untouchedRecord();
    put(expected, 0, {5, 0, 0, 0});
    put(expected, 4, {1, 0, 0, 0});
    put(expected, 8, {0x80, 0x02, 0, 0});
    put(expected, 12, {0xE0, 0x01, 0, 0});
    put(expected, 16, {4, 0, 0, 0});
    put(expected, 188, {0, 0, 0, 0});
    put(expected, 208, {0x00, 0x00, 0xC0, 0x3F});  // 1.5
    EXPECT_EQ(record, expected);
}

TEST_F(DisplayModes, WhatIsRefusedLeavesMemoryAlone) {
    struct Row {
        CGDirectDisplayID display;
        std::int32_t index;
        std::int32_t length;
        CGError error;
    };
    const Row rows[] = {
        {1, 2, recordLength, kCGErrorRangeCheck},
        {1, -1, recordLength, kCGErrorRangeCheck},
        {2, 0, recordLength, kCGErrorRangeCheck},
        {9, 0, recordLength, kCGErrorIllegalArgument},
        {1, 0, recordLength - 1, kCGErrorIllegalArgument},
        {1, 0, recordLength + 1, kCGErrorIllegalArgument},
    };
    for (const auto& [display, index, length, error] : rows) {
        SCOPED_TRACE(testing::Message() << display << ", " << index << ", " << length);
        Record record = untouchedRecord();
        EXPECT_EQ(CGSGetDisplayModeDescriptionOfLength(display, index, record.data(), length),
                  error);
        EXPECT_EQ(record, untouchedRecord());
    }
    std::int32_t number = 99;
    EXPECT_EQ(CGSGetNumberOfDisplayModes(9, &number), kCGErrorIllegalArgument);
    EXPECT_EQ(CGSGetCurrentDisplayMode(9, &number), kCGErrorIllegalArgument);
    EXPECT_EQ(number, 99);
    EXPECT_EQ(CGSGetNumberOfDisplayModes(1, nullptr), kCGErrorIllegalArgument);
    EXPECT_EQ(CGSGetCurrentDisplayMode(1, nullptr), kCGErrorIllegalArgument);
    EXPECT_EQ(CGSGetDisplayModeDescriptionOfLength(1, 0, nullptr, recordLength),
              kCGErrorIllegalArgument);
}

TEST_F(DisplayModes, TheCurrentOneIsItsNumberOrMinusOne) {
    std::int32_t number = 99;
    EXPECT_EQ(CGSGetCurrentDisplayMode(1, &number), kCGErrorSuccess);
    EXPECT_EQ(number, 5);
    EXPECT_EQ(CGSGetCurrentDisplayMode(2, &number), kCGErrorSuccess);
    EXPECT_EQ(number, -1);
}

TEST_F(DisplayModes, MayBeClaimedInAnyNumber) {
    for (const std::int32_t claim : {5, 1, 0, -3, 2147483647}) {
        simulator::devices::claimModeCount(1, claim);
        std::int32_t count = 99;
        EXPECT_EQ(CGSGetNumberOfDisplayModes(1, &count), kCGErrorSuccess);
        EXPECT_EQ(count, claim);
    }
    Record record = untouchedRecord();
    EXPECT_EQ(CGSGetDisplayModeDescriptionOfLength(1, 4, record.data(), recordLength),
              kCGErrorRangeCheck);
    const nlohmann::json mac = simulator::machine();
    simulator::reset(mac);
    std::int32_t count = 99;
    CGSGetNumberOfDisplayModes(1, &count);
    EXPECT_EQ(count, 2);
}

TEST_F(DisplayModes, RefreshRatesRoundAndStayInRange) {
    struct Row {
        double hz;
        std::array<unsigned char, 4> bytes;
    };
    const Row rows[] = {
        {60, {0, 0, 60, 0}}, {0.0000077, {1, 0, 0, 0}},        {0.0000076, {0, 0, 0, 0}},
        {-1, {0, 0, 0, 0}},  {1e12, {0xFF, 0xFF, 0xFF, 0xFF}},
    };
    for (const auto& [hz, bytes] : rows) {
        SCOPED_TRACE(hz);
        nlohmann::json mac = simulator::machine();
        mac["displays"][0]["modes"][0]["hz"] = hz;
        simulator::reset(mac);
        Record record = untouchedRecord();
        CGSGetDisplayModeDescriptionOfLength(1, 0, record.data(), recordLength);
        Record expected = untouchedRecord();
        put(expected, 188, bytes);
        EXPECT_TRUE(std::equal(record.begin() + 188, record.begin() + 192, expected.begin() + 188));
    }
}

TEST_F(DisplayModes, MeetFaults) {
    for (const char* const call :
         {"CGSGetNumberOfDisplayModes", "CGSGetCurrentDisplayMode",
          "CGSGetDisplayModeDescriptionOfLength", "CGSConfigureDisplayMode"}) {
        simulator::addFault({{"call", call}, {"result", 1002}});
    }
    std::int32_t number = 99;
    Record record = untouchedRecord();
    EXPECT_EQ(CGSGetNumberOfDisplayModes(1, &number), kCGErrorInvalidConnection);
    EXPECT_EQ(CGSGetCurrentDisplayMode(1, &number), kCGErrorInvalidConnection);
    EXPECT_EQ(CGSGetDisplayModeDescriptionOfLength(1, 0, record.data(), recordLength),
              kCGErrorInvalidConnection);
    EXPECT_EQ(number, 99);
    EXPECT_EQ(record, untouchedRecord());

    CGDisplayConfigRef config = nullptr;
    CGBeginDisplayConfiguration(&config);
    EXPECT_EQ(CGSConfigureDisplayMode(config, 1, 0x01020304), kCGErrorInvalidConnection);
    CGCompleteDisplayConfiguration(config, kCGConfigureForSession);
    EXPECT_EQ(displayValues("mode"), nlohmann::json({5, nullptr}));
    EXPECT_EQ(callLines().at(1), "CGSConfigureDisplayMode [1,16909060] = 1002");
}

}  // namespace
}  // namespace tolvaran::tests
