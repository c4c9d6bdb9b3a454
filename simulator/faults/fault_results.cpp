#include "simulator/faults/fault_results.hpp"

#include <cerrno>
#include <cstdint>
#include <map>

#include "simulator/core_foundation/uuid.hpp"
#include "simulator/host/errno_names.hpp"
#include "simulator/machine/mac_json.hpp"

namespace simulator {
namespace {

using nlohmann::json;
using Read = json (*)(const JsonReader& result);

template <typename Integer>
json number(const JsonReader& result) {
    return result.value().is_boolean() ? json(result.boolean() ? 1 : 0)
                                       : json(result.integer<Integer>());
}

json seconds(const JsonReader& result) {
    return result.number();
}

json boolean(const JsonReader& result) {
    if (result.value() == 0 || result.value() == 1) {
        return result.value() == 1;
    }
    return result.boolean();
}

json nothing(const JsonReader& result) {
    result.fail("must be left out, for the function returns nothing that a fault can choose");
}

/// What such a function returns otherwise cannot be written down.
json null(const JsonReader& result) {
    if (!result.isNull() && result.value() != 0 && result.value() != false) {
        result.fail("must be null");
    }
    return nullptr;
}

json textOrNull(const JsonReader& result) {
    return result.isNull() ? json(nullptr) : json(result.text());
}

json uuidOrNull(const JsonReader& result) {
    if (!result.isNull() && !cf::isUUID(result.text())) {
        result.fail("must be a UUID in the form 8-4-4-4-12, or null");
    }
    return result.value();
}

json propertyListOrNull(const JsonReader& result) {
    if (!result.isNull()) {
        requirePropertyList(result);
    }
    return result.value();
}

json noBundlesOrNull(const JsonReader& result) {
    if (!result.isNull() && result.value() != json::array()) {
        result.fail("must be an empty list, or null");
    }
    return result.value();
}

json rectangle(const JsonReader& result) {
    for (const JsonReader& element : result.elements(4)) {
        element.number();
    }
    return result.value();
}

json error(const JsonReader& result) {
    if (result.value().is_number()) {
        return result.integer<int>(1);
    }
    const auto code = errorCode(result.text());
    if (!code) {
        result.fail("is no name of an error that the simulator knows");
    }
    return *code;
}

json errorOrNull(const JsonReader& result) {
    return result.isNull() ? json(EIO) : error(result);
}

json errorOrBytes(const JsonReader& result) {
    if (!result.value().is_object()) {
        return error(result);
    }
    result.requireKeys({"bytes"});
    return {{"bytes", result.at("bytes").integer<std::int64_t>(0)}};
}

const std::map<std::string, Read>& readers() {
    // An error of Core Graphics and of the kernel is such a number as well.
    constexpr Read int32 = number<std::int32_t>;
    constexpr Read uint32 = number<std::uint32_t>;
    static const std::map<std::string, Read> all{
        // Files and the process.
        {"access", error},
        {"chmod", error},
        {"close", error},
        {"closedir", error},
        {"fchmod", error},
        {"fcntl", error},
        {"fstat", error},
        {"fsync", error},
        {"ftruncate", error},
        {"getpid", int32},
        {"getpwuid", null},
        {"kill", error},
        {"link", error},
        {"localtime_r", errorOrNull},
        {"lseek", error},
        {"lstat", error},
        {"mkdir", error},
        {"mkostemp", error},
        {"nanosleep", error},
        {"open", error},
        {"opendir", errorOrNull},
        {"read", errorOrBytes},
        {"readdir", errorOrNull},
        {"rename", error},
        {"rmdir", error},
        {"signal", error},
        {"stat", error},
        {"unlink", error},
        {"write", errorOrBytes},
        // Libraries.
        {"dlclose", int32},
        {"dlopen", null},
        {"dlsym", null},
        // Displays.
        {"CGAssociateMouseAndMouseCursorPosition", int32},
        {"CGBeginDisplayConfiguration", int32},
        {"CGCancelDisplayConfiguration", int32},
        {"CGCompleteDisplayConfiguration", int32},
        {"CGConfigureDisplayOrigin", int32},
        {"CGDisplayBounds", rectangle},
        {"CGDisplayCreateUUIDFromDisplayID", uuidOrNull},
        {"CGDisplayIsActive", boolean},
        {"CGDisplayModelNumber", uint32},
        {"CGDisplayRegisterReconfigurationCallback", int32},
        {"CGDisplayRemoveReconfigurationCallback", int32},
        {"CGDisplaySerialNumber", uint32},
        {"CGDisplayVendorNumber", uint32},
        {"CGGetActiveDisplayList", int32},
        {"CGMainDisplayID", uint32},
        {"CGSConfigureDisplayMode", int32},
        {"CGSGetCurrentDisplayMode", int32},
        {"CGSGetDisplayModeDescriptionOfLength", int32},
        {"CGSGetNumberOfDisplayModes", int32},
        // The display registry.
        {"IOIteratorNext", uint32},
        {"IOObjectRelease", int32},
        {"IORegistryEntryCreateCFProperties", int32},
        {"IOServiceGetMatchingServices", int32},
        {"IOServiceMatching", null},
        // The menu bar.
        {"CGSMainConnectionID", int32},
        {"CGSSetMenuBarAutohideEnabled", int32},
        {"SLSCopyActiveMenuBarDisplayIdentifier", textOrNull},
        {"SLSCopyManagedDisplaySpaces", propertyListOrNull},
        {"SLSGetMenuBarAutohideEnabled", int32},
        {"SLSGetMenuBarVisibilityOverrideOnDisplay", boolean},
        {"SLSSetMenuBarVisibilityOverrideOnDisplay", int32},
        // The Dock.
        {"CoreDockGetAutoHideEnabled", boolean},
        {"CoreDockGetExposeCornerActionsWithModifiers", nothing},
        {"CoreDockSetAutoHideEnabled", nothing},
        {"CoreDockSetExposeCornerActionWithModifier", int32},
        // Core Foundation.
        {"CFAbsoluteTimeGetCurrent", seconds},
        {"CFArrayCreate", null},
        {"CFBundleCopyBundleURL", null},
        {"CFBundleGetAllBundles", noBundlesOrNull},
        {"CFBundleGetMainBundle", null},
        {"CFDataCreate", null},
        {"CFDictionaryCreate", null},
        {"CFDictionaryCreateMutable", null},
        {"CFNotificationCenterPostNotification", nothing},
        {"CFNumberCreate", null},
        {"CFPreferencesAppSynchronize", boolean},
        {"CFPreferencesCopyValue", propertyListOrNull},
        {"CFPreferencesSetValue", nothing},
        {"CFPreferencesSynchronize", boolean},
        {"CFStringCreateWithBytes", null},
        {"CFStringCreateWithCString", null},
        {"CFURLGetFileSystemRepresentation", boolean},
        {"CFUUIDCreate", null},
        {"CFUUIDCreateFromString", null},
        {"CFUUIDCreateString", null},
        // The main queue and the workspace.
        {"dispatch_after_f", nothing},
        {"dispatch_async_f", nothing},
        {"dispatch_source_create", null},
        {"dispatch_source_set_timer", nothing},
        {"observeLaunches", nothing},
        {"observeTerminations", nothing},
        {"observeWakes", nothing},
        {"runningApplications", nothing},
        {"setActivationPolicy", nothing},
    };
    return all;
}

}  // namespace

bool canFail(const std::string& function) {
    return readers().contains(function);
}

json readFaultResult(const std::string& function, const JsonReader& result) {
    return readers().at(function)(result);
}

}  // namespace simulator
