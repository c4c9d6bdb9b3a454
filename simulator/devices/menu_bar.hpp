// The menu bar: SkyLight's functions, found at run time, and the global auto-hide switch, which is
// linked (platform/private_interfaces.hpp has their types).
//
// A connection that CGSMainConnectionID() did not return is refused with kCGErrorInvalidConnection,
// false or null.
#pragma once

#include <nlohmann/json.hpp>

namespace simulator::devices {

/// Makes SLSCopyManagedDisplaySpaces() return this value, of any shape (null: null). Its usual
/// result has, for each display with a port UUID, a dictionary of its "Display Identifier" and its
/// "Current Space", whose "type" is the display's spaceType. reset() ends it.
void replaceManagedDisplaySpaces(nlohmann::json value);

}  // namespace simulator::devices
