// Ownership of an I/O Kit object: a registry service or an iterator.
#pragma once

#include <IOKit/IOKitLib.h>

#include "restore/support/owned_ref.hpp"

namespace tolvaran {

struct IOObjectTraits {
    using Reference = io_object_t;
    static constexpr io_object_t none = IO_OBJECT_NULL;
    static void release(io_object_t object) { IOObjectRelease(object); }
};

/// Owns one reference to an I/O Kit object, or holds none. It can be moved, not copied.
using IOObject = OwnedRef<IOObjectTraits>;

}  // namespace tolvaran
