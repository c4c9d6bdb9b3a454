// UUIDs for the parts of the simulator that hand them out or read their text.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <string_view>

namespace simulator::cf {

/// Whether `text` has the form 8-4-4-4-12 of hexadecimal digits of either case.
bool isUUID(std::string_view text);

/// A new UUID object, owned by the caller; null if isUUID(text) is false.
CFUUIDRef createUUID(std::string_view text);

}  // namespace simulator::cf
