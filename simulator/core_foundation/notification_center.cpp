// CFNotificationCenter: the distributed center, to which the system under test only posts. Posts
// are recorded both as notifications and as calls.

#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "simulator/faults/faults.hpp"
#include "simulator/loop/clock.hpp"
#include "simulator/machine/call_record.hpp"
#include "simulator/on_reset.hpp"
#include "simulator/simulator.hpp"

namespace cf = simulator::cf;

namespace {

struct Center final : cf::Value {};

CFTypeID centerType() {
    static const CFTypeID type = cf::newType("CFNotificationCenter");
    return type;
}

nlohmann::json& posted() {
    static nlohmann::json list = nlohmann::json::array();
    return list;
}

const simulator::OnReset forgetNotifications([] { posted() = nlohmann::json::array(); });

}  // namespace

nlohmann::json simulator::notifications() {
    return posted();
}

CFNotificationCenterRef CFNotificationCenterGetDistributedCenter() {
    static const CFTypeRef center = cf::createConstant(centerType(), std::make_unique<Center>());
    return static_cast<CFNotificationCenterRef>(const_cast<void*>(center));
}

void CFNotificationCenterPostNotification(CFNotificationCenterRef center, CFNotificationName name,
                                          const void* object, CFDictionaryRef userInfo,
                                          Boolean deliverImmediately) {
    constexpr std::string_view function = "CFNotificationCenterPostNotification";
    cf::valueOf(center, centerType(), function);
    const nlohmann::json info = cf::toJson(userInfo);
    if (simulator::beginCall(function).performs) {
        posted().push_back(
            {{"at", simulator::clock::seconds()}, {"name", cf::text(name)}, {"userInfo", info}});
    }
    // The distributed center's object is always a string.
    simulator::recordCall(
        function, {cf::text(name), cf::toJson(object), info, deliverImmediately != 0}, nullptr);
}
