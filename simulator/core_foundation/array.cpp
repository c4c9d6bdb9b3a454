// CFArray, immutable.

#include <algorithm>
#include <span>
#include <vector>

#include "simulator/core_foundation/containers.hpp"
#include "simulator/core_foundation/object.hpp"
#include "simulator/faults/faults.hpp"

namespace simulator::cf {
namespace {

struct Array final : Value {
    explicit Array(const CFArrayCallBacks& use) : callBacks(use) {}
    ~Array() override {
        for (const void* element : elements) {
            if (callBacks.release != nullptr) {
                callBacks.release(kCFAllocatorDefault, element);
            }
        }
    }
    bool equals(const Value& other) const override {
        const auto& list = static_cast<const Array&>(other).elements;
        return std::equal(elements.begin(), elements.end(), list.begin(), list.end(),
                          [this](const void* a, const void* b) {
                              return a == b ||
                                     (callBacks.equal != nullptr && callBacks.equal(a, b) != 0);
                          });
    }
    CFHashCode hash() const override { return elements.size(); }

    CFArrayCallBacks callBacks;
    std::vector<const void*> elements;
};

const std::vector<const void*>& elementsOf(CFArrayRef array, std::string_view function) {
    return static_cast<Array&>(valueOf(array, CFArrayGetTypeID(), function)).elements;
}

CFArrayRef createArrayWith(std::span<const void* const> values, const CFArrayCallBacks& callBacks) {
    auto array = std::make_unique<Array>(callBacks);
    for (const void* const value : values) {
        array->elements.push_back(
            callBacks.retain != nullptr ? callBacks.retain(kCFAllocatorDefault, value) : value);
    }
    return static_cast<CFArrayRef>(create(CFArrayGetTypeID(), std::move(array)));
}

}  // namespace

CFArrayRef createArray(std::span<const CFTypeRef> objects) {
    return createArrayWith(objects, kCFTypeArrayCallBacks);
}

}  // namespace simulator::cf

namespace cf = simulator::cf;

const CFArrayCallBacks kCFTypeArrayCallBacks{
    0, [](CFAllocatorRef, const void* value) { return CFRetain(value); },
    [](CFAllocatorRef, const void* value) { CFRelease(value); }, nullptr, CFEqual};

CFTypeID CFArrayGetTypeID() {
    static const CFTypeID type = cf::newType("CFArray");
    return type;
}

CFArrayRef CFArrayCreate(CFAllocatorRef, const void** values, CFIndex numValues,
                         const CFArrayCallBacks* callBacks) {
    if (simulator::beginCall("CFArrayCreate").isNull()) {
        return nullptr;
    }
    return cf::createArrayWith({values, static_cast<std::size_t>(numValues)},
                               callBacks != nullptr ? *callBacks : CFArrayCallBacks{});
}

CFIndex CFArrayGetCount(CFArrayRef theArray) {
    return static_cast<CFIndex>(cf::elementsOf(theArray, "CFArrayGetCount").size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx) {
    constexpr std::string_view function = "CFArrayGetValueAtIndex";
    const auto& elements = cf::elementsOf(theArray, function);
    if (idx < 0 || static_cast<std::size_t>(idx) >= elements.size()) {
        cf::misuse(function, "there is no element " + std::to_string(idx) + " among " +
                                 std::to_string(elements.size()));
    }
    return elements[static_cast<std::size_t>(idx)];
}
