#include <CoreFoundation/CoreFoundation.h>

#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "tests/simulator/simulator_test.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

class NotificationCenter : public SimulatorTest {};

TEST_F(NotificationCenter, ListsWhatIsPosted) {
    const auto center = CFNotificationCenterGetDistributedCenter();
    const cf::Owned<CFTypeRef> info(cf::createFromJson({{"key", 1}}));
    advance(1.5);
    CFNotificationCenterPostNotification(center, CFSTR("first"), nullptr,
                                         static_cast<CFDictionaryRef>(info.get()), true);
    CFNotificationCenterPostNotification(center, CFSTR("second"), CFSTR("object"), nullptr, false);
    EXPECT_EQ(notifications(), json::parse(R"([{"at": 1.5, "name": "first", "userInfo": {"key": 1}},
                              {"at": 1.5, "name": "second", "userInfo": null}])"));
    EXPECT_EQ(calls()[1], json::parse(R"({"at": 1.5, "call": "CFNotificationCenterPostNotification",
                                          "args": ["second", "object", null, false],
                                          "result": null})"));
    reset();
    EXPECT_EQ(notifications(), json::array());
}

TEST_F(NotificationCenter, AFaultKeepsItFromPosting) {
    addFault({{"call", "CFNotificationCenterPostNotification"}, {"effect", false}});
    CFNotificationCenterPostNotification(CFNotificationCenterGetDistributedCenter(), CFSTR("n"),
                                         nullptr, nullptr, true);
    EXPECT_EQ(notifications(), json::array());
    EXPECT_EQ(calls().size(), 1U);
}

}  // namespace
}  // namespace tolvaran::tests
