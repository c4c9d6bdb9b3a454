#include "restore/arrangement/display_identity.hpp"

#include <ColorSync/ColorSync.h>

#include <algorithm>

#include "restore/arrangement/display_connections.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"

namespace tolvaran {
namespace {

/// The serial string in a service's properties when they are of this vendor and model and have one.
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

/// A display's hardware fingerprint, if it has one.
using Fingerprint = std::optional<std::string>;

std::vector<Fingerprint> fingerprints(const std::vector<CGDirectDisplayID>& displays) {
    std::vector<Fingerprint> result;
    for (const CGDirectDisplayID display : displays) {
        result.push_back(displayHardwareFingerprint(display));
    }
    return result;
}

/// The display UUID of a display with the fingerprint `own`; `all` are those of the displays among
/// which it may have a twin.
std::string displayUUIDAmong(CGDirectDisplayID displayID, const Fingerprint& own,
                             const std::vector<Fingerprint>& all) {
    if (!own) {
        return displayPortUUID(displayID);
    }
    if (std::count(all.begin(), all.end(), own) > 1) {
        RestoreLog::warn("Multiple displays with fingerprint " + *own +
                         ", disambiguating via port-UUID");
        return displayPortUUID(displayID);
    }
    return "HW-" + *own;
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

std::string displayUUID(CGDirectDisplayID displayID,
                        const std::optional<std::vector<CGDirectDisplayID>>& allDisplayIDs) {
    const Fingerprint own = displayHardwareFingerprint(displayID);
    std::vector<Fingerprint> all;
    if (own && allDisplayIDs) {
        all = fingerprints(*allDisplayIDs);
    }
    return displayUUIDAmong(displayID, own, all);
}

std::vector<std::string> displayUUIDs(const std::vector<CGDirectDisplayID>& displays) {
    const std::vector<Fingerprint> all = fingerprints(displays);
    std::vector<std::string> uuids;
    for (std::size_t i = 0; i < displays.size(); ++i) {
        uuids.push_back(displayUUIDAmong(displays[i], all[i], all));
    }
    return uuids;
}

}  // namespace tolvaran
