#include "restore/arrangement/display_identity.hpp"

#include <ColorSync/ColorSync.h>

#include "restore/arrangement/display_connections.hpp"
#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"

namespace tolvaran {
namespace {

/// The serial string in a service's properties, if they are of this vendor and model and have one.
std::optional<std::string> serialString(CFDictionaryRef properties, std::uint32_t vendorID,
                                        std::uint32_t modelID) {
    if (properties == nullptr ||
        cf::unsigned32(cf::value(properties, vendorProperty())) != vendorID ||
        cf::unsigned32(cf::value(properties, modelProperty())) != modelID) {
        return std::nullopt;
    }
    const auto serial = cf::string(cf::value(properties, serialProperty()));
    return serial && !serial->empty() ? serial : std::nullopt;
}

}  // namespace

std::optional<std::string> edidSerialString(std::uint32_t vendorID, std::uint32_t modelID) {
    std::optional<std::string> serial;
    visitDisplayConnections([&](CFDictionaryRef properties) {
        serial = serialString(properties, vendorID, modelID);
        return !serial;
    });
    return serial;
}

std::optional<std::string> displayHardwareFingerprint(CGDirectDisplayID displayID) {
    const std::uint32_t vendor = CGDisplayVendorNumber(displayID);
    const std::uint32_t model = CGDisplayModelNumber(displayID);
    if (vendor == 0 || model == 0) {
        return std::nullopt;
    }
    const std::string product = std::to_string(vendor) + "-" + std::to_string(model) + "-";
    const std::uint32_t serial = CGDisplaySerialNumber(displayID);
    if (serial != 0) {
        return product + std::to_string(serial);
    }
    const std::optional<std::string> text = edidSerialString(vendor, model);
    return product + (text ? "S" + *text : "0");
}

std::string displayPortUUID(CGDirectDisplayID displayID) {
    const auto uuid = CFRef<CFUUIDRef>::assume(CGDisplayCreateUUIDFromDisplayID(displayID));
    if (uuid) {
        const auto text =
            CFRef<CFStringRef>::assume(CFUUIDCreateString(kCFAllocatorDefault, uuid.get()));
        if (const auto utf8 = cf::string(text.get())) {
            return *utf8;
        }
    }
    return "Display-" + std::to_string(displayID);
}

}  // namespace tolvaran
