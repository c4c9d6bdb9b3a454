// Core Foundation's values: who owns what, and what a conversion may do.
#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"
#include "tests/contract/the_mac.hpp"

namespace {

using tolvaran::CFRef;

class Values : public Contract {};

CFRef<CFStringRef> stringOf(std::string_view bytes) {
    return CFRef<CFStringRef>::assume(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
                                static_cast<CFIndex>(bytes.size()), kCFStringEncodingUTF8, false));
}

template <typename T>
CFRef<CFNumberRef> numberOf(CFNumberType type, T value) {
    return CFRef<CFNumberRef>::assume(CFNumberCreate(kCFAllocatorDefault, type, &value));
}

/// The number as a value of another type; none if the conversion says that something is lost. What
/// the buffer then holds is left open.
template <typename T>
std::optional<T> converted(const CFRef<CFNumberRef>& number, CFNumberType type) {
    T value{};
    return CFNumberGetValue(number.get(), type, &value) != 0 ? std::optional(value) : std::nullopt;
}

CFRef<CFNumberRef> integerOf(std::int64_t value) {
    return numberOf(kCFNumberSInt64Type, value);
}

CFRef<CFNumberRef> realOf(double value) {
    return numberOf(kCFNumberDoubleType, value);
}

std::string bytesOf(CFStringRef string) {
    char buffer[64] = {};
    CFIndex used = 0;
    CFStringGetBytes(string, CFRangeMake(0, CFStringGetLength(string)), kCFStringEncodingUTF8, 0,
                     false, reinterpret_cast<UInt8*>(buffer), sizeof buffer, &used);
    return {buffer, static_cast<std::size_t>(used)};
}

// Documented: a Create function's result is the caller's to release; a container retains its
// elements; a Get function's result belongs to the container. Left open: retain counts, so none is
// compared.
TEST_F(Values, AContainerKeepsItsElementsAliveAndAGetReturnsThemUnretained) {
    CFRef<CFDictionaryRef> dictionary;
    {
        const auto key = stringOf("the key");
        const auto value = stringOf("a value that is too long to be kept in a pointer");
        const void* keys[] = {key.get()};
        const void* values[] = {value.get()};
        dictionary = CFRef<CFDictionaryRef>::assume(
            CFDictionaryCreate(kCFAllocatorDefault, keys, values, 1, &kCFTypeDictionaryKeyCallBacks,
                               &kCFTypeDictionaryValueCallBacks));
    }
    ASSERT_TRUE(dictionary);
    EXPECT_EQ(CFDictionaryGetCount(dictionary.get()), 1);
    // An equal key finds it, not only the same one.
    const auto key = stringOf("the key");
    const auto* const value =
        static_cast<CFStringRef>(CFDictionaryGetValue(dictionary.get(), key.get()));
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(bytesOf(value), "a value that is too long to be kept in a pointer");
    EXPECT_EQ(CFDictionaryGetValue(dictionary.get(), value), nullptr);

    const auto kept = CFRef<CFStringRef>::retain(value);
    dictionary = {};
    EXPECT_EQ(bytesOf(kept.get()), "a value that is too long to be kept in a pointer");
}

// Documented: either list may be null if it is not wanted.
TEST_F(Values, ADictionaryGivesItsKeysWithoutItsValues) {
    const auto key = stringOf("key");
    const void* keys[] = {key.get()};
    const void* values[] = {kCFBooleanTrue};
    const auto dictionary = CFRef<CFDictionaryRef>::assume(
        CFDictionaryCreate(kCFAllocatorDefault, keys, values, 1, &kCFTypeDictionaryKeyCallBacks,
                           &kCFTypeDictionaryValueCallBacks));
    const void* found[] = {nullptr};
    CFDictionaryGetKeysAndValues(dictionary.get(), found, nullptr);
    ASSERT_NE(found[0], nullptr);
    EXPECT_TRUE(CFEqual(found[0], key.get()));
}

