// CFPreferences for the machine's preferences, which are those of the current user on any host.
// Other users and the current host have none: reading there finds nothing, writing has no effect.
// kCFPreferencesAnyApplication is the machine's domain "global".
//
// Writing and synchronising are recorded as calls, with domain, user and host as they were given
// ("com.apple.dock", "kCFPreferencesAnyApplication").

#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "simulator/faults/faults.hpp"
#include "simulator/machine/call_record.hpp"
#include "simulator/machine/machine.hpp"

const CFStringRef kCFPreferencesAnyApplication = CFSTR("kCFPreferencesAnyApplication");
const CFStringRef kCFPreferencesAnyHost = CFSTR("kCFPreferencesAnyHost");
const CFStringRef kCFPreferencesCurrentHost = CFSTR("kCFPreferencesCurrentHost");
const CFStringRef kCFPreferencesAnyUser = CFSTR("kCFPreferencesAnyUser");
const CFStringRef kCFPreferencesCurrentUser = CFSTR("kCFPreferencesCurrentUser");

namespace cf = simulator::cf;

namespace {

bool isSimulated(CFStringRef userName, CFStringRef hostName) {
    return CFEqual(userName, kCFPreferencesCurrentUser) != 0 &&
           CFEqual(hostName, kCFPreferencesAnyHost) != 0;
}

std::string domain(CFStringRef applicationID) {
    return CFEqual(applicationID, kCFPreferencesAnyApplication) != 0 ? "global"
                                                                     : cf::text(applicationID);
}

void setValue(const std::string& domainName, const std::string& key, const nlohmann::json& value) {
    auto& preferences = simulator::mac().preferences;
    if (!value.is_null()) {
        preferences[domainName][key] = value;
        return;
    }
    const auto found = preferences.find(domainName);
    if (found != preferences.end()) {
        found->second.erase(key);
    }
}

}  // namespace

CFPropertyListRef CFPreferencesCopyValue(CFStringRef key, CFStringRef applicationID,
                                         CFStringRef userName, CFStringRef hostName) {
    const simulator::CallFault fault = simulator::beginCall("CFPreferencesCopyValue");
    if (fault.forcedResult) {
        return cf::createFromJson(*fault.forcedResult);
    }
    if (!fault.performs || !isSimulated(userName, hostName)) {
        return nullptr;
    }
    const auto& preferences = simulator::mac().preferences;
    const auto values = preferences.find(domain(applicationID));
    if (values == preferences.end()) {
        return nullptr;
    }
    const auto value = values->second.find(cf::text(key));
    return value == values->second.end() ? nullptr : cf::createFromJson(value->second);
}

void CFPreferencesSetValue(CFStringRef key, CFPropertyListRef value, CFStringRef applicationID,
                           CFStringRef userName, CFStringRef hostName) {
    constexpr std::string_view function = "CFPreferencesSetValue";
    const nlohmann::json plain = cf::toJson(value);
    if (value != nullptr && plain.is_null()) {
        cf::misuse(function, "the value is not a property list");
    }
    if (simulator::beginCall(function).performs && isSimulated(userName, hostName)) {
        setValue(domain(applicationID), cf::text(key), plain);
    }
    simulator::recordCall(
        function,
        {cf::text(key), plain, cf::text(applicationID), cf::text(userName), cf::text(hostName)},
        nullptr);
}

Boolean CFPreferencesSynchronize(CFStringRef applicationID, CFStringRef userName,
                                 CFStringRef hostName) {
    constexpr std::string_view function = "CFPreferencesSynchronize";
    const bool result = simulator::beginCall(function).resultOr(true);
    simulator::recordCall(
        function, {cf::text(applicationID), cf::text(userName), cf::text(hostName)}, result);
    return result;
}

Boolean CFPreferencesAppSynchronize(CFStringRef applicationID) {
    constexpr std::string_view function = "CFPreferencesAppSynchronize";
    const bool result = simulator::beginCall(function).resultOr(true);
    simulator::recordCall(function, nlohmann::json::array({cf::text(applicationID)}), result);
    return result;
}
