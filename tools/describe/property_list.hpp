// Core Foundation's values as JSON: what stands in preferences and in the registry.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <nlohmann/json.hpp>
#include <optional>

namespace tolvaran::describe {

/// The value as a scenario has it, of the same type: strings, booleans, integers, fractions, arrays
/// and dictionaries as themselves; data as {"$data": BASE64}; a date as {"$date": SECONDS}, counted
/// from 2001-01-01T00:00:00Z. None for null and for what holds, anywhere, something that has no
/// such form: an endless number, text that is not Unicode, a type that no property list has.
std::optional<nlohmann::json> propertyList(CFTypeRef value);

}  // namespace tolvaran::describe