// Documented: an array is ordered.
TEST_F(Values, AnArrayKeepsItsElementsInOrder) {
    const auto first = stringOf("first");
    const auto second = stringOf("second");
    const void* elements[] = {first.get(), second.get()};
    const auto array = CFRef<CFArrayRef>::assume(
        CFArrayCreate(kCFAllocatorDefault, elements, 2, &kCFTypeArrayCallBacks));
    EXPECT_EQ(CFGetTypeID(array.get()), CFArrayGetTypeID());
    ASSERT_EQ(CFArrayGetCount(array.get()), 2);
    EXPECT_TRUE(CFEqual(CFArrayGetValueAtIndex(array.get(), 0), first.get()));
    EXPECT_TRUE(CFEqual(CFArrayGetValueAtIndex(array.get(), 1), second.get()));
}

// Documented: without a buffer, the size that is needed is stored; the result counts the characters
// that were converted, and stops at the first one without a form in the encoding.
TEST_F(Values, GetBytesGivesTheSizeAndStopsAtALoneSurrogate) {
    const auto text = stringOf("gr\xC3\xBC\xC3\x9F");
    CFIndex size = 0;
    EXPECT_EQ(CFStringGetBytes(text.get(), CFRangeMake(0, 4), kCFStringEncodingUTF8, 0, false,
                               nullptr, 0, &size),
              4);
    EXPECT_EQ(size, 6);

    const UniChar characters[] = {'a', 0xD800, 'b'};
    const auto broken = CFRef<CFStringRef>::assume(
        CFStringCreateWithCharacters(kCFAllocatorDefault, characters, 3));
    EXPECT_EQ(CFStringGetBytes(broken.get(), CFRangeMake(0, 3), kCFStringEncodingUTF8, 0, false,
                               nullptr, 0, &size),
              1);
}

// Documented: every type has an ID of its own. Left open: which number that is.
TEST_F(Values, EachKindOfValueHasATypeOfItsOwn) {
    const auto string = stringOf("1");
    const auto number = numberOf(kCFNumberSInt64Type, std::int64_t{1});
    EXPECT_EQ(CFGetTypeID(string.get()), CFStringGetTypeID());
    EXPECT_EQ(CFGetTypeID(number.get()), CFNumberGetTypeID());
    EXPECT_EQ(CFGetTypeID(kCFBooleanTrue), CFBooleanGetTypeID());
    EXPECT_NE(CFNumberGetTypeID(), CFBooleanGetTypeID());
    EXPECT_NE(CFNumberGetTypeID(), CFStringGetTypeID());
    EXPECT_TRUE(CFBooleanGetValue(kCFBooleanTrue));
    EXPECT_FALSE(CFBooleanGetValue(kCFBooleanFalse));
}

// Documented: a number may be kept as another type than it was created with. Relied on: that it
// stays floating-point or not.
TEST_F(Values, ANumberRemembersWhetherItIsFloatingPoint) {
    EXPECT_FALSE(CFNumberIsFloatType(numberOf(kCFNumberSInt64Type, std::int64_t{2}).get()));
    EXPECT_FALSE(CFNumberIsFloatType(numberOf(kCFNumberSInt32Type, std::int32_t{-2}).get()));
    EXPECT_TRUE(CFNumberIsFloatType(numberOf(kCFNumberDoubleType, 2.5).get()));
    EXPECT_TRUE(CFNumberIsFloatType(numberOf(kCFNumberFloat32Type, 0.5F).get()));
}

// Documented: true if the conversion loses nothing.
TEST_F(Values, NumbersSurviveTheRoundTrip) {
    constexpr std::int64_t integers[] = {0,
                                         1,
                                         -1,
                                         1LL << 40,
                                         std::numeric_limits<std::int64_t>::min(),
                                         std::numeric_limits<std::int64_t>::max()};
    for (const std::int64_t value : integers) {
        EXPECT_EQ(converted<std::int64_t>(integerOf(value), kCFNumberSInt64Type), value);
    }
    for (const double value : {0.0, 2.0, -1.5, 1e300}) {
        EXPECT_EQ(converted<double>(realOf(value), kCFNumberDoubleType), value);
    }
    EXPECT_EQ(converted<std::int64_t>(numberOf(kCFNumberSInt32Type, std::int32_t{-5}),
                                      kCFNumberSInt64Type),
              -5);
    EXPECT_EQ(converted<double>(integerOf(1LL << 40), kCFNumberDoubleType), std::ldexp(1.0, 40));
}

