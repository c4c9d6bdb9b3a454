// The registry's display-connect services, which know more about a display than Core Graphics does.
// Used by display identity and by tolvaran_describe. Macs with Apple silicon have none. Main thread
// only.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <functional>

namespace tolvaran {

// The properties that this system reads.
inline CFStringRef vendorProperty() {
    return CFSTR("DisplayVendorID");
}
inline CFStringRef modelProperty() {
    return CFSTR("DisplayProductID");
}
inline CFStringRef serialProperty() {
    return CFSTR("DisplaySerialString");
}

/// Takes a service's properties, which it does not own; null if the registry cannot give them.
/// Returns whether to go on.
using DisplayConnectionVisitor = std::function<bool(CFDictionaryRef properties)>;

/// Calls `visit` with one service after the other, in the registry's order, until it returns false.
/// @return false if the registry refused to list them
bool visitDisplayConnections(const DisplayConnectionVisitor& visit);

}  // namespace tolvaran
