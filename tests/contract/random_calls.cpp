// Makes random calls to Core Foundation, the same ones for the same seed, and prints what each
// answers. Compiled with the simulator and with Apple's own code, it must print the same text.
//
//   random_calls SEED COUNT    COUNT calls of each kind; the text goes to the standard output
//
// What Apple leaves open is neither called nor printed: hash codes, the order of a dictionary's
// keys, and what a buffer holds after a conversion that failed.
#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"

namespace {

using tolvaran::CFRef;

/// Random choices. The standard's distributions differ from library to library, so none is used.
class Choice {
  public:
    explicit Choice(std::uint64_t seed) : generator_(seed) {}

    std::uint64_t bits() { return generator_(); }
    std::size_t below(std::size_t limit) { return generator_() % limit; }
    bool oneIn(std::size_t chances) { return below(chances) == 0; }
    template <typename T, std::size_t size>
    T of(const std::array<T, size>& values) {
        return values[below(size)];
    }

  private:
    std::mt19937_64 generator_;
};

// Output.

std::string hexadecimal(std::uint64_t bits) {
    char text[17];
    std::snprintf(text, sizeof text, "%llx", static_cast<unsigned long long>(bits));
    return text;
}

std::string hexadecimal(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += "0123456789abcdef"[value / 16];
        text += "0123456789abcdef"[value % 16];
    }
    return text;
}

/// A number as its bits, with all NaNs alike.
std::string written(double value) {
    return std::isnan(value) ? "nan" : hexadecimal(std::bit_cast<std::uint64_t>(value));
}
std::string written(std::int64_t value) {
    return std::to_string(value);
}
std::string written(bool value) {
    return value ? "yes" : "no";
}
template <typename T>
std::string written(const std::optional<T>& value) {
    return value ? written(static_cast<T>(*value)) : "none";
}
std::string written(const std::optional<std::string>& value) {
    return value ? "'" + hexadecimal(*value) + "'" : "none";
}
std::string written(const std::optional<std::uint32_t>& value) {
    return value ? std::to_string(*value) : "none";
}

void write(std::string_view call, const std::string& answer) {
    std::printf("%.*s: %s\n", static_cast<int>(call.size()), call.data(), answer.c_str());
}

// Numbers.

std::int64_t randomInteger(Choice& choice) {
    constexpr std::array<std::int64_t, 12> edges = {0,
                                                    1,
                                                    2,
                                                    127,
                                                    255,
                                                    32767,
                                                    2147483647,
                                                    4294967295,
                                                    std::int64_t{1} << 24,
                                                    std::int64_t{1} << 53,
                                                    std::int64_t{1} << 62,
                                                    std::numeric_limits<std::int64_t>::min()};
    auto value = static_cast<std::uint64_t>(choice.of(edges));
    switch (choice.below(4)) {
        case 0:
            value += choice.below(5) - 2;
            break;
        case 1:
            value = std::uint64_t{0} - value;
            break;
        case 2:
            value = choice.bits() >> choice.below(64);
            break;
        default:
            break;
    }
    return static_cast<std::int64_t>(value);
}

double randomReal(Choice& choice) {
    constexpr std::array<double, 12> edges = {0.0,
                                              -0.0,
                                              0.5,
                                              1e-310,
                                              1e300,
                                              9223372036854775808.0,
                                              -9223372036854775808.0,
                                              4294967296.0,
                                              std::numeric_limits<double>::infinity(),
                                              -std::numeric_limits<double>::infinity(),
                                              std::numeric_limits<double>::quiet_NaN(),
                                              1.0};
    const auto integer = static_cast<double>(randomInteger(choice));
    switch (choice.below(4)) {
        case 0:
            return integer;
        case 1:
            return integer / 4;
        case 2:
            return std::bit_cast<double>(choice.bits());
        default:
            return choice.of(edges);
    }
}

constexpr std::array<CFNumberType, 16> numberTypes = {
    kCFNumberSInt8Type,   kCFNumberSInt16Type,  kCFNumberSInt32Type,    kCFNumberSInt64Type,
    kCFNumberFloat32Type, kCFNumberFloat64Type, kCFNumberCharType,      kCFNumberShortType,
    kCFNumberIntType,     kCFNumberLongType,    kCFNumberLongLongType,  kCFNumberFloatType,
    kCFNumberDoubleType,  kCFNumberCFIndexType, kCFNumberNSIntegerType, kCFNumberCGFloatType};

