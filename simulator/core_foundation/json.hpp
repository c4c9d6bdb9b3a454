// Converts property lists between their two forms: JSON in the simulated machine, Core Foundation
// objects at the interface. Used for preferences, the registry and notifications.
//
// Strings, booleans, integers, fractions, lists and objects stand for themselves. Data and dates
// have no JSON form, so they are written as objects with one key: {"$data": BASE64} and
// {"$date": SECONDS}, counted from 2001-01-01T00:00:00Z.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace simulator::cf {

/// A new object, owned by the caller. Null for JSON's null, which is not a property list; an entry
/// whose value is null is left out of its list or object.
CFTypeRef createFromJson(const nlohmann::json& value);

/// The object's JSON form; null for a null reference and for an object that is not a property list.
/// The reference stays the caller's.
nlohmann::json toJson(CFTypeRef object);

/// A new string, owned by the caller; `utf8` must be valid UTF-8.
CFStringRef createString(std::string_view utf8);

/// The text of a string object as UTF-8, a lone surrogate as U+FFFD. Aborts for another type.
std::string text(CFStringRef string);

}  // namespace simulator::cf
