// Core Foundation's preferences, in a domain of the test's own.
#include <cstdint>
#include <optional>

#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"
#include "tests/contract/the_mac.hpp"

namespace {

using tolvaran::CFRef;

class Preferences : public Contract {
  protected:
    Preferences() { set(nullptr); }
    ~Preferences() override {
        set(nullptr);
        synchronize();
    }

    static CFStringRef domain() { return CFSTR("com.morvelli.TolvaranHelper.ContractTests"); }
    static CFStringRef key() { return CFSTR("contract"); }

    static void set(CFPropertyListRef value) {
        CFPreferencesSetValue(key(), value, domain(), kCFPreferencesCurrentUser,
                              kCFPreferencesAnyHost);
    }
    static CFRef<CFPropertyListRef> copy(CFStringRef from = domain()) {
        return CFRef<CFPropertyListRef>::assume(
            CFPreferencesCopyValue(key(), from, kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    }
    static bool synchronize() {
        return CFPreferencesSynchronize(domain(), kCFPreferencesCurrentUser,
                                        kCFPreferencesAnyHost) != 0;
    }
};

// Documented: null where there is no value, and true from a synchronisation that worked.
TEST_F(Preferences, WhatWasNeverSetIsNull) {
    EXPECT_FALSE(copy());
    EXPECT_TRUE(synchronize());
    EXPECT_FALSE(copy());
}

// Documented: values are written to the store by a synchronisation; the process that set one sees
// it at once. Left open: when other processes see it.
TEST_F(Preferences, AValueIsReadBackAtOnceAndAfterASynchronisation) {
    const auto five = tolvaran::cf::makeNumber(5);
    set(five.get());
    EXPECT_EQ(tolvaran::cf::integer(copy().get()), 5);
    EXPECT_TRUE(synchronize());
    EXPECT_EQ(tolvaran::cf::integer(copy().get()), 5);
    const auto six = tolvaran::cf::makeNumber(6);
    set(six.get());
    EXPECT_EQ(tolvaran::cf::integer(copy().get()), 6);
}

// Documented: setting null removes the value.
TEST_F(Preferences, SettingNullRemoves) {
    set(kCFBooleanTrue);
    EXPECT_TRUE(synchronize());
    set(nullptr);
    EXPECT_FALSE(copy());
    EXPECT_TRUE(synchronize());
    EXPECT_FALSE(copy());
}

// Documented: every type of a property list may be stored. Left open: that the store keeps them
// apart; it is a property list itself.
TEST_F(Preferences, AValueKeepsItsType) {
    set(kCFBooleanTrue);
    EXPECT_TRUE(synchronize());
    EXPECT_EQ(tolvaran::cf::boolean(copy().get()), true);
    const auto one = tolvaran::cf::makeNumber(1);
    set(one.get());
    EXPECT_TRUE(synchronize());
    EXPECT_EQ(tolvaran::cf::boolean(copy().get()), std::nullopt);
    EXPECT_EQ(tolvaran::cf::integer(copy().get()), 1);
    set(CFSTR("text"));
    EXPECT_TRUE(synchronize());
    EXPECT_EQ(tolvaran::cf::string(copy().get()), "text");
}

// Documented: Copy functions return a reference of the caller's own.
TEST_F(Preferences, ACopyOutlivesItsRemoval) {
    const auto number = tolvaran::cf::makeNumber(std::int64_t{1} << 40);
    set(number.get());
    const auto held = copy();
    set(nullptr);
    EXPECT_TRUE(synchronize());
    EXPECT_EQ(tolvaran::cf::integer(held.get()), std::int64_t{1} << 40);
}

// Documented: the value is looked for in exactly the domain, user and host that are given.
TEST_F(Preferences, DomainsAreApart) {
    set(kCFBooleanTrue);
    EXPECT_FALSE(copy(CFSTR("com.morvelli.TolvaranHelper.OtherContractTests")));
    EXPECT_FALSE(copy(kCFPreferencesAnyApplication));
}

// Documented: this synchronises everything that the application would see.
TEST_F(Preferences, AnApplicationsPreferencesSynchronise) {
    set(kCFBooleanTrue);
    EXPECT_TRUE(CFPreferencesAppSynchronize(domain()));
    EXPECT_EQ(tolvaran::cf::boolean(copy().get()), true);
}

}  // namespace
