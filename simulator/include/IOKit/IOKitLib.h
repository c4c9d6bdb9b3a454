// The part of I/O Kit that the restore library uses, for hosts that lack it: finding registry
// services by class and reading their properties. Declared as on a Mac; the simulator supplies the
// functions.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>

extern "C" {

typedef int kern_return_t;

#define KERN_SUCCESS 0
#define KERN_INVALID_ARGUMENT 4
#define KERN_FAILURE 5

typedef std::uint32_t mach_port_t;
typedef mach_port_t io_object_t;
typedef io_object_t io_iterator_t;
typedef io_object_t io_registry_entry_t;
typedef io_object_t io_service_t;
typedef std::uint32_t IOOptionBits;

#define IO_OBJECT_NULL ((io_object_t)0)

extern const mach_port_t kIOMainPortDefault;

kern_return_t IOObjectRelease(io_object_t object);
io_object_t IOIteratorNext(io_iterator_t iterator);
CFMutableDictionaryRef IOServiceMatching(const char* name);
// Consumes one reference to `matching`, even if it fails.
kern_return_t IOServiceGetMatchingServices(mach_port_t mainPort, CFDictionaryRef matching,
                                           io_iterator_t* existing);
kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t entry,
                                                CFMutableDictionaryRef* properties,
                                                CFAllocatorRef allocator, IOOptionBits options);

}  // extern "C"