bool isFloat(CFNumberType type) {
    return type == kCFNumberFloat32Type || type == kCFNumberFloatType;
}
bool isDouble(CFNumberType type) {
    return type == kCFNumberFloat64Type || type == kCFNumberDoubleType ||
           type == kCFNumberCGFloatType;
}

CFRef<CFNumberRef> randomNumber(Choice& choice) {
    const CFNumberType type = choice.of(numberTypes);
    // Every integer type reads the low bytes of its own width.
    const std::int64_t integer = randomInteger(choice);
    const double real = randomReal(choice);
    const auto narrow = static_cast<float>(real);
    const void* const value = isFloat(type)    ? static_cast<const void*>(&narrow)
                              : isDouble(type) ? static_cast<const void*>(&real)
                                               : static_cast<const void*>(&integer);
    return CFRef<CFNumberRef>::assume(CFNumberCreate(kCFAllocatorDefault, type, value));
}

/// What CFNumberGetValue answers, with the value if it says that nothing was lost.
std::string conversion(CFNumberRef number, CFNumberType type) {
    double real = 0;
    float narrow = 0;
    std::int64_t integer = 0;
    void* const place = isFloat(type)    ? static_cast<void*>(&narrow)
                        : isDouble(type) ? static_cast<void*>(&real)
                                         : static_cast<void*>(&integer);
    if (CFNumberGetValue(number, type, place) == 0) {
        return "lossy";
    }
    return isFloat(type)    ? written(static_cast<double>(narrow))
           : isDouble(type) ? written(real)
                            : hexadecimal(static_cast<std::uint64_t>(integer));
}

void callNumbers(Choice& choice) {
    const auto number = randomNumber(choice);
    const CFNumberType type = choice.of(numberTypes);
    write("number as " + std::to_string(type), conversion(number.get(), type));
    write("number is floating", written(CFNumberIsFloatType(number.get()) != 0));
    write("number read", written(tolvaran::cf::integer(number.get())) + " " +
                             written(tolvaran::cf::unsigned32(number.get())) + " " +
                             written(tolvaran::cf::boolean(number.get())) + " " +
                             written(tolvaran::cf::string(number.get())));
}

// Text.

std::string randomBytes(Choice& choice) {
    constexpr std::array<std::string_view, 16> pieces = {"a",
                                                         "\x7F",
                                                         "\xC2\x80",
                                                         "\xDF\xBF",
                                                         "\xE0\xA0\x80",
                                                         "\xEF\xBF\xBF",
                                                         "\xED\x9F\xBF",
                                                         "\xEE\x80\x80",
                                                         "\xF0\x90\x80\x80",
                                                         "\xF4\x8F\xBF\xBF",
                                                         "\xEF\xBB\xBF",
                                                         "e\xCC\x81",
                                                         "\xC3\xA9",
                                                         "\xEF\xBF\xBD",
                                                         "\n",
                                                         std::string_view("\0", 1)};
    std::string text;
    for (std::size_t left = choice.below(6); left > 0; --left) {
        text += choice.of(pieces);
    }
    // Damage: a byte changed, removed or inserted.
    for (std::size_t left = choice.oneIn(2) ? choice.below(3) : 0; left > 0 && !text.empty();
         --left) {
        const std::size_t at = choice.below(text.size());
        const auto byte = static_cast<char>(choice.bits());
        switch (choice.below(3)) {
            case 0:
                text[at] = byte;
                break;
            case 1:
                text.erase(at, 1);
                break;
            default:
                text.insert(at, 1, byte);
        }
    }
    return text;
}

CFStringEncoding randomEncoding(Choice& choice) {
    return choice.oneIn(4) ? CFStringEncoding{kCFStringEncodingASCII}
                           : CFStringEncoding{kCFStringEncodingUTF8};
}

CFRef<CFStringRef> stringOf(std::string_view bytes, CFStringEncoding encoding) {
    return CFRef<CFStringRef>::assume(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
                                static_cast<CFIndex>(bytes.size()), encoding, false));
}

