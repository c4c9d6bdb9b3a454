#include "restore/support/distributed_notifications.hpp"

#include "restore/support/cf_ref.hpp"
#include "simulator/core_foundation/json.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

class DistributedNotifications : public ProcessTest {};

TEST_F(DistributedNotifications, ArePostedWithoutAnObjectAndDeliveredImmediately) {
    postDistributedNotification("com.example.changed");
    EXPECT_EQ(takeCalls(), Lines{callLine("CFNotificationCenterPostNotification",
                                          {"com.example.changed", nullptr, nullptr, true})});
}

TEST_F(DistributedNotifications, CarryUserInfo) {
    const nlohmann::json userInfo = {{"key", 1}};
    const auto dictionary = CFRef<CFDictionaryRef>::assume(
        static_cast<CFDictionaryRef>(simulator::cf::createFromJson(userInfo)));
    postDistributedNotification("com.example.changed", dictionary.get());
    EXPECT_EQ(takeCalls(), Lines{callLine("CFNotificationCenterPostNotification",
                                          {"com.example.changed", nullptr, userInfo, true})});
}

}  // namespace
}  // namespace tolvaran::tests
