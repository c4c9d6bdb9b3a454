// Makes containers and data from C++ values, for the parts of the simulator that return them.
// Unlike Core Foundation's own functions these meet no faults.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <span>
#include <string_view>

namespace simulator::cf {

/// A new array that retains these objects; owned by the caller.
CFArrayRef createArray(std::span<const CFTypeRef> objects);

/// A new, empty dictionary that retains its keys and values; owned by the caller.
CFMutableDictionaryRef createDictionary();

/// A new data object; owned by the caller.
CFDataRef createData(std::string_view bytes);

}  // namespace simulator::cf
