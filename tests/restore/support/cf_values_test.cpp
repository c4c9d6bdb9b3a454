#include "restore/support/cf_values.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <new>

#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using namespace cf;

class CFValues : public ProcessTest {};

CFRef<CFNumberRef> real(double value) {
    return CFRef<CFNumberRef>::assume(
        CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &value));
}

TEST_F(CFValues, StringsKeepTheirText) {
    for (const std::string& text : {std::string(), std::string("é€𝄞"), std::string("a\0b", 3)}) {
        EXPECT_EQ(string(makeString(text).get()), text);
    }
    EXPECT_THROW(makeString("\xff"), std::bad_alloc);
    EXPECT_EQ(string(nullptr), std::nullopt);
    EXPECT_EQ(string(makeNumber(1).get()), std::nullopt);
}

TEST_F(CFValues, NothingIsCreatedWithoutMemory) {
    for (const std::string function :
         {"CFStringCreateWithBytes", "CFNumberCreate", "CFDictionaryCreate"}) {
        simulator::addFault({{"call", function}, {"result", nullptr}});
    }
    EXPECT_THROW(makeString("text"), std::bad_alloc);
    EXPECT_THROW(makeNumber(1), std::bad_alloc);
    EXPECT_THROW(makeDictionary(CFSTR("key"), kCFBooleanTrue), std::bad_alloc);
}

TEST_F(CFValues, IntegersComeFromNumbersAndBooleans) {
    EXPECT_EQ(integer(makeNumber(-7).get()), -7);
    EXPECT_EQ(integer(makeNumber(std::numeric_limits<std::int64_t>::max()).get()),
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(integer(kCFBooleanTrue), 1);
    EXPECT_EQ(integer(kCFBooleanFalse), 0);
    EXPECT_EQ(integer(real(2.9).get()), 2);
    EXPECT_EQ(integer(real(-2.9).get()), -2);
    EXPECT_EQ(integer(real(1e19).get()), std::nullopt);
    EXPECT_EQ(integer(real(std::numeric_limits<double>::quiet_NaN()).get()), std::nullopt);
    EXPECT_EQ(integer(makeString("1").get()), std::nullopt);
    EXPECT_EQ(integer(nullptr), std::nullopt);
}

TEST_F(CFValues, Unsigned32TakesOnlyWhatFitsExactly) {
    EXPECT_EQ(unsigned32(makeNumber(4294967295).get()), 4294967295U);
    EXPECT_EQ(unsigned32(makeNumber(4294967296).get()), std::nullopt);
    EXPECT_EQ(unsigned32(makeNumber(-1).get()), std::nullopt);
    EXPECT_EQ(unsigned32(real(2.0).get()), 2U);
    EXPECT_EQ(unsigned32(real(2.5).get()), std::nullopt);
    EXPECT_EQ(unsigned32(real(-0.5).get()), std::nullopt);
    EXPECT_EQ(unsigned32(makeString("1").get()), std::nullopt);
}

TEST_F(CFValues, BooleansAreNotNumbers) {
    EXPECT_EQ(boolean(kCFBooleanTrue), true);
    EXPECT_EQ(boolean(makeNumber(1).get()), std::nullopt);
    EXPECT_EQ(boolean(nullptr), std::nullopt);
}

TEST_F(CFValues, DictionariesHaveStringKeys) {
    const auto good = makeDictionary(CFSTR("key"), kCFBooleanTrue);
    EXPECT_EQ(dictionary(good.get()), good.get());
    EXPECT_EQ(value(good.get(), CFSTR("key")), kCFBooleanTrue);
    EXPECT_EQ(value(good.get(), CFSTR("other")), nullptr);
    const void* keys[] = {kCFBooleanTrue};
    const void* values[] = {kCFBooleanTrue};
    const auto bad = CFRef<CFDictionaryRef>::assume(
        CFDictionaryCreate(kCFAllocatorDefault, keys, values, 1, &kCFTypeDictionaryKeyCallBacks,
                           &kCFTypeDictionaryValueCallBacks));
    EXPECT_EQ(dictionary(bad.get()), nullptr);
    EXPECT_EQ(dictionary(kCFBooleanTrue), nullptr);
    EXPECT_EQ(dictionary(nullptr), nullptr);
    EXPECT_EQ(array(good.get()), nullptr);
}

TEST_F(CFValues, ReferencesAreCountedThroughCopiesAndMoves) {
    const auto first = makeString("counted");
    EXPECT_EQ(CFGetRetainCount(first.get()), 1);
    CFRef<CFStringRef> second = first;
    EXPECT_EQ(CFGetRetainCount(first.get()), 2);
    const CFRef<CFStringRef> third = std::move(second);
    EXPECT_EQ(CFGetRetainCount(first.get()), 2);
    second = third;
    EXPECT_EQ(CFGetRetainCount(first.get()), 3);
    second = CFRef<CFStringRef>();
    EXPECT_EQ(CFGetRetainCount(first.get()), 2);
    const auto fourth = CFRef<CFStringRef>::retain(first.get());
    EXPECT_EQ(CFGetRetainCount(first.get()), 3);
    EXPECT_FALSE(CFRef<CFStringRef>::retain(nullptr));
}

}  // namespace
}  // namespace tolvaran::tests