CFRef<CFStringRef> stringOfUnits(Choice& choice) {
    constexpr std::array<UniChar, 8> units = {'a',    0xD800, 0xDBFF, 0xDC00,
                                              0xDFFF, 0xE9,   0xFEFF, 0xFFFF};
    std::vector<UniChar> text(choice.below(5));
    for (UniChar& unit : text) {
        unit = choice.of(units);
    }
    return CFRef<CFStringRef>::assume(CFStringCreateWithCharacters(
        kCFAllocatorDefault, text.data(), static_cast<CFIndex>(text.size())));
}

/// What CFStringGetBytes answers for a part of the text and a buffer of some size, or none.
std::string bytesOf(Choice& choice, CFStringRef text) {
    const auto length = static_cast<std::size_t>(CFStringGetLength(text));
    const std::size_t start = choice.below(length + 1);
    const CFRange range = {static_cast<CFIndex>(start),
                           static_cast<CFIndex>(choice.below(length - start + 1))};
    const CFStringEncoding encoding = randomEncoding(choice);
    const bool isLossy = encoding == kCFStringEncodingUTF8 && choice.oneIn(3);
    const auto loss = static_cast<UInt8>(isLossy ? '?' : 0);
    const std::size_t room = choice.below(12) + 1;  // without any, Apple's answers vary
    UInt8* const noBuffer = nullptr;
    UInt8 buffer[13] = {};
    CFIndex used = -1;
    const bool measures = choice.oneIn(3);
    const CFIndex converted =
        CFStringGetBytes(text, range, encoding, loss, false, measures ? noBuffer : buffer,
                         measures ? 0 : static_cast<CFIndex>(room), &used);
    const std::string_view bytes(reinterpret_cast<const char*>(buffer),
                                 measures ? 0 : std::min(room, static_cast<std::size_t>(used)));
    return std::to_string(range.location) + "+" + std::to_string(range.length) + " in " +
           std::to_string(encoding) + (loss != 0 ? " with loss" : "") + ", room " +
           (measures ? "unlimited" : std::to_string(room)) + ": " + std::to_string(converted) +
           " units, " + std::to_string(used) + " bytes, " + hexadecimal(bytes);
}

void callStrings(Choice& choice) {
    const bool isOfUnits = choice.oneIn(4);
    const std::string bytes = isOfUnits ? "" : randomBytes(choice);
    const CFStringEncoding encoding = randomEncoding(choice);
    const auto text = isOfUnits ? stringOfUnits(choice) : stringOf(bytes, encoding);
    write(isOfUnits ? "string of units"
                    : "string of " + hexadecimal(bytes) + " in " + std::to_string(encoding),
          text ? std::to_string(CFStringGetLength(text.get())) : "null");
    if (!text) {
        return;
    }
    write("string read", written(tolvaran::cf::string(text.get())));
    write("bytes", bytesOf(choice, text.get()));
    char buffer[10] = {};
    const CFStringEncoding other = randomEncoding(choice);
    // With room for the end alone, Apple's code would write it behind the buffer.
    const auto room = static_cast<CFIndex>(choice.below(9) + 2);
    if (CFStringGetCString(text.get(), buffer, room, other) != 0) {
        write("C string", hexadecimal(std::string_view(buffer)));
    } else {
        write("C string", "no");
    }
    const auto second = stringOf(randomBytes(choice), kCFStringEncodingUTF8);
    write("string equals", written(second && CFEqual(text.get(), second.get()) != 0));
}

// UUIDs.

void callUUIDs(Choice& choice) {
    constexpr std::string_view characters = "0123456789ABCDEFabcdef-GgxX{} ";
    std::string text;
    for (const char c : std::string_view("00000000-0000-0000-0000-000000000000")) {
        text += c == '-' ? c : characters[choice.below(22)];
    }
    for (std::size_t damage = choice.oneIn(2) ? choice.below(3) : 0; damage > 0; --damage) {
        const std::size_t at = choice.below(text.size());
        switch (choice.below(3)) {
            case 0:
                text[at] = characters[choice.below(characters.size())];
                break;
            case 1:
                text.erase(at, 1);
                break;
            default:
                text.insert(at, 1, characters[choice.below(characters.size())]);
        }
    }
    const auto string = tolvaran::cf::makeString(text);
    const auto uuid =
        CFRef<CFUUIDRef>::assume(CFUUIDCreateFromString(kCFAllocatorDefault, string.get()));
    const auto back = CFRef<CFStringRef>::assume(
        uuid ? CFUUIDCreateString(kCFAllocatorDefault, uuid.get()) : nullptr);
    write("UUID of " + text, back ? *tolvaran::cf::string(back.get()) : "null");
}

