// Which bytes are text, and what damaged text becomes, is in tests/contract/values_test.cpp.
#include <CoreFoundation/CoreFoundation.h>

#include <string>
#include <string_view>

#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::cf;

class String : public SimulatorTest {};
class StringDeathTest : public SimulatorTest {};

Owned<CFStringRef> fromBytes(std::string_view bytes,
                             CFStringEncoding encoding = kCFStringEncodingUTF8,
                             bool external = false) {
    return Owned<CFStringRef>(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
                                static_cast<CFIndex>(bytes.size()), encoding, external));
}

TEST_F(String, SkipsAByteOrderMark) {
    EXPECT_EQ(text(fromBytes("\xEF\xBB\xBFx", kCFStringEncodingUTF8, true).get()), "x");
}

TEST_F(String, TakesASCIIBytesAsCodePoints) {
    EXPECT_EQ(text(fromBytes("a\xE9", kCFStringEncodingASCII).get()), "a\xC3\xA9");
}

TEST_F(String, GivesBytesOfARange) {
    const Owned<CFStringRef> string = fromBytes("a\xE2\x82\xAC\xF0\x90\x80\x80z");  // a € 𐀀 z
    const struct {
        CFRange range;
        CFIndex room;
        UInt8 lossByte;
        CFIndex converted;
        std::string bytes;
    } rows[] = {
        {{0, 5}, 100, 0, 5, "a\xE2\x82\xAC\xF0\x90\x80\x80z"},
        {{1, 1}, 100, 0, 1, "\xE2\x82\xAC"},
        {{5, 0}, 100, 0, 0, ""},
        {{0, 5}, 3, 0, 1, "a"},  // whole characters only
        {{0, 5}, 4, 0, 2, "a\xE2\x82\xAC"},
        {{2, 1}, 100, 0, 0, ""},    // half a character has no form
        {{2, 1}, 100, '?', 0, ""},  // and nothing replaces it
        {{3, 2}, 100, '?', 0, ""},
    };
    for (const auto& row : rows) {
        std::string buffer(100, '\0');
        CFIndex used = -1;
        EXPECT_EQ(CFStringGetBytes(string.get(), row.range, kCFStringEncodingUTF8, row.lossByte,
                                   false, reinterpret_cast<UInt8*>(buffer.data()), row.room, &used),
                  row.converted);
        EXPECT_EQ(buffer.substr(0, static_cast<std::size_t>(used)), row.bytes);
        CFIndex needed = -1;
        CFStringGetBytes(string.get(), row.range, kCFStringEncodingUTF8, row.lossByte, false,
                         nullptr, 0, &needed);
        EXPECT_GE(needed, used) << "without a buffer there is room for everything";
    }
}

TEST_F(String, GivesCStringsThatFit) {
    const Owned<CFStringRef> string = fromBytes("\xE2\x82\xACx");
    char buffer[8];
    EXPECT_FALSE(CFStringGetCString(string.get(), buffer, 4, kCFStringEncodingUTF8));
    EXPECT_TRUE(CFStringGetCString(string.get(), buffer, 5, kCFStringEncodingUTF8));
    EXPECT_STREQ(buffer, "\xE2\x82\xACx");
    EXPECT_FALSE(CFStringGetCString(string.get(), buffer, 8, kCFStringEncodingASCII));
}

TEST_F(String, HoldsLoneSurrogatesThatHaveNoUTF8) {
    const UniChar units[] = {'a', 0xDC00, 'b'};
    const Owned<CFStringRef> string(CFStringCreateWithCharacters(kCFAllocatorDefault, units, 3));
    EXPECT_EQ(CFStringGetLength(string.get()), 3);
    char buffer[16];
    EXPECT_FALSE(CFStringGetCString(string.get(), buffer, 16, kCFStringEncodingUTF8));
    EXPECT_EQ(CFStringGetBytes(string.get(), {0, 3}, kCFStringEncodingUTF8, 0, false, nullptr, 0,
                               nullptr),
              1);
    EXPECT_EQ(text(string.get()),
              "a\xEF\xBF\xBD"
              "b");
}

TEST_F(String, MeetsFaults) {
    addFault({{"call", "CFStringCreateWithBytes"}, {"result", nullptr}, {"times", 1}});
    EXPECT_EQ(fromBytes("a").get(), nullptr);
    EXPECT_NE(fromBytes("a").get(), nullptr);
}

TEST_F(StringDeathTest, OtherEncodingsAndRangesAreMisuse) {
    EXPECT_DEATH(fromBytes("a", 0), "CFStringCreateWithBytes: the simulator converts UTF-8");
    EXPECT_DEATH(CFStringGetBytes(CFSTR("abc"), {2, 2}, kCFStringEncodingUTF8, 0, false, nullptr, 0,
                                  nullptr),
                 "CFStringGetBytes: the range is outside the string");
    EXPECT_DEATH(CFStringGetBytes(CFSTR("abc"), {0, 3}, kCFStringEncodingASCII, '?', false, nullptr,
                                  0, nullptr),
                 "CFStringGetBytes: the simulator does not support loss bytes");
}

}  // namespace
}  // namespace tolvaran::tests
