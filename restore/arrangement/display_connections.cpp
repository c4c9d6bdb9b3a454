#include "restore/arrangement/display_connections.hpp"

#include <IOKit/IOKitLib.h>

#include <optional>
#include <utility>

#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"
#include "restore/support/io_object.hpp"

namespace tolvaran {
namespace {

// I/O Kit's out parameters are owned before the result is checked, so that a call that fails
// halfway leaks nothing.

/// An iterator over the registry's display connections, which may be null if there are none; none
/// if the registry refuses.
std::optional<IOObject> displayConnections() {
    CFMutableDictionaryRef matching = IOServiceMatching("IODisplayConnect");
    if (matching == nullptr) {
        return std::nullopt;
    }
    io_iterator_t found = IO_OBJECT_NULL;
    // This consumes the reference to `matching`, even if it fails.
    const kern_return_t status = IOServiceGetMatchingServices(kIOMainPortDefault, matching, &found);
    IOObject iterator = IOObject::assume(found);
    return status == KERN_SUCCESS ? std::optional(std::move(iterator)) : std::nullopt;
}

CFRef<CFMutableDictionaryRef> propertiesOf(const IOObject& service) {
    CFMutableDictionaryRef created = nullptr;
    const kern_return_t status =
        IORegistryEntryCreateCFProperties(service.get(), &created, kCFAllocatorDefault, 0);
    auto properties = CFRef<CFMutableDictionaryRef>::assume(created);
    return status == KERN_SUCCESS ? properties : CFRef<CFMutableDictionaryRef>();
}

}  // namespace

bool visitDisplayConnections(const DisplayConnectionVisitor& visit) {
    const std::optional<IOObject> iterator = displayConnections();
    bool goesOn = iterator && *iterator;
    while (goesOn) {
        const IOObject service = IOObject::assume(IOIteratorNext(iterator->get()));
        goesOn = service && visit(cf::dictionary(propertiesOf(service).get()));
    }
    return iterator.has_value();
}

}  // namespace tolvaran
