#include "restore/support/preferences.hpp"

#include <utility>

#include "restore/support/cf_values.hpp"

namespace tolvaran {

PreferenceDomain::PreferenceDomain(const std::string& applicationID)
    : PreferenceDomain(cf::makeString(applicationID)) {}

PreferenceDomain::PreferenceDomain(CFRef<CFStringRef> identifier)
    : identifier_(std::move(identifier)) {}

PreferenceDomain PreferenceDomain::anyApplication() {
    return PreferenceDomain(CFRef<CFStringRef>::retain(kCFPreferencesAnyApplication));
}

CFRef<CFPropertyListRef> PreferenceDomain::value(const std::string& key) const {
    const auto name = cf::makeString(key);
    return CFRef<CFPropertyListRef>::assume(CFPreferencesCopyValue(
        name.get(), identifier_.get(), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
}

std::optional<std::int64_t> PreferenceDomain::integer(const std::string& key) const {
    return cf::integer(value(key).get());
}

void PreferenceDomain::setInteger(const std::string& key, std::optional<std::int64_t> value) const {
    const auto number = value ? cf::makeNumber(*value) : CFRef<CFNumberRef>();
    set(key, number.get());
}

void PreferenceDomain::setBoolean(const std::string& key, std::optional<bool> value) const {
    set(key, value ? (*value ? kCFBooleanTrue : kCFBooleanFalse) : nullptr);
}

bool PreferenceDomain::synchronize() const {
    return CFPreferencesSynchronize(identifier_.get(), kCFPreferencesCurrentUser,
                                    kCFPreferencesAnyHost) != 0;
}

bool PreferenceDomain::synchronizeApplication() const {
    return CFPreferencesAppSynchronize(identifier_.get()) != 0;
}

void PreferenceDomain::set(const std::string& key, CFPropertyListRef value) const {
    const auto name = cf::makeString(key);
    CFPreferencesSetValue(name.get(), value, identifier_.get(), kCFPreferencesCurrentUser,
                          kCFPreferencesAnyHost);
}

}  // namespace tolvaran
