// Converts values to and from Core Foundation. What comes from the system or from disk may be of
// any type, so every reader here checks the type and returns none for any other.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "restore/support/cf_ref.hpp"

namespace tolvaran::cf {

// Each of the makers throws std::bad_alloc if Core Foundation cannot create the object.

/// A new string with this text, which must be valid UTF-8.
CFRef<CFStringRef> makeString(std::string_view text);

/// A new integer number.
CFRef<CFNumberRef> makeNumber(std::int64_t value);

/// A new dictionary with this one entry; both objects are retained by it.
CFRef<CFDictionaryRef> makeDictionary(CFStringRef key, CFTypeRef value);

/// The text of a string object as UTF-8; none for null, for other types and for text with half of a
/// surrogate pair.
std::optional<std::string> string(CFTypeRef object);

/// The value of a number or a boolean (true is 1), truncated; none for null, for other types and
/// for what does not fit. Booleans count because the system stores many switches as booleans that
/// it documents as numbers.
std::optional<std::int64_t> integer(CFTypeRef object);

/// The value of a number or a boolean that is whole and fits in 32 unsigned bits; none otherwise.
std::optional<std::uint32_t> unsigned32(CFTypeRef object);

/// The value of a boolean object; none for null and for other types, numbers included.
std::optional<bool> boolean(CFTypeRef object);

/// `object` as a dictionary whose keys are all strings, not retained; null otherwise.
CFDictionaryRef dictionary(CFTypeRef object);

/// `object` as an array, not retained; null otherwise.
CFArrayRef array(CFTypeRef object);

/// The value under a key, not retained; null if there is none.
CFTypeRef value(CFDictionaryRef dictionary, CFStringRef key);

}  // namespace tolvaran::cf
