#include "restore/support/cf_values.hpp"

#include <cmath>
#include <limits>
#include <new>

#include "restore/support/checked.hpp"

namespace tolvaran::cf {
namespace {

bool isOfType(CFTypeRef object, CFTypeID type) {
    return object != nullptr && CFGetTypeID(object) == type;
}

std::optional<double> floatingPoint(CFNumberRef number) {
    double value = 0;
    if (!CFNumberGetValue(number, kCFNumberDoubleType, &value)) {
        return std::nullopt;
    }
    return value;
}

/// Takes ownership of what a Create function returned. Going on without the object could remove a
/// preference instead of setting it, so null throws.
template <typename T>
CFRef<T> owned(T created) {
    auto reference = CFRef<T>::assume(created);
    if (!reference) {
        throw std::bad_alloc();
    }
    return reference;
}

}  // namespace

CFRef<CFStringRef> makeString(std::string_view text) {
    return owned(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

CFRef<CFNumberRef> makeNumber(std::int64_t value) {
    return owned(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value));
}

CFRef<CFDictionaryRef> makeDictionary(CFStringRef key, CFTypeRef value) {
    const void* keys[] = {key};
    const void* values[] = {value};
    return owned(CFDictionaryCreate(kCFAllocatorDefault, keys, values, 1,
                                    &kCFTypeDictionaryKeyCallBacks,
                                    &kCFTypeDictionaryValueCallBacks));
}

std::optional<std::string> string(CFTypeRef object) {
    if (!isOfType(object, CFStringGetTypeID())) {
        return std::nullopt;
    }
    const auto* const text = static_cast<CFStringRef>(object);
    const CFRange all = CFRangeMake(0, CFStringGetLength(text));
    CFIndex size = 0;
    if (CFStringGetBytes(text, all, kCFStringEncodingUTF8, 0, false, nullptr, 0, &size) !=
        all.length) {
        return std::nullopt;  // a lone surrogate has no UTF-8 form
    }
    std::string bytes(static_cast<std::size_t>(size), '\0');
    CFStringGetBytes(text, all, kCFStringEncodingUTF8, 0, false,
                     reinterpret_cast<UInt8*>(bytes.data()), size, nullptr);
    return bytes;
}

std::optional<std::int64_t> integer(CFTypeRef object) {
    if (const std::optional<bool> flag = boolean(object)) {
        return *flag ? 1 : 0;
    }
    if (!isOfType(object, CFNumberGetTypeID())) {
        return std::nullopt;
    }
    const auto* const number = static_cast<CFNumberRef>(object);
    if (CFNumberIsFloatType(number)) {
        const std::optional<double> value = floatingPoint(number);
        return value ? checked::int64(*value) : std::nullopt;
    }
    std::int64_t value = 0;
    if (!CFNumberGetValue(number, kCFNumberSInt64Type, &value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::uint32_t> unsigned32(CFTypeRef object) {
    const std::optional<std::int64_t> value = integer(object);
    if (!value || *value < 0 || *value > std::numeric_limits<std::uint32_t>::max()) {
        return std::nullopt;
    }
    if (isOfType(object, CFNumberGetTypeID())) {
        const std::optional<double> exact = floatingPoint(static_cast<CFNumberRef>(object));
        if (!exact || *exact != std::trunc(*exact)) {
            return std::nullopt;
        }
    }
    return static_cast<std::uint32_t>(*value);
}

std::optional<bool> boolean(CFTypeRef object) {
    if (!isOfType(object, CFBooleanGetTypeID())) {
        return std::nullopt;
    }
    return CFBooleanGetValue(static_cast<CFBooleanRef>(object)) != 0;
}

CFDictionaryRef dictionary(CFTypeRef object) {
    if (!isOfType(object, CFDictionaryGetTypeID())) {
        return nullptr;
    }
    const auto* const result = static_cast<CFDictionaryRef>(object);
    std::vector<const void*> keys(static_cast<std::size_t>(CFDictionaryGetCount(result)));
    CFDictionaryGetKeysAndValues(result, keys.data(), nullptr);
    for (const void* key : keys) {
        if (!isOfType(key, CFStringGetTypeID())) {
            return nullptr;
        }
    }
    return result;
}

CFArrayRef array(CFTypeRef object) {
    return isOfType(object, CFArrayGetTypeID()) ? static_cast<CFArrayRef>(object) : nullptr;
}

CFTypeRef value(CFDictionaryRef dictionary, CFStringRef key) {
    return CFDictionaryGetValue(dictionary, key);
}

}  // namespace tolvaran::cf