// Documented: false if the conversion loses something or is out of range.
TEST_F(Values, AConversionThatLosesSomethingSaysSo) {
    EXPECT_FALSE(converted<std::int32_t>(integerOf(1LL << 40), kCFNumberSInt32Type));
    EXPECT_FALSE(converted<std::int64_t>(realOf(1.5), kCFNumberSInt64Type));
    EXPECT_FALSE(converted<std::int64_t>(realOf(1e300), kCFNumberSInt64Type));
}

// Documented: the standard form of a UUID has 36 characters. Its letters have always been capitals,
// and names of displays on disk depend on it.
TEST_F(Values, AUUIDIsWrittenInCapitalsAndNoTwoAreAlike) {
    const auto first = CFRef<CFUUIDRef>::assume(CFUUIDCreate(kCFAllocatorDefault));
    const auto second = CFRef<CFUUIDRef>::assume(CFUUIDCreate(kCFAllocatorDefault));
    const auto text =
        CFRef<CFStringRef>::assume(CFUUIDCreateString(kCFAllocatorDefault, first.get()));
    const auto other =
        CFRef<CFStringRef>::assume(CFUUIDCreateString(kCFAllocatorDefault, second.get()));
    EXPECT_THAT(bytesOf(text.get()),
                testing::MatchesRegex("[0-9A-F]+-[0-9A-F]+-[0-9A-F]+-[0-9A-F]+-[0-9A-F]+"));
    EXPECT_EQ(CFStringGetLength(text.get()), 36);
    EXPECT_NE(bytesOf(text.get()), bytesOf(other.get()));

    const auto again =
        CFRef<CFUUIDRef>::assume(CFUUIDCreateFromString(kCFAllocatorDefault, text.get()));
    EXPECT_TRUE(CFEqual(first.get(), again.get()));
}

// Documented: seconds since the start of 2001, UTC. Left open: whether they ever go back; a clock
// may be set, but hardly during this test.
TEST_F(Values, AbsoluteTimeCountsFromTheBeginningOf2001AndAdvances) {
    EXPECT_EQ(kCFAbsoluteTimeIntervalSince1970, 978307200.0);
    const CFAbsoluteTime before = CFAbsoluteTimeGetCurrent();
    EXPECT_GT(before, 0);
    the_mac::letPass(0.05);
    EXPECT_GE(CFAbsoluteTimeGetCurrent(), before + 0.049);
}

/// What the product reads from one object.
struct Readings {
    std::optional<std::int64_t> integer;
    std::optional<std::uint32_t> unsigned32;
    std::optional<bool> boolean;

    static Readings of(CFTypeRef object) {
        return {tolvaran::cf::integer(object), tolvaran::cf::unsigned32(object),
                tolvaran::cf::boolean(object)};
    }
    bool operator==(const Readings&) const = default;
};

// Documented: a number converts to any numeric type. The system's own preferences hold numbers of
// every type.
TEST_F(Values, NumbersOfEveryTypeAreReadAsWhatTheyAre) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr auto greatest = std::numeric_limits<std::int64_t>::max();
    const struct {
        CFRef<CFNumberRef> number;
        Readings readings;
    } rows[] = {
        {numberOf(kCFNumberSInt8Type, std::int8_t{-1}), {-1, {}, {}}},
        {numberOf(kCFNumberSInt16Type, std::int16_t{300}), {300, 300, {}}},
        {numberOf(kCFNumberSInt32Type, std::int32_t{-70000}), {-70000, {}, {}}},
        {numberOf(kCFNumberSInt64Type, std::int64_t{1} << 32), {std::int64_t{1} << 32, {}, {}}},
        {numberOf(kCFNumberSInt64Type, greatest), {greatest, {}, {}}},
        {numberOf(kCFNumberCharType, char{1}), {1, 1, {}}},
        {numberOf(kCFNumberShortType, short{2}), {2, 2, {}}},
        {numberOf(kCFNumberIntType, 3), {3, 3, {}}},
        {numberOf(kCFNumberLongType, 4L), {4, 4, {}}},
        {numberOf(kCFNumberLongLongType, 5LL), {5, 5, {}}},
        {numberOf(kCFNumberCFIndexType, CFIndex{6}), {6, 6, {}}},
        {numberOf(kCFNumberFloat32Type, 7.0F), {7, 7, {}}},
        {numberOf(kCFNumberFloatType, -7.5F), {-7, {}, {}}},
        {numberOf(kCFNumberFloat64Type, 8.25), {8, {}, {}}},
        {numberOf(kCFNumberDoubleType, 4294967295.0), {4294967295, 4294967295U, {}}},
        {numberOf(kCFNumberDoubleType, 4294967296.0), {4294967296, {}, {}}},
        {numberOf(kCFNumberDoubleType, 9223372036854775808.0), {{}, {}, {}}},
        {numberOf(kCFNumberDoubleType, infinity), {{}, {}, {}}},
        {numberOf(kCFNumberDoubleType, std::nan("")), {{}, {}, {}}},
        {numberOf(kCFNumberFloat32Type, std::nanf("")), {{}, {}, {}}},
    };
    for (const auto& [number, readings] : rows) {
        EXPECT_EQ(Readings::of(number.get()), readings)
            << readings.integer.value_or(0) << ", type " << CFNumberGetType(number.get());
    }
    EXPECT_EQ(Readings::of(kCFBooleanTrue), (Readings{1, 1, true}));
    EXPECT_EQ(Readings::of(kCFBooleanFalse), (Readings{0, 0, false}));
    EXPECT_EQ(Readings::of(stringOf("1").get()), Readings());
    EXPECT_EQ(Readings::of(nullptr), Readings());
}

