#include "tests/faults/expected_lines.hpp"

#include <algorithm>
#include <set>
#include <stdexcept>

#include "tests/support/patterns.hpp"
#include "tests/support/records/records.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

// The calls that write a file whole. fcntl is not one of them: if a barrier fails, an fsync
// follows.
const std::vector<std::string> writing{"mkostemp", "write", "fsync", "rename"};

std::vector<FailureLine> withRecords(std::vector<FailureLine> rows) {
    for (const Record& record : records()) {
        rows.insert(rows.end(), record.lines.begin(), record.lines.end());
        if (!record.notWritten.empty()) {
            rows.push_back({writing, escaped(record.path), record.notWritten});
        }
        if (!record.notRemoved.empty()) {
            rows.push_back({{"unlink"}, escaped(record.path), record.notRemoved});
        }
    }
    return rows;
}

const std::vector<FailureLine>& table() {
    static const std::vector<FailureLine> rows = withRecords({
        {{"CGDisplayRegisterReconfigurationCallback"},
         "",
         "error: CGDisplayRegisterReconfigurationCallback failed: CODE"},
        {{"CGAssociateMouseAndMouseCursorPosition"},
         "",
         "warn: restoreCursorAssociation \\[.*\\]: CGAssociateMouseAndMouseCursorPosition\\(1\\) "
         "returned CODE"},
        {{"CGBeginDisplayConfiguration", "CGCompleteDisplayConfiguration"},
         "",
         "error: checkInvariant \\[.*\\]: CG configure rejected .*|"
         "warn: resolution restore: apply failed for .*; keeping entry|"
         "warn: the main application gave up: .*"},
        {{"dispatch_source_create"},
         "",
         "error: safety timer could not be created|"
         "error: PROC_EXIT watch could not be created for Tolvaran pid .*"},
        {{"CFStringCreateWithBytes", "CFNumberCreate", "CFDictionaryCreate"},
         "",
         "error: [A-Za-z]+ \\[.*\\]: gave up: .*|warn: the main application gave up: .*"},
    });
    return rows;
}

/// Failures that are not logged, and why.
const std::set<std::string>& unlogged() {
    static const std::set<std::string> functions = {
        // The log itself, and cleaning up.
        "close", "closedir", "dlclose", "lseek", "opendir", "readdir", "kill", "localtime_r",
        "IOObjectRelease",
        // An unreadable file counts as missing. If a directory cannot be created, the write reports
        // it.
        "open", "fstat", "read", "stat", "mkdir",
        // A file that cannot be touched is rewritten, one that cannot be linked is renamed.
        "futimens", "link",
        // A volume without locks does not show who is at work.
        "flock",
        // A volume without barriers gets the ordinary flush.
        "fcntl",
        // A display that cannot be read gets another name or no part in the layout; a mode that
        // cannot be read does not count.
        "CGDisplayBounds", "CGDisplayCreateUUIDFromDisplayID", "CGDisplayModelNumber",
        "CGDisplaySerialNumber", "CGDisplayVendorNumber", "CGGetActiveDisplayList",
        "CGMainDisplayID", "CGSGetDisplayModeDescriptionOfLength", "CFUUIDCreateFromString",
        "CFUUIDCreateString", "IOIteratorNext", "IORegistryEntryCreateCFProperties",
        "IOServiceGetMatchingServices", "IOServiceMatching",
        // Only completion shows whether a configuration succeeded.
        "CGConfigureDisplayOrigin", "CGSConfigureDisplayMode", "CGSGetCurrentDisplayMode",
        // The failure looks like a valid answer.
        "CGSMainConnectionID", "CFPreferencesCopyValue", "SLSCopyActiveMenuBarDisplayIdentifier",
        "SLSCopyManagedDisplaySpaces", "SLSGetMenuBarVisibilityOverrideOnDisplay",
        "CFBundleCopyBundleURL", "CFBundleGetAllBundles", "CFBundleGetMainBundle",
        "CFURLGetFileSystemRepresentation", "CFUUIDCreate", "getpwuid", "runningApplications",
        // The result, if any, does not show a failure.
        "CFNotificationCenterPostNotification", "CFPreferencesSetValue",
        "CoreDockSetExposeCornerActionWithModifier", "dispatch_after_f", "dispatch_async_f",
        "dispatch_source_set_timer", "nanosleep", "observeLaunches", "observeTerminations",
        "observeWakes", "setActivationPolicy", "signal",
        // Subjects that the table has no row for.
        "mkostemp", "write", "fsync", "rename", "unlink", "dlopen", "dlsym"};
    return functions;
}

/// A call that reports success without effect, an error after which its work counts as done, or a
/// short write, which is continued.
bool countsAsSuccess(const Call& call, const json& form) {
    const json result = form.value("result", json());
    const bool isGone = call.function == "unlink" && result == "ENOENT";
    return !form.contains("result") || isGone || result == json{{"bytes", 1}};
}

/// Whether the next call makes up for a single such failure.
bool isMadeUpFor(const FailureLine& row, const Call& call, const json& form, Lasting lasting) {
    const json result = form.value("result", json());
    // If the unfinished file is gone, another process was quicker, and the file is written again.
    const bool isOvertaken = call.function == "rename" && result == "ENOENT";
    return lasting == Lasting::once && (row.isRetried || isOvertaken || result == "EINTR");
}

std::string withCode(std::string line, const json& form) {
    const auto at = line.find("CODE");
    if (at != std::string::npos) {
        line.replace(at, 4, form.at("result").dump());
    }
    return line;
}

}  // namespace

std::string missingLine(const Call& call, const json& form, Lasting lasting,
                        const std::vector<std::string>& log) {
    for (const FailureLine& row : table()) {
        const bool isAbout =
            std::ranges::find(row.functions, call.function) != row.functions.end() &&
            matches(call.subject, row.subject);
        if (!isAbout) {
            continue;
        }
        if (row.line.empty()) {
            return "";
        }
        if (countsAsSuccess(call, form) &&
            call.function != "CoreDockGetExposeCornerActionsWithModifiers") {
            return "";
        }
        if (isMadeUpFor(row, call, form, lasting)) {
            return "";
        }
        const std::string line = withCode(row.line, form);
        const bool isLogged = std::ranges::any_of(
            log, [&](const std::string& logged) { return matches(logged, line); });
        return isLogged ? "" : row.line;
    }
    if (!unlogged().contains(call.function)) {
        throw std::out_of_range("no table says what the log has about " + call.function);
    }
    return "";
}

}  // namespace tolvaran::tests
