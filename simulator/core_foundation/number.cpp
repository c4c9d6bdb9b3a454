// CFNumber: a 64-bit integer or a double, and the type it was created with.

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#include "simulator/core_foundation/number.hpp"
#include "simulator/core_foundation/object.hpp"
#include "simulator/faults/faults.hpp"

namespace simulator::cf {
namespace {

// The fixed-width type that each type stands for on a 64-bit Mac.
constexpr std::array<CFNumberType, kCFNumberMaxType + 1> canonicalTypes{
    CFNumberType{},       kCFNumberSInt8Type,   kCFNumberSInt16Type,  kCFNumberSInt32Type,
    kCFNumberSInt64Type,  kCFNumberFloat32Type, kCFNumberFloat64Type, kCFNumberSInt8Type,
    kCFNumberSInt16Type,  kCFNumberSInt32Type,  kCFNumberSInt64Type,  kCFNumberSInt64Type,
    kCFNumberFloat32Type, kCFNumberFloat64Type, kCFNumberSInt64Type,  kCFNumberSInt64Type,
    kCFNumberFloat64Type,
};

CFNumberType canonical(CFNumberType type, std::string_view function) {
    if (type < kCFNumberSInt8Type || type > kCFNumberMaxType) {
        misuse(function, "there is no such number type");
    }
    return canonicalTypes[static_cast<std::size_t>(type)];
}

bool isFloat(CFNumberType canonicalType) {
    return canonicalType == kCFNumberFloat32Type || canonicalType == kCFNumberFloat64Type;
}

struct Number final : Value {
    Number(CFNumberType madeAs, std::int64_t whole, double fraction)
        : type(madeAs), integer(whole), real(fraction) {}

    // 1 and 1.0 are equal, as on a Mac, and so they have the same hash.
    bool equals(const Value& other) const override {
        const auto& number = static_cast<const Number&>(other);
        if (isFloat(type) == isFloat(number.type)) {
            return isFloat(type)
                       ? real == number.real || (std::isnan(real) && std::isnan(number.real))
                       : integer == number.integer;
        }
        const Number& whole = isFloat(type) ? number : *this;
        const Number& fraction = isFloat(type) ? *this : number;
        // Converting the integer might round it to the fraction; converting back reveals that.
        return static_cast<double>(whole.integer) == fraction.real &&
               std::abs(fraction.real) < 9223372036854775808.0 &&
               static_cast<std::int64_t>(fraction.real) == whole.integer;
    }
    CFHashCode hash() const override {
        return std::hash<double>()(isFloat(type) ? real : static_cast<double>(integer));
    }