// Property lists, and how the preferences keep them.

CFRef<CFStringRef> randomKey(Choice& choice) {
    constexpr std::array<std::string_view, 6> keys = {"",         "key",       "another key",
                                                      "\xC3\xA9", "e\xCC\x81", "KEY"};
    return tolvaran::cf::makeString(choice.of(keys));
}

CFRef<CFTypeRef> randomPropertyList(Choice& choice, int depth);

CFRef<CFTypeRef> randomArray(Choice& choice, int depth) {
    std::vector<CFRef<CFTypeRef>> owned;
    std::vector<const void*> elements;
    for (std::size_t left = choice.below(4); left > 0; --left) {
        owned.push_back(randomPropertyList(choice, depth + 1));
        elements.push_back(owned.back().get());
    }
    return CFRef<CFTypeRef>::assume(CFArrayCreate(kCFAllocatorDefault, elements.data(),
                                                  static_cast<CFIndex>(elements.size()),
                                                  &kCFTypeArrayCallBacks));
}

/// Sometimes with one key twice.
CFRef<CFTypeRef> randomDictionary(Choice& choice, int depth) {
    std::vector<CFRef<CFTypeRef>> owned;
    std::vector<const void*> keys, values;
    for (std::size_t left = choice.below(4); left > 0; --left) {
        owned.push_back(CFRef<CFTypeRef>::retain(randomKey(choice).get()));
        keys.push_back(owned.back().get());
        owned.push_back(randomPropertyList(choice, depth + 1));
        values.push_back(owned.back().get());
    }
    return CFRef<CFTypeRef>::assume(CFDictionaryCreate(
        kCFAllocatorDefault, keys.data(), values.data(), static_cast<CFIndex>(keys.size()),
        &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

CFRef<CFTypeRef> randomLeaf(Choice& choice) {
    switch (choice.below(5)) {
        case 0:
            return CFRef<CFTypeRef>::retain(choice.oneIn(2) ? kCFBooleanTrue : kCFBooleanFalse);
        case 1:
            return CFRef<CFTypeRef>::retain(randomKey(choice).get());
        case 2: {
            const std::string bytes = randomBytes(choice);
            return CFRef<CFTypeRef>::assume(
                CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
                             static_cast<CFIndex>(bytes.size())));
        }
        case 3:
            return CFRef<CFTypeRef>::assume(CFDateCreate(
                kCFAllocatorDefault, static_cast<double>(choice.below(2'000'000'000))));
        default: {
            // Whole, or a quarter, so that its text in a file is exact.
            const auto integer = static_cast<std::int64_t>(choice.bits()) >> choice.below(63);
            const double real = static_cast<double>(choice.below(1000)) / 4 + 0.25;
            return choice.oneIn(2) ? CFRef<CFTypeRef>::assume(CFNumberCreate(
                                         kCFAllocatorDefault, kCFNumberSInt64Type, &integer))
                                   : CFRef<CFTypeRef>::assume(CFNumberCreate(
                                         kCFAllocatorDefault, kCFNumberDoubleType, &real));
        }
    }
}

CFRef<CFTypeRef> randomPropertyList(Choice& choice, int depth) {
    switch (depth < 3 ? choice.below(4) : 3) {
        case 0:
            return randomArray(choice, depth);
        case 1:
            return randomDictionary(choice, depth);
        default:
            return randomLeaf(choice);
    }
}

std::string written(CFTypeRef object);

std::string writtenArray(CFArrayRef array) {
    std::string text = "[";
    for (CFIndex index = 0; index < CFArrayGetCount(array); ++index) {
        text += written(CFArrayGetValueAtIndex(array, index)) + ",";
    }
    return text + "]";
}

std::string writtenDictionary(CFDictionaryRef dictionary) {
    const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
    std::vector<const void*> keys(count), values(count);
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    std::map<std::string, std::string> sorted;
    for (std::size_t index = 0; index < count; ++index) {
        sorted[written(keys[index])] = written(values[index]);
    }
    std::string text = "{";
    for (const auto& [key, value] : sorted) {
        text += key + "=" + value + ",";
    }
    return text + "}";
}

std::string written(CFTypeRef object) {
    if (object == nullptr) {
        return "null";
    }
    const CFTypeID type = CFGetTypeID(object);
    if (type == CFArrayGetTypeID()) {
        return writtenArray(static_cast<CFArrayRef>(object));
    }
    if (type == CFDictionaryGetTypeID()) {
        return writtenDictionary(static_cast<CFDictionaryRef>(object));
    }
    if (type == CFStringGetTypeID()) {
        return written(tolvaran::cf::string(object));
    }
    if (type == CFBooleanGetTypeID()) {
        return written(*tolvaran::cf::boolean(object));
    }
    if (type == CFDataGetTypeID()) {
        const auto* const data = static_cast<CFDataRef>(object);
        return "<" +
               hexadecimal(std::string_view(reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
                                            static_cast<std::size_t>(CFDataGetLength(data)))) +
               ">";
    }
    if (type == CFDateGetTypeID()) {
        return "@" + written(CFDateGetAbsoluteTime(static_cast<CFDateRef>(object)));
    }
    const auto* const number = static_cast<CFNumberRef>(object);
    return CFNumberIsFloatType(number) != 0 ? conversion(number, kCFNumberDoubleType) + "r"
                                            : conversion(number, kCFNumberSInt64Type);
}

/// One of few lists, so that some are equal, or one of many.
CFRef<CFTypeRef> chosenPropertyList(Choice& choice) {
    if (choice.oneIn(2)) {
        return randomPropertyList(choice, 0);
    }
    Choice few(choice.below(40));
    return randomPropertyList(few, 0);
}

void callPropertyLists(Choice& choice) {
    const auto first = chosenPropertyList(choice);
    const auto second = chosenPropertyList(choice);
    write("list", written(first.get()));
    write("lists equal", written(CFEqual(first.get(), second.get()) != 0));
    if (const CFDictionaryRef dictionary = tolvaran::cf::dictionary(first.get())) {
        const auto key = randomKey(choice);
        write("value", written(tolvaran::cf::value(dictionary, key.get())));
        const void* value = nullptr;
        const bool isThere = CFDictionaryGetValueIfPresent(dictionary, key.get(), &value) != 0;
        write("value is there", written(isThere));
    }
    write("list read", written(tolvaran::cf::integer(first.get())) + " " +
                           written(tolvaran::cf::unsigned32(first.get())) + " " +
                           written(tolvaran::cf::boolean(first.get())) + " " +
                           written(tolvaran::cf::string(first.get())) + " " +
                           written(tolvaran::cf::array(first.get()) != nullptr));
}

void callPreferences(Choice& choice) {
    const std::array<CFStringRef, 3> domains = {
        CFSTR("com.morvelli.TolvaranHelper.RandomCalls"),
        CFSTR("com.morvelli.TolvaranHelper.OtherRandomCalls"), kCFPreferencesAnyApplication};
    CFStringRef const domain = choice.of(domains);
    const auto key = randomKey(choice);
    switch (choice.below(16)) {
        case 0:
            write("synchronize", written(CFPreferencesSynchronize(domain, kCFPreferencesCurrentUser,
                                                                  kCFPreferencesAnyHost) != 0));
            break;
        case 1:
            CFPreferencesSetValue(key.get(), nullptr, domain, kCFPreferencesCurrentUser,
                                  kCFPreferencesAnyHost);
            break;
        case 2:
        case 3:
        case 4: {
            const auto value = randomPropertyList(choice, 0);
            CFPreferencesSetValue(key.get(), value.get(), domain, kCFPreferencesCurrentUser,
                                  kCFPreferencesAnyHost);
            break;
        }
        default:
            break;
    }
    const auto value = CFRef<CFPropertyListRef>::assume(CFPreferencesCopyValue(
        key.get(), domain, kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    write("preference " + written(key.get()), written(value.get()));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("random_calls SEED COUNT\n", stderr);
        return 2;
    }
    const std::uint64_t seed = std::strtoull(argv[1], nullptr, 10);
    const std::uint64_t count = std::strtoull(argv[2], nullptr, 10);
    for (const auto call :
         {callNumbers, callStrings, callUUIDs, callPropertyLists, callPreferences}) {
        for (std::uint64_t number = 0; number < count; ++number) {
            // Seeded anew, so that a different answer does not change what follows.
            Choice choice(seed * 1'000'000'007 + number);
            call(choice);
        }
    }
    return 0;
}
