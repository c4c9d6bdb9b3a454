// The distributed notification center, as its receivers see it.
#include <vector>

#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"
#include "tests/contract/the_mac.hpp"

namespace {

using the_mac::Notification;
using Received = std::vector<Notification>;

class Notifications : public Contract {};

constexpr const char* name = "com.morvelli.TolvaranHelper.ContractTests.notification";
constexpr const char* other = "com.morvelli.TolvaranHelper.ContractTests.other";

void post(const char* what, CFDictionaryRef userInfo) {
    const auto text = tolvaran::cf::makeString(what);
    CFNotificationCenterPostNotification(CFNotificationCenterGetDistributedCenter(), text.get(),
                                         nullptr, userInfo, true);
}

// Documented: a process has one distributed center, and every call returns it.
TEST_F(Notifications, TheDistributedCenterIsAlwaysTheSame) {
    EXPECT_NE(CFNotificationCenterGetDistributedCenter(), nullptr);
    EXPECT_EQ(CFNotificationCenterGetDistributedCenter(),
              CFNotificationCenterGetDistributedCenter());
}

// Documented: a notification reaches the observers of its name in every process of the session, at
// some later time. Left open: the order among several; it has always been that of posting.
TEST_F(Notifications, WhatIsPostedArrivesInOrderUnderItsName) {
    the_mac::receive(name);
    the_mac::receive(other);
    post(name, nullptr);
    post(other, nullptr);
    post(name, nullptr);
    const Received expected = {{name, {}}, {other, {}}, {name, {}}};
    EXPECT_TRUE(the_mac::waitUntil([&] { return the_mac::received().size() >= 3; }));
    EXPECT_EQ(the_mac::received(), expected);
}

// Documented: an observer of a name receives that name only.
TEST_F(Notifications, AnObserverReceivesOnlyItsName) {
    the_mac::receive(other);
    post(name, nullptr);
    post(other, nullptr);
    EXPECT_TRUE(the_mac::waitUntil([] { return !the_mac::received().empty(); }));
    EXPECT_EQ(the_mac::received(), Received({{other, {}}}));
}

// Documented: the user info of a distributed notification holds property list values. It is copied
// for the receivers, so it may be released as soon as it is posted.
TEST_F(Notifications, TheUserInfoArrivesEvenIfReleasedAtOnce) {
    the_mac::receive(name);
    {
        const auto value = tolvaran::cf::makeString("its value");
        const auto userInfo = tolvaran::cf::makeDictionary(CFSTR("marker"), value.get());
        post(name, userInfo.get());
    }
    EXPECT_TRUE(the_mac::waitUntil([] { return !the_mac::received().empty(); }));
    EXPECT_EQ(the_mac::received(), Received({{name, "its value"}}));
}

}  // namespace