    CFNumberType type;
    std::int64_t integer;  // the value of an integer type
    double real;           // the value of a floating-point type
};

const Number& numberOf(CFNumberRef number, std::string_view function) {
    return static_cast<Number&>(valueOf(number, CFNumberGetTypeID(), function));
}

CFNumberRef createNumberOf(CFNumberType type, std::int64_t integer, double real) {
    return static_cast<CFNumberRef>(
        create(CFNumberGetTypeID(), std::make_unique<Number>(type, integer, real)));
}

template <typename T>
T load(const void* from) {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <typename T>
void store(void* to, T value) {
    if (to != nullptr) {
        std::memcpy(to, &value, sizeof value);
    }
}

/// Whether the number is unsigned and fits in 8 or 16 bits, which these types return without
/// complaint: 255 is -1 in 8 bits.
template <typename Integer>
bool isUnsignedInDisguise(std::int64_t number) {
    constexpr std::uint64_t greatest = std::numeric_limits<std::make_unsigned_t<Integer>>::max();
    return sizeof(Integer) <= 2 && number >= 0 && static_cast<std::uint64_t>(number) <= greatest;
}

template <typename Integer>
bool storeInteger(const Number& number, void* to) {
    using Limits = std::numeric_limits<Integer>;
    if (!isFloat(number.type)) {
        const auto value = static_cast<Integer>(number.integer);
        const bool fits = value == number.integer;
        if (!fits && isUnsignedInDisguise<Integer>(number.integer)) {
            store<Integer>(to, value);
            return true;
        }
        const Integer nearest = number.integer < 0 ? Limits::min() : Limits::max();
        store<Integer>(to, fits ? value : nearest);
        return fits;
    }
    // The limits as doubles: the lower is exact, the upper is one more than the greatest integer.
    constexpr double lower = static_cast<double>(Limits::min());
    const double whole = std::trunc(number.real);
    if (std::isnan(whole)) {
        store<Integer>(to, 0);
        return false;
    }
    if (whole < lower || whole >= -lower) {
        store<Integer>(to, whole < 0 ? Limits::min() : Limits::max());
        return false;
    }
    store<Integer>(to, static_cast<Integer>(whole));
    return whole == number.real;
}

template <typename Real>
bool storeReal(const Number& number, void* to) {
    if (isFloat(number.type)) {
        const auto value = static_cast<Real>(number.real);
        store(to, value);
        // Every NaN is kept as a double and equals nothing, not even itself when converted back.
        return std::is_same_v<Real, double> || static_cast<double>(value) == number.real;
    }
    const auto value = static_cast<Real>(number.integer);
    store(to, value);
    // 2^63 as a floating-point value cannot be converted back.
    return value < static_cast<Real>(9223372036854775808.0) &&
           static_cast<std::int64_t>(value) == number.integer;
}

}  // namespace

CFNumberRef createNumber(std::int64_t value) {
    return createNumberOf(kCFNumberSInt64Type, value, 0);
}

CFNumberRef createNumber(double value) {
    return createNumberOf(kCFNumberFloat64Type, 0, value);
}

}  // namespace simulator::cf

namespace cf = simulator::cf;

CFTypeID CFNumberGetTypeID() {
    static const CFTypeID type = cf::newType("CFNumber");
    return type;
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType theType, const void* valuePtr) {
    constexpr std::string_view function = "CFNumberCreate";
    if (simulator::beginCall(function).isNull()) {
        return nullptr;
    }
    const CFNumberType type = cf::canonical(theType, function);
    switch (type) {
        case kCFNumberSInt8Type:
            return cf::createNumberOf(type, cf::load<std::int8_t>(valuePtr), 0);
        case kCFNumberSInt16Type:
            return cf::createNumberOf(type, cf::load<std::int16_t>(valuePtr), 0);
        case kCFNumberSInt32Type:
            return cf::createNumberOf(type, cf::load<std::int32_t>(valuePtr), 0);
        case kCFNumberFloat32Type:
            return cf::createNumberOf(type, 0, static_cast<double>(cf::load<float>(valuePtr)));
        case kCFNumberFloat64Type:
            return cf::createNumberOf(type, 0, cf::load<double>(valuePtr));
        default:
            return cf::createNumberOf(type, cf::load<std::int64_t>(valuePtr), 0);
    }
}

CFNumberType CFNumberGetType(CFNumberRef number) {
    return cf::numberOf(number, "CFNumberGetType").type;
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
    return cf::isFloat(cf::numberOf(number, "CFNumberIsFloatType").type);
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr) {
    constexpr std::string_view function = "CFNumberGetValue";
    const cf::Number& value = cf::numberOf(number, function);
    switch (cf::canonical(theType, function)) {
        case kCFNumberSInt8Type:
            return cf::storeInteger<std::int8_t>(value, valuePtr);
        case kCFNumberSInt16Type:
            return cf::storeInteger<std::int16_t>(value, valuePtr);
        case kCFNumberSInt32Type:
            return cf::storeInteger<std::int32_t>(value, valuePtr);
        case kCFNumberFloat32Type:
            return cf::storeReal<float>(value, valuePtr);
        case kCFNumberFloat64Type:
            return cf::storeReal<double>(value, valuePtr);
        default:
            return cf::storeInteger<std::int64_t>(value, valuePtr);
    }
}
