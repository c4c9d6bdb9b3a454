#include "restore/support/distributed_notifications.hpp"

#include "restore/support/cf_values.hpp"

namespace tolvaran {

void postDistributedNotification(const std::string& name, CFDictionaryRef userInfo) {
    const auto notification = cf::makeString(name);
    constexpr Boolean deliverImmediately = 1;
    CFNotificationCenterPostNotification(CFNotificationCenterGetDistributedCenter(),
                                         notification.get(), nullptr, userInfo, deliverImmediately);
}

}  // namespace tolvaran
