// Core Foundation's preferences, in a domain of the test's own.
#include <cstdint>
#include <iterator>
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

// Documented: null if there is no value, and true from a synchronisation that worked.
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
// distinct; it is a property list itself.
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

// Documented: Copy functions return a reference that the caller owns.
TEST_F(Preferences, ACopyOutlivesItsRemoval) {
    const auto number = tolvaran::cf::makeNumber(std::int64_t{1} << 40);
    set(number.get());
    const auto held = copy();
    set(nullptr);
    EXPECT_TRUE(synchronize());
    EXPECT_EQ(tolvaran::cf::integer(held.get()), std::int64_t{1} << 40);
}

// Documented: the value is looked up in exactly the domain, user and host that are given.
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

/// A dictionary in an array in a dictionary, with values of every type in it.
CFRef<CFDictionaryRef> nestedList() {
    const auto number = tolvaran::cf::makeNumber(-7);
    const double half = 0.5;
    const auto real =
        CFRef<CFNumberRef>::assume(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &half));
    const UInt8 bytes[] = {0, 255};
    const auto data = CFRef<CFDataRef>::assume(CFDataCreate(kCFAllocatorDefault, bytes, 2));
    const auto date = CFRef<CFDateRef>::assume(CFDateCreate(kCFAllocatorDefault, 1000));
    const auto empty = CFRef<CFArrayRef>::assume(
        CFArrayCreate(kCFAllocatorDefault, nullptr, 0, &kCFTypeArrayCallBacks));
    const auto inner = tolvaran::cf::makeDictionary(CFSTR("gr\xC3\xBC\xC3\x9F"), number.get());
    const void* elements[] = {inner.get(), real.get(), data.get(),     date.get(),
                              empty.get(), CFSTR(""),  kCFBooleanTrue, number.get()};
    const auto array = CFRef<CFArrayRef>::assume(
        CFArrayCreate(kCFAllocatorDefault, elements, std::size(elements), &kCFTypeArrayCallBacks));
    return tolvaran::cf::makeDictionary(CFSTR("list"), array.get());
}

// Documented: a property list may hold property lists. The spaces of displays and the Dock's
// settings are read from such lists.
TEST_F(Preferences, APropertyListIsReadBackWithEverythingInIt) {
    const auto list = nestedList();
    set(list.get());
    EXPECT_TRUE(CFEqual(copy().get(), list.get()));
    EXPECT_TRUE(synchronize());
    const auto read = copy();
    EXPECT_TRUE(CFEqual(read.get(), list.get()));
    const CFDictionaryRef outer = tolvaran::cf::dictionary(read.get());
    ASSERT_NE(outer, nullptr);
    const CFArrayRef array = tolvaran::cf::array(tolvaran::cf::value(outer, CFSTR("list")));
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(CFArrayGetCount(array), 8);
    EXPECT_EQ(tolvaran::cf::boolean(CFArrayGetValueAtIndex(array, 6)), true);
    EXPECT_EQ(tolvaran::cf::boolean(CFArrayGetValueAtIndex(array, 7)), std::nullopt);
}

}  // namespace
