#include "simulator/core_foundation/json.hpp"

#include <limits>
#include <vector>

#include "simulator/core_foundation/base64.hpp"
#include "simulator/core_foundation/containers.hpp"
#include "simulator/core_foundation/number.hpp"
#include "simulator/core_foundation/object.hpp"

namespace simulator::cf {
namespace {

using nlohmann::json;

constexpr const char* dataKey = "$data";
constexpr const char* dateKey = "$date";

bool isTagged(const json& value, const char* key) {
    return value.is_object() && value.size() == 1 && value.contains(key);
}

CFTypeRef createInteger(const json& value) {
    // Above 63 bits JSON's integers are unsigned; a number object holds them as doubles.
    constexpr auto limit = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > limit) {
        return createNumber(value.get<double>());
    }
    return createNumber(value.get<std::int64_t>());
}

/// The entries that have an object form; they own their objects.
std::vector<Owned<CFTypeRef>> createElements(const json& list) {
    std::vector<Owned<CFTypeRef>> elements;
    for (const json& element : list) {
        if (!element.is_null()) {
            elements.emplace_back(createFromJson(element));
        }
    }
    return elements;
}

CFTypeRef createList(const json& list) {
    const auto elements = createElements(list);
    std::vector<CFTypeRef> values;
    values.reserve(elements.size());
    for (const auto& element : elements) {
        values.push_back(element.get());
    }
    return createArray(values);
}

CFTypeRef createEntries(const json& object) {
    CFMutableDictionaryRef dictionary = createDictionary();
    for (const auto& [key, value] : object.items()) {
        if (!value.is_null()) {
            const Owned<CFStringRef> name(createString(key));
            const Owned<CFTypeRef> entry(createFromJson(value));
            CFDictionarySetValue(dictionary, name.get(), entry.get());
        }
    }
    return dictionary;
}

json numberToJson(CFNumberRef number) {
    if (CFNumberIsFloatType(number) != 0) {
        double value = 0;
        CFNumberGetValue(number, kCFNumberDoubleType, &value);
        return value;
    }
    std::int64_t value = 0;
    CFNumberGetValue(number, kCFNumberSInt64Type, &value);
    return value;
}

json arrayToJson(CFArrayRef array) {
    json list = json::array();
    for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
        list.push_back(toJson(CFArrayGetValueAtIndex(array, i)));
    }
    return list;
}

json dictionaryToJson(CFDictionaryRef dictionary) {
    const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
    std::vector<const void*> keys(count);
    std::vector<const void*> values(count);
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    json object = json::object();
    for (std::size_t i = 0; i < count; ++i) {
        object[text(static_cast<CFStringRef>(keys[i]))] = toJson(values[i]);
    }
    return object;
}

json dataToJson(CFDataRef data) {
    const auto* const bytes = reinterpret_cast<const char*>(CFDataGetBytePtr(data));
    return {{dataKey, base64Encoded({bytes, static_cast<std::size_t>(CFDataGetLength(data))})}};
}

}  // namespace

CFTypeRef createFromJson(const json& value) {
    switch (value.type()) {
        case json::value_t::string:
            return createString(value.get<std::string>());
        case json::value_t::boolean:
            return value.get<bool>() ? kCFBooleanTrue : kCFBooleanFalse;
        case json::value_t::number_integer:
        case json::value_t::number_unsigned:
            return createInteger(value);
        case json::value_t::number_float:
            return createNumber(value.get<double>());
        case json::value_t::array:
            return createList(value);
        case json::value_t::object:
            break;
        default:
            return nullptr;
    }
    if (isTagged(value, dataKey)) {
        return createData(base64Decoded(value[dataKey].get<std::string>()));
    }
    if (isTagged(value, dateKey)) {
        return CFDateCreate(kCFAllocatorDefault, value[dateKey].get<double>());
    }
    return createEntries(value);
}

json toJson(CFTypeRef object) {
    if (object == nullptr) {
        return nullptr;
    }
    const CFTypeID type = CFGetTypeID(object);
    if (type == CFStringGetTypeID()) {
        return text(static_cast<CFStringRef>(object));
    }
    if (type == CFNumberGetTypeID()) {
        return numberToJson(static_cast<CFNumberRef>(object));
    }
    if (type == CFBooleanGetTypeID()) {
        return CFBooleanGetValue(static_cast<CFBooleanRef>(object)) != 0;
    }
    if (type == CFArrayGetTypeID()) {
        return arrayToJson(static_cast<CFArrayRef>(object));
    }
    if (type == CFDictionaryGetTypeID()) {
        return dictionaryToJson(static_cast<CFDictionaryRef>(object));
    }
    if (type == CFDataGetTypeID()) {
        return dataToJson(static_cast<CFDataRef>(object));
    }
    if (type == CFDateGetTypeID()) {
        return {{dateKey, CFDateGetAbsoluteTime(static_cast<CFDateRef>(object))}};
    }
    return nullptr;
}

}  // namespace simulator::cf