// Left open: whether 255 and 65535 survive as signed numbers of 8 and 16 bits. There is no unsigned
// type, but old applications keep such numbers.
TEST_F(Values, SmallUnsignedNumbersAreKeptAsSignedOnes) {
    EXPECT_EQ(converted<std::int8_t>(integerOf(255), kCFNumberSInt8Type), -1);
    EXPECT_FALSE(converted<std::int8_t>(integerOf(256), kCFNumberSInt8Type));
    EXPECT_FALSE(converted<std::int8_t>(integerOf(-129), kCFNumberSInt8Type));
    EXPECT_EQ(converted<std::int16_t>(integerOf(65535), kCFNumberSInt16Type), -1);
}

// Left open: what a NaN converts to. It is kept as a double, and lost as anything else.
TEST_F(Values, ANaNSurvivesAsADoubleOnly) {
    const auto narrow = numberOf(kCFNumberFloat32Type, std::nanf(""));
    EXPECT_TRUE(std::isnan(converted<double>(narrow, kCFNumberDoubleType).value_or(0)));
    EXPECT_FALSE(converted<float>(realOf(std::nan("")), kCFNumberFloat32Type));
    EXPECT_FALSE(converted<std::int64_t>(realOf(std::nan("")), kCFNumberSInt64Type));
}

// Documented: text that is not in the named encoding gives null, and lengths count UTF-16 units.
// Left open: what is done to a byte order mark, which is dropped, and to the copyright sign of
// other encodings, which is replaced.
TEST_F(Values, TextIsReadAsUTF8AndRefusedIfItIsDamaged) {
    using namespace std::string_literals;
    const struct {
        std::string bytes;
        CFIndex length;                                  // in UTF-16 units; -1: refused
        std::optional<std::string> text = std::nullopt;  // if it differs from the bytes
    } rows[] = {
        {"", 0},
        {"plain", 5},
        {"gr\xC3\xBC\xC3\x9F", 4},
        {"a\0b"s, 3},
        {"a\x80", -1},  // a continuation without a beginning
        {"\x80", -1},
        {"\xC3", -1},      // a beginning without a continuation, at the end
        {"\xC3(", -1},     // and before something else
        {"\xE2\x82", -1},  // too short
        {"\xE2\x82(", -1},
        {"\xF0\x90\x80", -1},
        {"\xC0\x80", -1},  // overlong
        {"\xC0\xAF", -1},
        {"\xE0\x9F\xBF", -1},
        {"\xF0\x8F\xBF\xBF", -1},
        {"\xED\xA0\x80", -1},  // a surrogate, high or low
        {"\xED\xBF\xBF", -1},
        {"\xF4\x90\x80\x80", -1},      // beyond the last code point
        {"\xF8\x88\x80\x80\x80", -1},  // forms that no longer exist
        {"\xFC\x84\x80\x80\x80\x80", -1},
        {"\xFE", -1},
        {"\xFF", -1},
        {"\xED\x9F\xBF\xEE\x80\x80", 2},  // beside the surrogates
        {"\xE2\x82\xAC", 1},
        {"\xF0\x90\x80\x80", 2},  // the first code point of two units
        {"\xF0\x9F\x96\xA5", 2},
        {"\xF4\x8F\xBF\xBF", 2},  // the last code point
        {"\xEF\xBF\xBF", 1},      // not a character
        {"\xEF\xBB\xBFx", 1, "x"},
        {"x\xEF\xBB\xBF", 2},
        {"x\xA9", 2, "x\xEF\xBF\xBD"},
        {"\xC2\xA9", 1},
    };
    for (const auto& [bytes, length, text] : rows) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        const auto string = stringOf(bytes);
        EXPECT_EQ(string ? CFStringGetLength(string.get()) : -1, length);
        EXPECT_EQ(tolvaran::cf::string(string.get()),
                  length < 0 ? std::nullopt : std::optional(text.value_or(bytes)));
    }
}

