// Owns a reference that a system function has returned. Such a reference goes into an OwnedRef on
// the line that gets it, so that no path can leak it or release it twice. CFRef (cf_ref.hpp) and
// IOObject (io_object.hpp) are the two kinds.
//
// Any thread may use an OwnedRef, but only one at a time.
#pragma once

#include <utility>

namespace tolvaran {

/// Owns one reference, or holds none.
/// @tparam Traits what there is to know about the kind of reference:
///     using Reference = …;                   its type
///     static constexpr Reference none = …;   the value that refers to nothing
///     static void release(Reference);        gives a reference back
///     static void retain(Reference);         adds one; without it an OwnedRef cannot be copied
template <typename Traits>
class OwnedRef {
  public:
    using Reference = typename Traits::Reference;

    OwnedRef() = default;

    /// Takes ownership of the reference that a function has just returned; it may be none.
    static OwnedRef assume(Reference reference) { return OwnedRef(reference); }

    /// Adds a reference to an object that is owned elsewhere; it may be none.
    static OwnedRef retain(Reference reference) requires requires { Traits::retain(reference); }
    {
        if (reference != Traits::none) {
            Traits::retain(reference);
        }
        return OwnedRef(reference);
    }

    OwnedRef(const OwnedRef& other) requires requires(Reference reference) {
        Traits::retain(reference);
    } : OwnedRef(retain(other.reference_)) {
    }
    OwnedRef(OwnedRef&& other) noexcept
        : reference_(std::exchange(other.reference_, Traits::none)) {}
    OwnedRef& operator=(OwnedRef other) noexcept {
        std::swap(reference_, other.reference_);
        return *this;
    }
    ~OwnedRef() {
        if (reference_ != Traits::none) {
            Traits::release(reference_);
        }
    }

    /// The reference, still owned by this; none if nothing is held.
    Reference get() const { return reference_; }
    explicit operator bool() const { return reference_ != Traits::none; }

  private:
    explicit OwnedRef(Reference reference) : reference_(reference) {}

    Reference reference_ = Traits::none;
};

}  // namespace tolvaran
