// Ownership of a Core Foundation reference. Every reference that a Create or Copy function returns
// goes into a CFRef on the same line, so that no path can leak or over-release it.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace tolvaran {

/// Owns one reference to a Core Foundation object, or holds none.
/// @tparam T the reference type, such as CFStringRef
template <typename T>
class CFRef {
  public:
    CFRef() = default;

    /// Takes over the reference that a Create or Copy function has just returned (may be null).
    static CFRef assume(T reference) { return CFRef(reference); }

    /// Adds a reference of its own to an object that a Get function returned (may be null).
    static CFRef retain(T reference) {
        if (reference != nullptr) {
            CFRetain(reference);
        }
        return CFRef(reference);
    }

    CFRef(const CFRef& other) : CFRef(retain(other.reference_)) {}
    CFRef(CFRef&& other) noexcept : reference_(std::exchange(other.reference_, nullptr)) {}
    CFRef& operator=(CFRef other) noexcept {
        std::swap(reference_, other.reference_);
        return *this;
    }
    ~CFRef() {
        if (reference_ != nullptr) {
            CFRelease(reference_);
        }
    }

    /// The object, still owned by this; null when none is held.
    T get() const { return reference_; }
    explicit operator bool() const { return reference_ != nullptr; }

  private:
    explicit CFRef(T reference) : reference_(reference) {}

    T reference_ = nullptr;
};

}  // namespace tolvaran
