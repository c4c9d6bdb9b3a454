#include "simulator/core_foundation/number.hpp"

#include <cmath>
#include <cstring>
#include <limits>

#include "simulator/core_foundation/object.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::cf;

class Number : public SimulatorTest {};

constexpr std::int64_t least64 = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t greatest64 = std::numeric_limits<std::int64_t>::max();
constexpr double infinity = std::numeric_limits<double>::infinity();

template <typename From, typename To>
struct Row {
    From value;
    bool exact;
    To result;
};

template <typename To, typename From>
void expectConversions(CFNumberType type, std::initializer_list<Row<From, To>> rows) {
    for (const auto& [value, exact, expected] : rows) {
        const Owned<CFNumberRef> number(createNumber(value));
        To found{};
        EXPECT_EQ(CFNumberGetValue(number.get(), type, &found), exact) << value;
        EXPECT_EQ(found, expected) << value;
    }
}

TEST_F(Number, ConvertsIntegersToIntegers) {
    expectConversions<std::int32_t, std::int64_t>(kCFNumberSInt32Type,
                                                  {{0, true, 0},
                                                   {-1, true, -1},
                                                   {2147483647, true, 2147483647},
                                                   {2147483648, false, 2147483647},
                                                   {-2147483648, true, -2147483647 - 1},
                                                   {-2147483649, false, -2147483647 - 1},
                                                   {1LL << 40, false, 2147483647}});
    expectConversions<std::int64_t, std::int64_t>(
        kCFNumberSInt64Type, {{least64, true, least64}, {greatest64, true, greatest64}});
    expectConversions<std::int8_t, std::int64_t>(kCFNumberSInt8Type,
                                                 {{127, true, 127},
                                                  {128, true, -128},  // as if unsigned
                                                  {255, true, -1},
                                                  {256, false, 127},
                                                  {-129, false, -128}});
    expectConversions<std::int16_t, std::int64_t>(kCFNumberShortType, {{-32768, true, -32768},
                                                                       {-32769, false, -32768},
                                                                       {65535, true, -1},
                                                                       {65536, false, 32767}});
}

TEST_F(Number, ConvertsFractionsToIntegers) {
    expectConversions<std::int32_t, double>(kCFNumberIntType, {{2.0, true, 2},
                                                               {2.5, false, 2},
                                                               {-2.5, false, -2},
                                                               {-0.5, false, 0},
                                                               {2147483647.5, false, 2147483647},
                                                               {2147483648.0, false, 2147483647},
                                                               {-1e300, false, -2147483647 - 1},
                                                               {infinity, false, 2147483647},
                                                               {std::nan(""), false, 0}});
    expectConversions<std::int64_t, double>(kCFNumberSInt64Type,
                                            {{9223372036854775807.0, false, greatest64},
                                             {-9223372036854775808.0, true, least64},
                                             {9007199254740992.0, true, 9007199254740992}});
}

TEST_F(Number, ConvertsToFractions) {
    expectConversions<double, std::int64_t>(kCFNumberDoubleType,
                                            {{7, true, 7.0},
                                             {9007199254740993, false, 9007199254740992.0},
                                             {greatest64, false, 9223372036854775808.0},
                                             {least64, true, -9223372036854775808.0}});
    expectConversions<float, double>(kCFNumberFloatType, {{0.5, true, 0.5F}, {0.1, false, 0.1F}});
    expectConversions<float, std::int64_t>(
        kCFNumberFloat32Type, {{16777216, true, 16777216.0F}, {16777217, false, 16777216.0F}});
}

TEST_F(Number, RemembersItsOriginalType) {
    const std::int32_t integer = -5;
    const float real = 0.25F;
    const Owned<CFNumberRef> whole(CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &integer));
    const Owned<CFNumberRef> fraction(
        CFNumberCreate(kCFAllocatorDefault, kCFNumberFloatType, &real));
    EXPECT_EQ(CFNumberGetType(whole.get()), kCFNumberSInt32Type);
    EXPECT_FALSE(CFNumberIsFloatType(whole.get()));
    EXPECT_EQ(CFNumberGetType(fraction.get()), kCFNumberFloat32Type);
    EXPECT_TRUE(CFNumberIsFloatType(fraction.get()));
    double value = 0;
    EXPECT_TRUE(CFNumberGetValue(fraction.get(), kCFNumberDoubleType, &value));
    EXPECT_EQ(value, 0.25);
}

TEST_F(Number, CreatesEveryTypeFromItsOwnWidth) {
    // Bytes beyond the type's width must not be read: they are all ones.
    unsigned char bytes[8];
    std::memset(bytes, 0xFF, sizeof bytes);
    bytes[0] = 0xFE;
    const struct {
        CFNumberType type;
        CFNumberType canonical;
    } rows[] = {
        {kCFNumberSInt8Type, kCFNumberSInt8Type},      {kCFNumberSInt16Type, kCFNumberSInt16Type},
        {kCFNumberSInt32Type, kCFNumberSInt32Type},    {kCFNumberSInt64Type, kCFNumberSInt64Type},
        {kCFNumberCharType, kCFNumberSInt8Type},       {kCFNumberShortType, kCFNumberSInt16Type},
        {kCFNumberIntType, kCFNumberSInt32Type},       {kCFNumberLongType, kCFNumberSInt64Type},
        {kCFNumberLongLongType, kCFNumberSInt64Type},  {kCFNumberCFIndexType, kCFNumberSInt64Type},
        {kCFNumberNSIntegerType, kCFNumberSInt64Type},
    };
    for (const auto& [type, canonical] : rows) {
        const Owned<CFNumberRef> number(CFNumberCreate(kCFAllocatorDefault, type, bytes));
        std::int64_t value = 0;
        EXPECT_TRUE(CFNumberGetValue(number.get(), kCFNumberSInt64Type, &value));
        EXPECT_EQ(value, -2) << type;
        EXPECT_EQ(CFNumberGetType(number.get()), canonical) << type;
    }
}

TEST_F(Number, ComparesAcrossTypes) {
    const auto same = [](auto a, auto b) {
        const Owned<CFNumberRef> first(createNumber(a));
        const Owned<CFNumberRef> second(createNumber(b));
        const bool equal = CFEqual(first.get(), second.get()) != 0;
        EXPECT_TRUE(!equal || CFHash(first.get()) == CFHash(second.get()));
        return equal;
    };
    EXPECT_TRUE(same(std::int64_t{1}, 1.0));
    EXPECT_FALSE(same(std::int64_t{1}, 1.5));
    EXPECT_FALSE(same(std::int64_t{9007199254740993}, 9007199254740992.0));
    EXPECT_FALSE(same(greatest64, 9223372036854775808.0));
    EXPECT_TRUE(same(std::nan(""), std::nan("")));
}

}  // namespace
}  // namespace tolvaran::tests
