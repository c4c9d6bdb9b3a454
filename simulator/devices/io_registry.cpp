// The I/O registry: the display-connect services of the machine, behind counted handles.
#include <IOKit/IOKitLib.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>
#include <variant>
#include <vector>

#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "simulator/devices/call.hpp"
#include "simulator/devices/devices.hpp"
#include "simulator/machine/machine.hpp"
#include "simulator/on_reset.hpp"

namespace simulator::devices {
namespace {

constexpr const char* classKey = "IOProviderClass";
constexpr const char* displayConnectClass = "IODisplayConnect";

struct Service {
    nlohmann::json properties;
};

struct Iterator {
    std::vector<Service> services;
    std::size_t next = 0;
};

struct Objects {
    std::map<io_object_t, std::variant<Iterator, Service>> live;
    io_object_t lastHandle = IO_OBJECT_NULL;
};

Objects& objects() {
    static Objects all;
    return all;
}

io_object_t newHandle(std::variant<Iterator, Service> object) {
    const io_object_t handle = ++objects().lastHandle;
    objects().live.emplace(handle, std::move(object));
    return handle;
}

template <typename Object>
Object* find(io_object_t handle) {
    const auto found = objects().live.find(handle);
    return found == objects().live.end() ? nullptr : std::get_if<Object>(&found->second);
}

std::vector<Service> servicesMatching(const nlohmann::json& matching) {
    std::vector<Service> services;
    if (matching == nlohmann::json{{classKey, displayConnectClass}}) {
        std::ranges::transform(
            mac().registry, std::back_inserter(services),
            [](const nlohmann::json& properties) { return Service{properties}; });
    }
    return services;
}

CFMutableDictionaryRef createDictionary(const nlohmann::json& value) {
    return static_cast<CFMutableDictionaryRef>(const_cast<void*>(cf::createFromJson(value)));
}

}  // namespace

std::size_t liveRegistryObjects() {
    return objects().live.size();
}

static const OnReset forgetObjects([] { objects().live.clear(); });

}  // namespace simulator::devices

using namespace simulator;
using namespace simulator::devices;

extern "C" {

const mach_port_t kIOMainPortDefault = 0;

kern_return_t IOObjectRelease(io_object_t object) {
    return performCall(__func__, [&] {
        return objects().live.erase(object) == 0 ? KERN_INVALID_ARGUMENT : KERN_SUCCESS;
    });
}

io_object_t IOIteratorNext(io_iterator_t iterator) {
    return performCall(__func__, [&] {
        auto* const found = find<Iterator>(iterator);
        return found == nullptr || found->next == found->services.size()
                   ? IO_OBJECT_NULL
                   : newHandle(found->services[found->next++]);
    });
}

CFMutableDictionaryRef IOServiceMatching(const char* name) {
    return beginCall(__func__).isNull() || name == nullptr ? nullptr
                                                           : createDictionary({{classKey, name}});
}

kern_return_t IOServiceGetMatchingServices(mach_port_t mainPort, CFDictionaryRef matching,
                                           io_iterator_t* existing) {
    const cf::Owned<CFDictionaryRef> consumed(matching);
    return performCall(__func__, [&] {
        if (mainPort != kIOMainPortDefault || matching == nullptr || existing == nullptr) {
            return KERN_INVALID_ARGUMENT;
        }
        *existing = newHandle(Iterator{servicesMatching(cf::toJson(matching))});
        return KERN_SUCCESS;
    });
}

kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t entry,
                                                CFMutableDictionaryRef* properties,
                                                CFAllocatorRef /*allocator*/,
                                                IOOptionBits options) {
    return performCall(__func__, [&] {
        const auto* const found = find<Service>(entry);
        const bool areOptionsDefined = options == 0;  // I/O Kit defines none
        if (found == nullptr || properties == nullptr || !areOptionsDefined) {
            return KERN_INVALID_ARGUMENT;
        }
        *properties = createDictionary(found->properties);
        return KERN_SUCCESS;
    });
}

}  // extern "C"
