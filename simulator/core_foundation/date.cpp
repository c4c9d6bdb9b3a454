// CFDate, and the current time as Core Foundation counts it: seconds since the start of 2001.

#include "simulator/core_foundation/object.hpp"
#include "simulator/faults/faults.hpp"
#include "simulator/loop/clock.hpp"

namespace simulator::cf {
namespace {

struct Date final : Value {
    explicit Date(CFAbsoluteTime time) : at(time) {}
    bool equals(const Value& other) const override {
        return at == static_cast<const Date&>(other).at;
    }
    CFHashCode hash() const override { return std::hash<double>()(at); }

    CFAbsoluteTime at;
};

}  // namespace
}  // namespace simulator::cf

namespace cf = simulator::cf;

constexpr CFTimeInterval kCFAbsoluteTimeIntervalSince1970 = 978307200.0;

CFAbsoluteTime CFAbsoluteTimeGetCurrent() {
    constexpr auto reference = static_cast<std::int64_t>(kCFAbsoluteTimeIntervalSince1970);
    // Subtracted as an integer, since a double cannot hold today's date to the nanosecond.
    const std::int64_t sinceReference =
        simulator::clock::date() - reference * simulator::clock::second;
    const simulator::CallFault fault = simulator::beginCall("CFAbsoluteTimeGetCurrent");
    return fault.resultOr(
        fault.performs ? static_cast<double>(sinceReference) / simulator::clock::second : 0.0);
}

CFTypeID CFDateGetTypeID() {
    static const CFTypeID type = cf::newType("CFDate");
    return type;
}

CFDateRef CFDateCreate(CFAllocatorRef, CFAbsoluteTime at) {
    return static_cast<CFDateRef>(cf::create(CFDateGetTypeID(), std::make_unique<cf::Date>(at)));
}

CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef theDate) {
    return static_cast<cf::Date&>(cf::valueOf(theDate, CFDateGetTypeID(), "CFDateGetAbsoluteTime"))
        .at;
}
