// CFBundle and CFURL, enough for a process to ask where its bundles are. Bundles and the list of
// them belong to the system; a returned one stays valid when the paths change.

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "simulator/core_foundation/containers.hpp"
#include "simulator/core_foundation/object.hpp"
#include "simulator/faults/faults.hpp"
#include "simulator/on_reset.hpp"
#include "simulator/simulator.hpp"

namespace simulator::cf {
namespace {

struct Place : Value {
    explicit Place(std::string where) : path(std::move(where)) {}
    bool equals(const Value& other) const override {
        return path == static_cast<const Place&>(other).path;
    }
    CFHashCode hash() const override { return std::hash<std::string>()(path); }

    std::string path;
};

const std::string& pathOf(CFTypeRef object, CFTypeID type, std::string_view function) {
    return static_cast<Place&>(valueOf(object, type, function)).path;
}

std::vector<std::string>& paths() {
    static std::vector<std::string> list;
    return list;
}

const OnReset setUsualPlace([] {
    setBundlePaths({"/Applications/Tolvaran.app/Contents/Helpers"});
});

CFBundleRef bundleAt(const std::string& path) {
    static auto& known = *new std::map<std::string, CFTypeRef>;
    CFTypeRef& bundle = known[path];
    if (bundle == nullptr) {
        bundle = createConstant(CFBundleGetTypeID(), std::make_unique<Place>(path));
    }
    return static_cast<CFBundleRef>(const_cast<void*>(bundle));
}

CFArrayRef bundlesAt(const std::vector<std::string>& paths) {
    static auto& known = *new std::map<std::vector<std::string>, CFArrayRef>;
    CFArrayRef& array = known[paths];
    if (array == nullptr) {
        std::vector<const void*> bundles;
        bundles.reserve(paths.size());
        for (const std::string& path : paths) {
            bundles.push_back(bundleAt(path));
        }
        array = createArray(bundles);
        makeConstant(array);
    }
    return array;
}

}  // namespace
}  // namespace simulator::cf

namespace cf = simulator::cf;

void simulator::setBundlePaths(std::vector<std::string> paths) {
    cf::paths() = std::move(paths);
}

CFTypeID CFBundleGetTypeID() {
    static const CFTypeID type = cf::newType("CFBundle");
    return type;
}

CFBundleRef CFBundleGetMainBundle() {
    if (simulator::beginCall("CFBundleGetMainBundle").isNull() || cf::paths().empty()) {
        return nullptr;
    }
    return cf::bundleAt(cf::paths().front());
}

CFArrayRef CFBundleGetAllBundles() {
    const simulator::CallFault fault = simulator::beginCall("CFBundleGetAllBundles");
    if (fault.forcedResult) {
        return fault.forcedResult->is_array() ? cf::bundlesAt({}) : nullptr;
    }
    return fault.performs ? cf::bundlesAt(cf::paths()) : nullptr;
}

CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle) {
    constexpr std::string_view function = "CFBundleCopyBundleURL";
    const std::string& path = cf::pathOf(bundle, CFBundleGetTypeID(), function);
    if (simulator::beginCall(function).isNull()) {
        return nullptr;
    }
    return static_cast<CFURLRef>(cf::create(CFURLGetTypeID(), std::make_unique<cf::Place>(path)));
}

CFTypeID CFURLGetTypeID() {
    static const CFTypeID type = cf::newType("CFURL");
    return type;
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean, UInt8* buffer, CFIndex maxBufLen) {
    constexpr std::string_view function = "CFURLGetFileSystemRepresentation";
    const std::string& path = cf::pathOf(url, CFURLGetTypeID(), function);
    const simulator::CallFault fault = simulator::beginCall(function);
    const bool succeeds = fault.performs && static_cast<CFIndex>(path.size()) < maxBufLen;
    if (succeeds) {
        std::memcpy(buffer, path.c_str(), path.size() + 1);
    }
    return fault.resultOr(succeeds);
}
