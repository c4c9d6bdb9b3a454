// Core Foundation's preferences as the library calls them: restore/support/preferences, in a domain
// of the test's own.
#include "restore/support/preferences.hpp"

#include <cstdint>
#include <iterator>
#include <optional>
#include <string>

#include "restore/support/cf_values.hpp"
#include "tests/contract/the_mac.hpp"

namespace {

using namespace tolvaran;

const std::string key = "TolvaranHelperContractTests";

class Preferences : public Contract {
  protected:
    Preferences() { domain().setInteger(key, std::nullopt); }
    ~Preferences() override {
        domain().setInteger(key, std::nullopt);
        domain().synchronize();
    }

    static PreferenceDomain domain() {
        return PreferenceDomain("com.morvelli.TolvaranHelper.ContractTests");
    }

    /// Stores a value of any type, which the product itself never does.
    static void store(CFPropertyListRef value) {
        CFPreferencesSetValue(cf::makeString(key).get(), value,
                              CFSTR("com.morvelli.TolvaranHelper.ContractTests"),
                              kCFPreferencesCurrentUser, kCFPreferencesAnyHost);
    }
};

// Documented: a missing value is null, setting null removes one, and a synchronisation that worked
// is true.
TEST_F(Preferences, AKeyWithoutAValueReadsAsNone) {
    const auto expectNone = [] {
        EXPECT_FALSE(domain().value(key));
        EXPECT_EQ(domain().integer(key), std::nullopt);
        EXPECT_TRUE(domain().synchronize());
        EXPECT_FALSE(domain().value(key));
    };
    expectNone();
    domain().setInteger(key, 4);
    domain().setInteger(key, std::nullopt);
    expectNone();
    domain().setBoolean(key, true);
    EXPECT_TRUE(domain().synchronize());
    domain().setBoolean(key, std::nullopt);
    expectNone();
}

// Documented: the process that set a value sees it at once, before it is synchronised. Left open:
// when other processes see it.
TEST_F(Preferences, AnIntegerIsReadBackBeforeAndAfterASynchronisation) {
    for (const std::int64_t value : {0LL, 1LL, -1LL, 5LL, 1048576LL, 1LL << 40}) {
        domain().setInteger(key, value);
        EXPECT_EQ(domain().integer(key), value);
        EXPECT_TRUE(domain().synchronize());
        EXPECT_EQ(domain().integer(key), value);
        EXPECT_EQ(cf::boolean(domain().value(key).get()), std::nullopt);
    }
}

// Documented: a property list has booleans of its own. The menu bar's settings are stored as such.
TEST_F(Preferences, ABooleanStaysOneAndReadsAsZeroOrOne) {
    for (const bool value : {true, false}) {
        domain().setBoolean(key, value);
        EXPECT_TRUE(domain().synchronize());
        EXPECT_EQ(cf::boolean(domain().value(key).get()), value);
        EXPECT_EQ(domain().integer(key), value ? 1 : 0);
    }
    domain().setInteger(key, 0);
    EXPECT_TRUE(domain().synchronize());
    EXPECT_EQ(cf::boolean(domain().value(key).get()), std::nullopt);
}

// Left open: what another program has stored there. Only numbers and booleans are read. Documented:
// every type of a property list may be stored.
TEST_F(Preferences, AValueOfAnotherTypeIsNotAnInteger) {
    store(CFSTR("5"));
    EXPECT_EQ(domain().integer(key), std::nullopt);
    EXPECT_TRUE(domain().synchronize());
    EXPECT_EQ(cf::string(domain().value(key).get()), "5");
    store(cf::makeDictionary(CFSTR("key"), kCFBooleanTrue).get());
    EXPECT_EQ(domain().integer(key), std::nullopt);
    const double real = -2.75;
    store(
        CFRef<CFNumberRef>::assume(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &real))
            .get());
    EXPECT_EQ(domain().integer(key), -2);
}

// Documented: the caller owns the value that is returned.
TEST_F(Preferences, AValueOutlivesItsRemoval) {
    for (const std::int64_t value : {std::int64_t{7}, std::int64_t{1} << 40}) {
        domain().setInteger(key, value);
        const auto held = domain().value(key);
        domain().setInteger(key, std::nullopt);
        EXPECT_TRUE(domain().synchronize());
        EXPECT_EQ(cf::integer(held.get()), value);
    }
}

