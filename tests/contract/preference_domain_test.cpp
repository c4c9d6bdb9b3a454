// Core Foundation's preferences as the library calls them: restore/support/preferences.
#include "restore/support/preferences.hpp"

#include <cstdint>
#include <optional>
#include <string>

#include "restore/support/cf_values.hpp"
#include "tests/contract/the_mac.hpp"

namespace {

using namespace tolvaran;

const std::string contractKey = "TolvaranHelperContractTests";

class PreferenceDomains : public Contract {
  protected:
    PreferenceDomains() { domain().setInteger(contractKey, std::nullopt); }
    ~PreferenceDomains() override {
        domain().setInteger(contractKey, std::nullopt);
        domain().synchronize();
    }

    static PreferenceDomain domain() {
        return PreferenceDomain("com.morvelli.TolvaranHelper.ContractTests");
    }

    /// Stores a value of any type, which the product itself never does.
    static void store(CFPropertyListRef value) {
        CFPreferencesSetValue(cf::makeString(contractKey).get(), value,
                              CFSTR("com.morvelli.TolvaranHelper.ContractTests"),
                              kCFPreferencesCurrentUser, kCFPreferencesAnyHost);
    }
};

// Documented: a missing value is null, and setting null removes one.
TEST_F(PreferenceDomains, AKeyWithoutAValueReadsAsNone) {
    EXPECT_FALSE(domain().value(contractKey));
    EXPECT_EQ(domain().integer(contractKey), std::nullopt);
    domain().setInteger(contractKey, 4);
    domain().setInteger(contractKey, std::nullopt);
    EXPECT_FALSE(domain().value(contractKey));
    domain().setBoolean(contractKey, true);
    domain().setBoolean(contractKey, std::nullopt);
    EXPECT_FALSE(domain().value(contractKey));
}

// Documented: the process that set a value sees it at once, before it is synchronised.
TEST_F(PreferenceDomains, AnIntegerIsReadBackBeforeAndAfterASynchronisation) {
    for (const std::int64_t value : {0LL, 1LL, -1LL, 5LL, 1048576LL, 1LL << 40}) {
        domain().setInteger(contractKey, value);
        EXPECT_EQ(domain().integer(contractKey), value);
        EXPECT_TRUE(domain().synchronize());
        EXPECT_EQ(domain().integer(contractKey), value);
        EXPECT_EQ(cf::boolean(domain().value(contractKey).get()), std::nullopt);
    }
}

// Documented: a property list has booleans of its own. The menu bar's settings are stored as such.
TEST_F(PreferenceDomains, ABooleanStaysOneAndReadsAsZeroOrOne) {
    for (const bool value : {true, false}) {
        domain().setBoolean(contractKey, value);
        EXPECT_TRUE(domain().synchronize());
        EXPECT_EQ(cf::boolean(domain().value(contractKey).get()), value);
        EXPECT_EQ(domain().integer(contractKey), value ? 1 : 0);
    }
}

// Left open: what another program has stored there. Only numbers and booleans are read.
TEST_F(PreferenceDomains, AValueOfAnotherTypeIsNotAnInteger) {
    store(CFSTR("5"));
    EXPECT_EQ(domain().integer(contractKey), std::nullopt);
    store(cf::makeDictionary(CFSTR("key"), kCFBooleanTrue).get());
    EXPECT_EQ(domain().integer(contractKey), std::nullopt);
    const double real = -2.75;
    store(
        CFRef<CFNumberRef>::assume(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &real))
            .get());
    EXPECT_EQ(domain().integer(contractKey), -2);
}

// Documented: null stands for a missing value; the caller owns the value that it gets.
TEST_F(PreferenceDomains, AValueOutlivesItsRemoval) {
    domain().setInteger(contractKey, 7);
    const auto held = domain().value(contractKey);
    domain().setInteger(contractKey, std::nullopt);
    EXPECT_TRUE(domain().synchronize());
    EXPECT_EQ(cf::integer(held.get()), 7);
}

// Documented: this synchronises everything that the application would see, and loses nothing.
TEST_F(PreferenceDomains, SynchronisingTheApplicationKeepsTheDomainsValues) {
    domain().setInteger(contractKey, 3);
    EXPECT_TRUE(domain().synchronizeApplication());
    EXPECT_EQ(domain().integer(contractKey), 3);
    EXPECT_TRUE(PreferenceDomain::anyApplication().synchronize());
    EXPECT_EQ(domain().integer(contractKey), 3);
}

// Documented: a value is looked up in exactly the domain that is named. Left open for a domain that
// every application falls back to: that this holds there too.
TEST_F(PreferenceDomains, TheDomainOfEveryApplicationIsApart) {
    domain().setInteger(contractKey, 3);
    EXPECT_EQ(PreferenceDomain::anyApplication().integer(contractKey), std::nullopt);
    if (!the_mac::mayBeDisturbed()) {
        GTEST_SKIP()
            << "adds a key to the preferences of every application: needs leave to disturb";
    }
    const PreferenceDomain global = PreferenceDomain::anyApplication();
    global.setBoolean(contractKey, true);
    EXPECT_TRUE(global.synchronize());
    EXPECT_EQ(cf::boolean(global.value(contractKey).get()), true);
    EXPECT_EQ(domain().integer(contractKey), 3);
    domain().setInteger(contractKey, std::nullopt);
    EXPECT_EQ(domain().integer(contractKey), std::nullopt);
    global.setBoolean(contractKey, std::nullopt);
    EXPECT_TRUE(global.synchronize());
    EXPECT_EQ(global.integer(contractKey), std::nullopt);
}

}  // namespace
