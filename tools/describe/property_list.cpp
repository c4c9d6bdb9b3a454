#include "tools/describe/property_list.hpp"

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "restore/support/cf_values.hpp"
#include "tools/describe/base64.hpp"

namespace tolvaran::describe {
namespace {

using nlohmann::json;
using Form = std::optional<json>;

constexpr const char* dataKey = "$data";
constexpr const char* dateKey = "$date";
constexpr int deepestPropertyList = 50;  // a scenario must not be nested much deeper

Form converted(CFTypeRef value, int depth);

template <typename T>
Form orNone(const std::optional<T>& value) {
    return value ? Form(*value) : std::nullopt;
}

Form fraction(double value) {
    return std::isfinite(value) ? Form(value) : std::nullopt;
}

Form number(CFNumberRef value) {
    std::int64_t integer = 0;
    if (CFNumberIsFloatType(value) == 0 &&
        CFNumberGetValue(value, kCFNumberSInt64Type, &integer) != 0) {
        return integer;
    }
    double real = 0;
    CFNumberGetValue(value, kCFNumberDoubleType, &real);
    return fraction(real);
}

Form data(CFDataRef value) {
    const auto length = static_cast<std::size_t>(CFDataGetLength(value));
    const auto* const bytes = reinterpret_cast<const char*>(CFDataGetBytePtr(value));
    return json{{dataKey, base64({bytes, length})}};
}

Form date(CFDateRef value) {
    const Form seconds = fraction(CFDateGetAbsoluteTime(value));
    return seconds ? Form(json{{dateKey, *seconds}}) : std::nullopt;
}

Form list(CFArrayRef value, int depth) {
    json result = json::array();
    for (CFIndex index = 0; index < CFArrayGetCount(value); ++index) {
        const Form element = converted(CFArrayGetValueAtIndex(value, index), depth);
        if (!element) {
            return std::nullopt;
        }
        result.push_back(*element);
    }
    return result;
}

Form object(CFDictionaryRef value, int depth) {
    const auto count = static_cast<std::size_t>(CFDictionaryGetCount(value));
    std::vector<const void*> keys(count);
    std::vector<const void*> values(count);
    CFDictionaryGetKeysAndValues(value, keys.data(), values.data());
    json result = json::object();
    for (std::size_t index = 0; index < count; ++index) {
        const std::optional<std::string> key = cf::string(keys[index]);
        const Form entry = converted(values[index], depth);
        if (!key || !entry) {
            return std::nullopt;
        }
        result[*key] = *entry;
    }
    // Alone, these keys would be taken for data or a date.
    const bool misleads = count == 1 && (result.contains(dataKey) || result.contains(dateKey));
    return misleads ? std::nullopt : Form(result);
}

Form converted(CFTypeRef value, int depth) {
    if (value == nullptr || depth > deepestPropertyList) {
        return std::nullopt;
    }
    const CFTypeID type = CFGetTypeID(value);
    if (type == CFNumberGetTypeID()) {
        return number(static_cast<CFNumberRef>(value));
    }
    if (type == CFBooleanGetTypeID()) {
        return orNone(cf::boolean(value));
    }
    if (type == CFDataGetTypeID()) {
        return data(static_cast<CFDataRef>(value));
    }
    if (type == CFDateGetTypeID()) {
        return date(static_cast<CFDateRef>(value));
    }
    if (type == CFArrayGetTypeID()) {
        return list(static_cast<CFArrayRef>(value), depth + 1);
    }
    if (type == CFDictionaryGetTypeID()) {
        return object(static_cast<CFDictionaryRef>(value), depth + 1);
    }
    return orNone(cf::string(value));
}

}  // namespace

std::optional<json> propertyList(CFTypeRef value) {
    return converted(value, 0);
}

}  // namespace tolvaran::describe