// Documented: this synchronises everything that the application would see, and loses nothing.
TEST_F(Preferences, SynchronisingTheApplicationKeepsTheDomainsValues) {
    domain().setInteger(key, 3);
    EXPECT_TRUE(domain().synchronizeApplication());
    EXPECT_EQ(domain().integer(key), 3);
    EXPECT_TRUE(PreferenceDomain::anyApplication().synchronize());
    EXPECT_EQ(domain().integer(key), 3);
    domain().setBoolean(key, true);
    EXPECT_TRUE(domain().synchronizeApplication());
    EXPECT_EQ(cf::boolean(domain().value(key).get()), true);
}

// Documented: a value is looked up in exactly the domain that is named.
TEST_F(Preferences, DomainsAreApart) {
    const PreferenceDomain global = PreferenceDomain::anyApplication();
    domain().setInteger(key, 3);
    EXPECT_FALSE(PreferenceDomain("com.morvelli.TolvaranHelper.OtherContractTests").value(key));
    EXPECT_FALSE(global.value(key));
    EXPECT_EQ(global.integer(key), std::nullopt);
}

// Left open: whether the domain that every application falls back to is apart, too.
TEST_F(Preferences, TheDomainOfEveryApplicationIsApart) {
    if (!the_mac::mayBeDisturbed()) {
        GTEST_SKIP()
            << "adds a key to the preferences of every application: needs permission to disturb";
    }
    const PreferenceDomain global = PreferenceDomain::anyApplication();
    domain().setInteger(key, 3);
    global.setBoolean(key, true);
    EXPECT_TRUE(global.synchronize());
    EXPECT_EQ(cf::boolean(global.value(key).get()), true);
    EXPECT_EQ(domain().integer(key), 3);
    domain().setInteger(key, std::nullopt);
    EXPECT_EQ(domain().integer(key), std::nullopt);
    global.setBoolean(key, std::nullopt);
    EXPECT_TRUE(global.synchronize());
    EXPECT_EQ(global.integer(key), std::nullopt);
}

/// A dictionary in an array in a dictionary, with values of every type in it.
CFRef<CFDictionaryRef> nestedList() {
    const auto number = cf::makeNumber(-7);
    const double half = 0.5;
    const auto real =
        CFRef<CFNumberRef>::assume(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &half));
    const UInt8 bytes[] = {0, 255};
    const auto data = CFRef<CFDataRef>::assume(CFDataCreate(kCFAllocatorDefault, bytes, 2));
    const auto date = CFRef<CFDateRef>::assume(CFDateCreate(kCFAllocatorDefault, 1000));
    const auto empty = CFRef<CFArrayRef>::assume(
        CFArrayCreate(kCFAllocatorDefault, nullptr, 0, &kCFTypeArrayCallBacks));
    const auto inner = cf::makeDictionary(CFSTR("gr\xC3\xBC\xC3\x9F"), number.get());
    const void* elements[] = {inner.get(), real.get(), data.get(),     date.get(),
                              empty.get(), CFSTR(""),  kCFBooleanTrue, number.get()};
    const auto array = CFRef<CFArrayRef>::assume(
        CFArrayCreate(kCFAllocatorDefault, elements, std::size(elements), &kCFTypeArrayCallBacks));
    return cf::makeDictionary(CFSTR("list"), array.get());
}

// Documented: a property list may hold property lists. The spaces of displays and the Dock's
// settings are read from such lists.
TEST_F(Preferences, APropertyListIsReadBackWithEverythingInIt) {
    const auto list = nestedList();
    store(list.get());
    EXPECT_TRUE(CFEqual(domain().value(key).get(), list.get()));
    EXPECT_TRUE(domain().synchronize());
    const auto read = domain().value(key);
    EXPECT_TRUE(CFEqual(read.get(), list.get()));
    const CFDictionaryRef outer = cf::dictionary(read.get());
    ASSERT_NE(outer, nullptr);
    const CFArrayRef array = cf::array(cf::value(outer, CFSTR("list")));
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(CFArrayGetCount(array), 8);
    EXPECT_EQ(cf::boolean(CFArrayGetValueAtIndex(array, 6)), true);
    EXPECT_EQ(cf::boolean(CFArrayGetValueAtIndex(array, 7)), std::nullopt);
}

}  // namespace