// Documented: converting reports how much it could convert. A string of UTF-16 units may hold
// invalid text, which the product does not read.
TEST_F(Values, ALoneSurrogateAnywhereMakesAStringUnreadable) {
    const std::vector<std::vector<UniChar>> broken = {{0xD800},         {0xDC00},
                                                      {'a', 0xD83D},    {0xDDA5, 'a'},
                                                      {0xDDA5, 0xD83D}, {0xD83D, 0xD83D, 0xDDA5}};
    for (const std::vector<UniChar>& units : broken) {
        const auto string = CFRef<CFStringRef>::assume(CFStringCreateWithCharacters(
            kCFAllocatorDefault, units.data(), static_cast<CFIndex>(units.size())));
        EXPECT_EQ(tolvaran::cf::string(string.get()), std::nullopt)
            << testing::PrintToString(units);
    }
    const UniChar whole[] = {0xD83D, 0xDDA5};
    const auto string =
        CFRef<CFStringRef>::assume(CFStringCreateWithCharacters(kCFAllocatorDefault, whole, 2));
    EXPECT_EQ(tolvaran::cf::string(string.get()), "\xF0\x9F\x96\xA5");
}

// Left open: what text that is not a UUID gives. It is read as far as possible.
TEST_F(Values, ADamagedUUIDIsReadAsFarAsItGoes) {
    const struct {
        const char* text;
        const char* uuid;
    } rows[] = {
        {"3f2504e0-4f89-41d3-9a0c-0305e82c3301", "3F2504E0-4F89-41D3-9A0C-0305E82C3301"},
        {"3F2504E0-4F89-41D3-9A0C-0305E82C33010", "3F2504E0-4F89-41D3-9A0C-0305E82C3301"},
        {"{3F2504E0-4F89-41D3-9A0C-0305E82C3301}", "3F2504E0-4F89-41D3-9A0C-0305E82C3301"},
        {"3F2504E04F8941D39A0C0305E82C3301", "3F2504E0-F894-D39A-C030-E82C33010000"},
        {"3F2504E0-4F89-41D3-9A0C0-305E82C3301", "3F2504E0-4F89-41D3-9A0C-0005E82C3301"},
        {"3F2504E0-4F89-41D3-9A0C-0305E82C330", "3F2504E0-4F89-41D3-9A0C-0305E82C3300"},
        {"3F2504E0-4F89-41D3-9A0C-0305E82C33", "3F2504E0-4F89-41D3-9A0C-0305E82C3300"},
        {"3F2504E0-4F89-41D3-9A0C-0305E82C330G", "3F2504E0-4F89-41D3-9A0C-0305E82C3300"},
        {"3F2504E0-4F89-41D3-9A0C-0305E82C33GG", "3F2504E0-4F89-41D3-9A0C-0305E82C3300"},
        {"none", "00000000-0000-0000-0000-000000000000"},
    };
    for (const auto& [text, uuid] : rows) {
        const auto read = CFRef<CFUUIDRef>::assume(
            CFUUIDCreateFromString(kCFAllocatorDefault, stringOf(text).get()));
        ASSERT_TRUE(read) << text;
        const auto written =
            CFRef<CFStringRef>::assume(CFUUIDCreateString(kCFAllocatorDefault, read.get()));
        EXPECT_EQ(bytesOf(written.get()), uuid) << text;
    }
    EXPECT_EQ(CFUUIDCreateFromString(kCFAllocatorDefault, stringOf("").get()), nullptr);
}

}  // namespace
