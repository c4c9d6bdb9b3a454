#include "tests/faults/failure_forms.hpp"

#include <map>
#include <stdexcept>

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using Forms = std::vector<json>;

Forms errors(const std::vector<std::string>& names, bool hasEffect = false) {
    Forms forms;
    for (const std::string& name : names) {
        forms.push_back({{"result", name}, {"effect", hasEffect}});
    }
    return forms;
}

Forms results(const std::vector<json>& values) {
    Forms forms;
    for (const json& value : values) {
        forms.push_back({{"result", value}});
    }
    return forms;
}

/// The call reports success, or has no way to report anything, and does nothing.
Forms withoutEffect() {
    return {{{"effect", false}}};
}

Forms operator+(Forms first, const Forms& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// The call moves only the first byte, or none.
Forms shortTransfers(const std::vector<int>& sizes) {
    Forms forms;
    for (const int size : sizes) {
        forms.push_back({{"result", {{"bytes", size}}}});
    }
    return forms;
}

const Forms cannotFail;
const Forms looking = errors({"ENOENT", "EACCES", "EIO", "EMFILE", "ENFILE", "EINTR", "ELOOP"});
const Forms changing = errors({"ENOENT", "EACCES", "EIO", "ENOSPC", "EINTR", "EROFS", "EDQUOT"});
const Forms displayErrors = results({1000, 1001, 1004});
const Forms registryErrors = results({-536870212, -536870208});
const Forms null = results({nullptr});

const std::map<std::string, Forms>& table() {
    static const std::map<std::string, Forms> forms = {
        // Files. A close that fails has closed all the same.
        {"close", errors({"EIO", "EINTR"}, true)},
        {"closedir", errors({"EIO"}, true)},
        {"fcntl", errors({"EIO", "ENOSPC", "EINTR", "EINVAL", "ENOTSUP"})},
        {"fstat", errors({"EIO", "EOVERFLOW"})},
        {"fsync", errors({"EIO", "ENOSPC", "EINTR", "EDQUOT"})},
        {"getpid", cannotFail},
        {"getpwuid", null},
        {"kill", errors({"EPERM", "ESRCH"})},
        {"localtime_r", errors({"EOVERFLOW"})},
        {"lseek", errors({"EIO"})},
        {"mkdir", changing},
        {"mkostemp", changing + errors({"EMFILE"})},
        {"nanosleep", errors({"EINVAL", "EINTR"})},
        {"open", looking + errors({"ENOSPC", "EROFS"})},
        {"opendir", looking},
        {"read", errors({"EIO", "EINTR", "EISDIR"}) + shortTransfers({1})},
        {"readdir", errors({"EIO"})},
        {"rename", changing},
        {"signal", errors({"EINVAL"})},
        {"stat", errors({"ENOENT", "EACCES", "EIO", "EINTR", "ENOTDIR"})},
        {"unlink", errors({"ENOENT", "EACCES", "EIO", "EINTR", "EROFS"})},
        {"write", errors({"EIO", "ENOSPC", "EINTR", "EDQUOT"}) + shortTransfers({0, 1})},
        // Displays.
        {"CGAssociateMouseAndMouseCursorPosition", displayErrors},
        {"CGBeginDisplayConfiguration", displayErrors + withoutEffect()},
        {"CGCompleteDisplayConfiguration", displayErrors},
        {"CGConfigureDisplayOrigin", displayErrors},
        {"CGDisplayBounds", withoutEffect()},
        {"CGDisplayCreateUUIDFromDisplayID", null},
        {"CGDisplayModelNumber", results({0})},
        {"CGDisplayRegisterReconfigurationCallback", displayErrors},
        {"CGDisplaySerialNumber", results({0})},
        {"CGDisplayVendorNumber", results({0})},
        {"CGGetActiveDisplayList", displayErrors + withoutEffect()},
        {"CGMainDisplayID", results({0})},
        {"CGSConfigureDisplayMode", displayErrors},
        {"CGSGetCurrentDisplayMode", displayErrors + withoutEffect()},
        {"CGSGetDisplayModeDescriptionOfLength", displayErrors + withoutEffect()},
        {"CGSGetNumberOfDisplayModes", displayErrors + withoutEffect()},
        // The display registry.
        {"IOIteratorNext", results({0})},
        {"IOObjectRelease", {{{"result", -536870212}, {"effect", true}}}},
        {"IORegistryEntryCreateCFProperties", registryErrors + withoutEffect()},
        {"IOServiceGetMatchingServices", registryErrors + withoutEffect()},
        {"IOServiceMatching", null},
        // The menu bar.
        {"CGSMainConnectionID", results({0})},
        {"CGSSetMenuBarAutohideEnabled", displayErrors},
        {"SLSCopyActiveMenuBarDisplayIdentifier", null},
        {"SLSCopyManagedDisplaySpaces", null + results({json::array()})},
        {"SLSGetMenuBarAutohideEnabled", displayErrors},
        {"SLSGetMenuBarVisibilityOverrideOnDisplay", results({false, true})},
        {"SLSSetMenuBarVisibilityOverrideOnDisplay", displayErrors + withoutEffect()},
        {"dlclose", {{{"result", -1}, {"effect", true}}}},
        {"dlopen", null},
        {"dlsym", null},
        // The Dock.
        {"CoreDockGetAutoHideEnabled", results({false, true})},
        {"CoreDockGetExposeCornerActionsWithModifiers", withoutEffect()},
        {"CoreDockSetAutoHideEnabled", withoutEffect()},
        {"CoreDockSetExposeCornerActionWithModifier", withoutEffect() + results({1000})},
        // Core Foundation.
        {"CFAbsoluteTimeGetCurrent", cannotFail},
        {"CFBundleCopyBundleURL", null},
        {"CFBundleGetAllBundles", null + results({json::array()})},
        {"CFBundleGetMainBundle", null},
        {"CFDictionaryCreate", null},
        {"CFNotificationCenterPostNotification", withoutEffect()},
        {"CFNumberCreate", null},
        {"CFPreferencesAppSynchronize", results({false})},
        {"CFPreferencesCopyValue", null},
        {"CFPreferencesSetValue", withoutEffect()},
        {"CFPreferencesSynchronize", results({false})},
        {"CFStringCreateWithBytes", null},
        {"CFURLGetFileSystemRepresentation", results({false})},
        {"CFUUIDCreate", null},
        {"CFUUIDCreateFromString", null},
        {"CFUUIDCreateString", null},
        // The main queue and the workspace.
        // Work that dispatch cannot queue ends the process.
        {"dispatch_after_f", cannotFail},
        {"dispatch_async_f", cannotFail},
        {"dispatch_source_create", null},
        {"dispatch_source_set_timer", withoutEffect()},
        {"observeLaunches", withoutEffect()},
        {"observeTerminations", withoutEffect()},
        {"observeWakes", withoutEffect()},
        {"runningApplications", withoutEffect()},
        {"setActivationPolicy", withoutEffect()},
    };
    return forms;
}

}  // namespace

const std::vector<nlohmann::json>& failureForms(const std::string& function) {
    const auto found = table().find(function);
    if (found == table().end()) {
        throw std::out_of_range("no failure form is known for " + function);
    }
    return found->second;
}

std::vector<std::string> fallibleFunctions() {
    std::vector<std::string> names;
    for (const auto& [name, forms] : table()) {
        names.push_back(name);
    }
    return names;
}

}  // namespace tolvaran::tests
