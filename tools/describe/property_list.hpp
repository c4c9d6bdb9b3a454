// Core Foundation's values as JSON: those in preferences and in the registry.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <nlohmann/json.hpp>
#include <optional>

namespace tolvaran::describe {

/// The value in a scenario's form, with the same type: strings, booleans, integers, fractions,
/// arrays and dictionaries as themselves; data as {"$data": BASE64}; a date as {"$date": SECONDS},
/// counted from 2001-01-01T00:00:00Z. None for null, and if any part has no such form: an infinite
/// number, text that is not Unicode, a type that property lists do not have.
std::optional<nlohmann::json> propertyList(CFTypeRef value);

}  // namespace tolvaran::describe
