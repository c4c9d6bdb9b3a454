// Core Foundation objects as the simulator holds them: a counted header that every reference points
// to, and a value behind it whose C++ type is the object's type. A new type of object is a struct
// derived from Value and a type identifier from newType(); everything else (counting, detecting a
// reference that was released too often, equality) works for all alike.
//
// Misuse aborts with a message on standard error that says what was done: a null or foreign
// reference, an object used or released after its last reference was released, or an object of the
// wrong type.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace simulator::cf {

/// What an object holds. The destructor releases the references that the value owns.
struct Value {
    Value() = default;
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;
    virtual ~Value() = default;

    /// Whether both hold the same; `other` is of the same type. An object equals only itself
    /// unless its type says otherwise.
    virtual bool equals(const Value& other) const { return this == &other; }
    /// Equal for equal values.
    virtual CFHashCode hash() const { return 0; }
};

/// A type identifier that no other type has.
/// @param name the type's name in messages, such as "CFString"
CFTypeID newType(std::string name);

/// A new object with one reference, which the caller owns.
CFTypeRef create(CFTypeID type, std::unique_ptr<Value> value);

/// A new object that lives forever: its references are not counted, and liveObjects() leaves it
/// out.
CFTypeRef createConstant(CFTypeID type, std::unique_ptr<Value> value);

/// Makes an object live forever, like one from createConstant(). Its references are no longer
/// counted.
void makeConstant(CFTypeRef object);

/// The value of an object; aborts in the name of `function` unless it is a live object of `type`.
Value& valueOf(CFTypeRef object, CFTypeID type, std::string_view function);

/// Objects that are neither constant nor gone.
std::size_t liveObjects();

/// Writes "simulator: " and the message to standard error, and aborts.
[[noreturn]] void misuse(std::string_view function, std::string_view what);

/// Owns one reference to an object.
template <typename Reference>
class Owned {
  public:
    Owned() = default;
    /// Takes ownership of a reference, or null.
    explicit Owned(Reference reference) : reference_(reference) {}
    Owned(Owned&& other) noexcept : reference_(std::exchange(other.reference_, nullptr)) {}
    Owned& operator=(Owned other) noexcept {
        std::swap(reference_, other.reference_);
        return *this;
    }
    ~Owned() {
        if (reference_ != nullptr) {
            CFRelease(reference_);
        }
    }

    Reference get() const { return reference_; }
    /// The reference, now the caller's.
    Reference release() { return std::exchange(reference_, nullptr); }

  private:
    Reference reference_ = nullptr;
};

}  // namespace simulator::cf
