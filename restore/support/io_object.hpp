// Ownership of a reference to an I/O Kit object: a registry service or an iterator. Every one that
// an I/O Kit function hands out goes into an IOObject on the same line, so that no path can leak
// it.
#pragma once

#include <IOKit/IOKitLib.h>

#include <utility>

namespace tolvaran {

/// Owns one reference to an I/O Kit object, or holds none.
class IOObject {
  public:
    IOObject() = default;

    /// Takes over the reference that an I/O Kit function has just returned (may be null).
    static IOObject assume(io_object_t object) { return IOObject(object); }

    IOObject(IOObject&& other) noexcept : object_(std::exchange(other.object_, IO_OBJECT_NULL)) {}
    IOObject& operator=(IOObject other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~IOObject() {
        if (object_ != IO_OBJECT_NULL) {
            IOObjectRelease(object_);
        }
    }

    /// The object, still owned by this; IO_OBJECT_NULL when none is held.
    io_object_t get() const { return object_; }
    explicit operator bool() const { return object_ != IO_OBJECT_NULL; }

  private:
    explicit IOObject(io_object_t object) : object_(object) {}

    io_object_t object_ = IO_OBJECT_NULL;
};

}  // namespace tolvaran
