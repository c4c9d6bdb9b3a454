#include "restore/modes/display_mode_descriptor.hpp"

#include <gmock/gmock.h>

#include <array>
#include <bit>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "restore/paths/restore_log.hpp"

namespace tolvaran::tests {
namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

/// A raw record, filled byte by byte as the window server lays it out.
class Record {
  public:
    Record& put(std::size_t offset, std::uint32_t value) {
        for (std::size_t index = 0; index < 4; ++index) {
            bytes_.at(offset + index) = static_cast<std::byte>((value >> (8 * index)) & 0xFFU);
        }
        return *this;
    }

    DisplayModeDescriptor read() const { return DisplayModeDescriptor::fromRecord(bytes_); }
    const std::array<std::byte, 212>& bytes() const { return bytes_; }

  private:
    std::array<std::byte, 212> bytes_{};
};

TEST(DisplayModeDescriptor, ReadsEachFieldAtItsOffset) {
    const DisplayModeDescriptor mode = Record()
                                           .put(0, 0x04030201)
                                           .put(4, 0x82000001)
                                           .put(8, 2560)
                                           .put(12, 1440)
                                           .put(16, 8)
                                           .put(188, 60U << 16U)
                                           .put(208, std::bit_cast<std::uint32_t>(2.0F))
                                           .read();
    EXPECT_EQ(mode, (DisplayModeDescriptor{.modeNum = 67305985,
                                           .flags = 0x82000001,
                                           .width = 2560,
                                           .height = 1440,
                                           .depth = 8,
                                           .hz = 60.0,
                                           .density = 2.0F}));
}

TEST(DisplayModeDescriptor, ReadsLittleEndianBytes) {
    Record record;
    std::array<std::byte, 212> bytes = record.bytes();
    bytes[0] = std::byte{0x39};
    bytes[1] = std::byte{0x05};
    bytes[8] = std::byte{0x80};
    bytes[9] = std::byte{0x07};
    EXPECT_EQ(DisplayModeDescriptor::fromRecord(bytes).modeNum, 1337);
    EXPECT_EQ(DisplayModeDescriptor::fromRecord(bytes).width, 1920);
}

TEST(DisplayModeDescriptor, ReadsSignedFieldsWithTheirSignAndFlagsWithout) {
    const DisplayModeDescriptor mode = Record()
                                           .put(0, 0xFFFFFFFF)
                                           .put(4, 0xFFFFFFFF)
                                           .put(8, 0xFFFFFFFE)
                                           .put(12, 0x80000000)
                                           .put(16, 0xFFFFFFF8)
                                           .read();
    EXPECT_EQ(mode.modeNum, -1);
    EXPECT_EQ(mode.flags, 4294967295U);
    EXPECT_EQ(mode.width, -2);
    EXPECT_EQ(mode.height, -2147483648LL);
    EXPECT_EQ(mode.depth, -8);
}

TEST(DisplayModeDescriptor, ReadsZerosFromAnUnwrittenRecord) {
    EXPECT_EQ(Record().read(), DisplayModeDescriptor{});
    EXPECT_FALSE(Record().read().isValidForDisplay());
}

TEST(DisplayModeDescriptor, IgnoresEveryOtherByte) {
    const std::vector<std::pair<std::size_t, std::size_t>> unused{{20, 188}, {192, 208}};
    for (const auto& [first, end] : unused) {
        for (std::size_t offset = first; offset < end; ++offset) {
            std::array<std::byte, 212> bytes{};
            bytes.at(offset) = std::byte{0xFF};
            EXPECT_EQ(DisplayModeDescriptor::fromRecord(bytes), DisplayModeDescriptor{}) << offset;
        }
    }
}

TEST(DisplayModeDescriptor, ReadsEveryByteOfItsFields) {
    for (const std::size_t field : {0U, 4U, 8U, 12U, 16U, 188U, 208U}) {
        for (std::size_t offset = field; offset < field + 4; ++offset) {
            std::array<std::byte, 212> bytes{};
            bytes.at(offset) = std::byte{0x11};
            EXPECT_NE(DisplayModeDescriptor::fromRecord(bytes), DisplayModeDescriptor{}) << offset;
        }
    }
}

TEST(DisplayModeDescriptor, ReadsARecordThatBeginsAnywhere) {
    const Record record = Record().put(0, 7).put(8, 1920).put(188, 0x003BF0A4).put(208, 0x40000000);
    for (std::size_t start = 0; start < 8; ++start) {
        alignas(8) std::array<std::byte, 220> memory{};
        std::copy(record.bytes().begin(), record.bytes().end(),
                  memory.begin() + static_cast<std::ptrdiff_t>(start));
        EXPECT_EQ(DisplayModeDescriptor::fromRecord(
                      DisplayModeRecord(memory.data() + start, displayModeRecordLength)),
                  record.read())
            << start;
    }
}

TEST(DisplayModeDescriptor, ReadsTheRateAsFixedPoint) {
    const std::vector<std::pair<std::uint32_t, double>> cases{{0, 0.0},
                                                              {1, 0.0000152587890625},
                                                              {0x00010000, 1.0},
                                                              {0x003C0000, 60.0},
                                                              {0x003B8000, 59.5},
                                                              {0x7FFFFFFF, 32767.9999847412109375},
                                                              {0x80000000, 32768.0},
                                                              {0xFFFFFFFF, 65535.9999847412109375}};
    for (const auto& [raw, hz] : cases) {
        EXPECT_EQ(Record().put(188, raw).read().hz, hz) << raw;
    }
}

TEST(DisplayModeDescriptor, RoundsFixedPointRates) {
    const std::vector<std::pair<std::uint32_t, std::int64_t>> cases{
        {0, 0}, {1, 0}, {0x00007FFF, 0}, {0x00008000, 1}, {0x003B8000, 60}, {0xFFFFFFFF, 65536}};
    for (const auto& [raw, hz] : cases) {
        EXPECT_EQ(Record().put(188, raw).read().spec().hz, hz) << raw;
    }
}

TEST(DisplayModeDescriptor, RoundsTheRateHalfAwayFromZero) {
    const std::vector<std::pair<double, std::int64_t>> cases{
        {59.5, 60},   {60.5, 61},
        {59.94, 60},  {119.88, 120},
        {143.5, 144}, {59.49, 59},
        {0.5, 1},     {0.49999999999999994, 0},  // adding a half first would give 1
        {-0.5, -1},   {-60.5, -61},
        {0.0, 0},     {4503599627370497.0, 4503599627370497}};
    for (const auto& [hz, rounded] : cases) {
        const DisplayModeDescriptor mode{.hz = hz};
        EXPECT_EQ(mode.roundedHz(), rounded) << hz;
        EXPECT_EQ(mode.spec().hz, rounded) << hz;
    }
}

TEST(DisplayModeDescriptor, IsScaledAboveADensityOfOneAndAHalf) {
    const std::vector<std::pair<float, bool>> cases{
        {1.5F, false},
        {std::nextafter(1.5F, 2.0F), true},
        {std::nextafter(1.5F, 1.0F), false},
        {0.0F, false},
        {1.0F, false},
        {2.0F, true},
        {3.0F, true},
        {-2.0F, false},
        {infinity, true},
        {std::numeric_limits<float>::quiet_NaN(), false}};
    for (const auto& [density, scaled] : cases) {
        EXPECT_EQ((DisplayModeDescriptor{.density = density}.scaled()), scaled) << density;
        EXPECT_EQ((DisplayModeDescriptor{.density = density}.spec().scaled), scaled) << density;
        const auto bits = std::bit_cast<std::uint32_t>(density);
        EXPECT_EQ(Record().put(208, bits).read().scaled(), scaled) << density;
    }
}

TEST(DisplayModeDescriptor, ReadsItsFlags) {
    for (unsigned bit = 0; bit < 32; ++bit) {
        const DisplayModeDescriptor mode{.flags = 1U << bit, .depth = 8};
        EXPECT_EQ(mode.isValidForDisplay(), bit == 0) << bit;
        EXPECT_EQ(mode.isNativeTiming(), bit == 25) << bit;
        const DisplayModeDescriptor without{.flags = ~(1U << bit), .depth = 8};
        EXPECT_EQ(without.isValidForDisplay(), bit != 0) << bit;
        EXPECT_EQ(without.isNativeTiming(), bit != 25) << bit;
    }
}

TEST(DisplayModeDescriptor, IsUsableWhenValidAndOfTheOneDepth) {
    for (const std::int64_t depth : {0, 1, 4, 7, 8, 9, 16, 24, 32, -8}) {
        EXPECT_EQ((DisplayModeDescriptor{.flags = 1, .depth = depth}.isUsable()), depth == 8);
        EXPECT_FALSE((DisplayModeDescriptor{.flags = 2, .depth = depth}.isUsable()));
    }
}

struct PixelCase {
    float density;
    std::int64_t width;
    std::int64_t pixels;
};

TEST(DisplayModeDescriptor, ComputesThePixelWidthInSinglePrecision) {
    const std::vector<PixelCase> cases{
        {2.0F, 2560, 5120},        {1.0F, 1920, 1920}, {1.5F, 1, 2}, {0.5F, 1, 1}, {-0.5F, 1, -1},
        {0.0F, 1920, 0},           {1.15F, 10, 12},  // 11.5, but 11.4999998 in double
        {1.05F, 10, 11},                             // likewise 10.5
        {1.0F, 16777217, 16777216}  // the width itself does not fit in single precision
    };
    for (const PixelCase& pixel : cases) {
        const DisplayModeDescriptor mode{.width = pixel.width, .density = pixel.density};
        EXPECT_EQ(mode.pixelWidth(), pixel.pixels) << pixel.density << " times " << pixel.width;
    }
}

TEST(DisplayModeDescriptor, DescribesItselfAsASpec) {
    const DisplayModeDescriptor mode{.modeNum = 12,
                                     .flags = 3,
                                     .width = 2560,
                                     .height = 1440,
                                     .depth = 8,
                                     .hz = 59.94,
                                     .density = 2.0F};
    EXPECT_EQ(mode.spec(), (DisplayModeSpec{2560, 1440, true, 60}));
}

TEST(DisplayModeDescriptor, IsEqualOnlyInAllFields) {
    const DisplayModeDescriptor mode{1, 2, 3, 4, 5, 6.0, 7.0F};
    EXPECT_EQ(mode, (DisplayModeDescriptor{1, 2, 3, 4, 5, 6.0, 7.0F}));
    EXPECT_NE(mode, (DisplayModeDescriptor{9, 2, 3, 4, 5, 6.0, 7.0F}));
    EXPECT_NE(mode, (DisplayModeDescriptor{1, 9, 3, 4, 5, 6.0, 7.0F}));
    EXPECT_NE(mode, (DisplayModeDescriptor{1, 2, 9, 4, 5, 6.0, 7.0F}));
    EXPECT_NE(mode, (DisplayModeDescriptor{1, 2, 3, 9, 5, 6.0, 7.0F}));
    EXPECT_NE(mode, (DisplayModeDescriptor{1, 2, 3, 4, 9, 6.0, 7.0F}));
    EXPECT_NE(mode, (DisplayModeDescriptor{1, 2, 3, 4, 5, 9.0, 7.0F}));
    EXPECT_NE(mode, (DisplayModeDescriptor{1, 2, 3, 4, 5, 6.0, 9.0F}));
}

void logToStandardError() {
    RestoreLog::warn = [](const std::string& message) { std::fputs(message.c_str(), stderr); };
}

TEST(DisplayModeDescriptorDeathTest, StopsTheProgramOnARateThatIsNotAnInteger) {
    for (const double hz : {std::numeric_limits<double>::quiet_NaN(),
                            std::numeric_limits<double>::infinity(), 9223372036854775808.0}) {
        const DisplayModeDescriptor mode{.modeNum = 7, .hz = hz};
        EXPECT_EXIT(
            {
                logToStandardError();
                static_cast<void>(mode.spec());
            },
            testing::KilledBySignal(SIGABRT), "stopping: refresh rate of mode 7 is ");
    }
}

TEST(DisplayModeDescriptorDeathTest, StopsTheProgramOnAPixelWidthThatIsNotAnInteger) {
    for (const float density : {std::numeric_limits<float>::quiet_NaN(), infinity, 1e30F}) {
        const DisplayModeDescriptor mode{.modeNum = 7, .width = 1920, .density = density};
        EXPECT_EXIT(
            {
                logToStandardError();
                static_cast<void>(mode.pixelWidth());
            },
            testing::KilledBySignal(SIGABRT), "stopping: pixel width of mode 7 is ");
    }
}

}  // namespace
}  // namespace tolvaran::tests
