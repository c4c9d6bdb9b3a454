// The one ColorSync function that the restore library uses, for hosts that lack ColorSync.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>

extern "C" {

CFUUIDRef CGDisplayCreateUUIDFromDisplayID(std::uint32_t displayID);

}  // extern "C"
