// CFBoolean: two constants.

#include "simulator/core_foundation/object.hpp"

namespace simulator::cf {
namespace {

struct Truth final : Value {
    explicit Truth(bool truth) : value(truth) {}
    CFHashCode hash() const override { return value ? 1 : 0; }

    bool value;
};

CFBooleanRef constant(bool value) {
    return static_cast<CFBooleanRef>(
        createConstant(CFBooleanGetTypeID(), std::make_unique<Truth>(value)));
}

}  // namespace
}  // namespace simulator::cf

namespace cf = simulator::cf;

const CFBooleanRef kCFBooleanTrue = cf::constant(true);
const CFBooleanRef kCFBooleanFalse = cf::constant(false);

CFTypeID CFBooleanGetTypeID() {
    static const CFTypeID type = cf::newType("CFBoolean");
    return type;
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
    return static_cast<cf::Truth&>(cf::valueOf(boolean, CFBooleanGetTypeID(), "CFBooleanGetValue"))
        .value;
}
