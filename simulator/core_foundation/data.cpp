// CFData: bytes.

#include <string>

#include "simulator/core_foundation/containers.hpp"
#include "simulator/core_foundation/object.hpp"

namespace simulator::cf {
namespace {

struct Data final : Value {
    explicit Data(std::string_view content) : bytes(content) {}
    bool equals(const Value& other) const override {
        return bytes == static_cast<const Data&>(other).bytes;
    }
    CFHashCode hash() const override { return std::hash<std::string>()(bytes); }

    std::string bytes;
};

const std::string& bytesOf(CFDataRef data, std::string_view function) {
    return static_cast<Data&>(valueOf(data, CFDataGetTypeID(), function)).bytes;
}

}  // namespace

CFDataRef createData(std::string_view bytes) {
    return static_cast<CFDataRef>(create(CFDataGetTypeID(), std::make_unique<Data>(bytes)));
}

}  // namespace simulator::cf

namespace cf = simulator::cf;

CFTypeID CFDataGetTypeID() {
    static const CFTypeID type = cf::newType("CFData");
    return type;
}

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length) {
    return cf::createData({reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length)});
}

CFIndex CFDataGetLength(CFDataRef theData) {
    return static_cast<CFIndex>(cf::bytesOf(theData, "CFDataGetLength").size());
}

const UInt8* CFDataGetBytePtr(CFDataRef theData) {
    return reinterpret_cast<const UInt8*>(cf::bytesOf(theData, "CFDataGetBytePtr").data());
}
