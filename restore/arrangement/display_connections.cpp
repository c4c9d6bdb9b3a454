#include "restore/arrangement/display_connections.hpp"

#include <IOKit/IOKitLib.h>

#include <optional>
#include <utility>

#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"
#include "restore/support/io_object.hpp"

namespace tolvaran {
namespace {

// Out parameters of I/O Kit are taken over before the result is looked at, so that a call that
// fails halfway leaks nothing either.

/// An iterator over the registry's display connections, which may be null where there are none; no
/// iterator when the registry refuses.
std::optional<IOObject> displayConnections() {
    CFMutableDictionaryRef matching = IOServiceMatching("IODisplayConnect");
    if (matching == nullptr) {
        return std::nullopt;
    }
    io_iterator_t found = IO_OBJECT_NULL;
    // This gives up the reference to `matching`, also when it fails.
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
