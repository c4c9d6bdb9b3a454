// Owns a Core Foundation object, from the line on which a Create or Copy function returns it, or on
// which a Get function returns one that is to be kept.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include "restore/support/owned_ref.hpp"

namespace tolvaran {

template <typename T>
struct CFRefTraits {
    using Reference = T;
    static constexpr T none = nullptr;
    static void retain(T reference) { CFRetain(reference); }
    static void release(T reference) { CFRelease(reference); }
};

/// Owns one reference to a Core Foundation object, or holds none.
/// @tparam T the reference type, such as CFStringRef
template <typename T>
using CFRef = OwnedRef<CFRefTraits<T>>;

}  // namespace tolvaran
