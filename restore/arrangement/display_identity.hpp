// Names for physical displays that stay the same when the window server's display numbers change,
// after a reboot or with another cable. Used wherever a saved record names a display.
//
// The name is made from what the hardware says about itself; where that is missing, or shared by
// identical monitors, the window server's UUID for the port takes its place. Nothing is cached, so
// a display plugged in between two calls is seen at once. Nothing here fails. Main thread only.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tolvaran {

/// The display's vendor, model and serial numbers in decimal, joined with "-". Without a serial
/// number, "S" and the serial string from its EDID take its place, or else "0". None if the vendor
/// or the model is 0, as for a display that is gone.
std::optional<std::string> displayHardwareFingerprint(CGDirectDisplayID displayID);

/// The non-empty serial string of the first display in the I/O Kit registry with these numbers;
/// none if no display has one or the registry cannot be read.
std::optional<std::string> edidSerialString(std::uint32_t vendorID, std::uint32_t modelID);

/// The window server's UUID for the display at its present port, in upper-case 8-4-4-4-12 form;
/// "Display-" and the display number if it has none.
std::string displayPortUUID(CGDirectDisplayID displayID);

/// The display UUID: "HW-" and the hardware fingerprint, or the port UUID if there is no
/// fingerprint or several of `allDisplayIDs` share it. The latter is logged through RestoreLog.warn
/// as "Multiple displays with fingerprint " + the fingerprint + ", disambiguating via port-UUID".
/// @param allDisplayIDs every active display; without them identical monitors get the same name
std::string displayUUID(
    CGDirectDisplayID displayID,
    const std::optional<std::vector<CGDirectDisplayID>>& allDisplayIDs = std::nullopt);

}  // namespace tolvaran
