#include "restore/arrangement/display_identity.hpp"

#include <ColorSync/ColorSync.h>
#include <IOKit/IOKitLib.h>

#include <algorithm>

#include "restore/paths/restore_log.hpp"
#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"
#include "restore/support/io_object.hpp"

namespace tolvaran {
namespace {

// Out parameters of I/O Kit are taken over before the result is looked at, so that a call that
// fails halfway leaks nothing either.

/// An iterator over the registry's display connections; none when the registry refuses.
IOObject displayConnections() {
    CFMutableDictionaryRef matching = IOServiceMatching("IODisplayConnect");
    if (matching == nullptr) {
        return {};
    }
    io_iterator_t found = IO_OBJECT_NULL;
    // This gives up the reference to `matching`, also when it fails.
    const kern_return_t status = IOServiceGetMatchingServices(kIOMainPortDefault, matching, &found);
    IOObject iterator = IOObject::assume(found);
    return status == KERN_SUCCESS ? std::move(iterator) : IOObject();
}

CFRef<CFMutableDictionaryRef> propertiesOf(const IOObject& service) {
    CFMutableDictionaryRef created = nullptr;
    const kern_return_t status =
        IORegistryEntryCreateCFProperties(service.get(), &created, kCFAllocatorDefault, 0);
    auto properties = CFRef<CFMutableDictionaryRef>::assume(created);
    return status == KERN_SUCCESS ? properties : CFRef<CFMutableDictionaryRef>();
}

/// The service's serial string when the service is of this vendor and model and has one.
std::optional<std::string> serialString(const IOObject& service, std::uint32_t vendorID,
                                        std::uint32_t modelID) {
    const auto owned = propertiesOf(service);
    CFDictionaryRef properties = cf::dictionary(owned.get());
    if (properties == nullptr ||
        cf::unsigned32(cf::value(properties, CFSTR("DisplayVendorID"))) != vendorID ||
        cf::unsigned32(cf::value(properties, CFSTR("DisplayProductID"))) != modelID) {
        return std::nullopt;
    }
    const auto serial = cf::string(cf::value(properties, CFSTR("DisplaySerialString")));
    return serial && !serial->empty() ? serial : std::nullopt;
}

}  // namespace

std::optional<std::string> edidSerialString(std::uint32_t vendorID, std::uint32_t modelID) {
    const IOObject iterator = displayConnections();
    while (iterator) {
        const IOObject service = IOObject::assume(IOIteratorNext(iterator.get()));
        if (!service) {
            break;
        }
        if (const auto serial = serialString(service, vendorID, modelID)) {
            return serial;
        }
    }
    return std::nullopt;
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
    const std::optional<std::string> fingerprint = displayHardwareFingerprint(displayID);
    if (!fingerprint) {
        return displayPortUUID(displayID);
    }
    const auto hasThisFingerprint = [&](CGDirectDisplayID other) {
        return displayHardwareFingerprint(other) == fingerprint;
    };
    if (allDisplayIDs &&
        std::count_if(allDisplayIDs->begin(), allDisplayIDs->end(), hasThisFingerprint) > 1) {
        RestoreLog::warn("Multiple displays with fingerprint " + *fingerprint +
                         ", disambiguating via port-UUID");
        return displayPortUUID(displayID);
    }
    return "HW-" + *fingerprint;
}

}  // namespace tolvaran
