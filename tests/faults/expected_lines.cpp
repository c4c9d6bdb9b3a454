#include "tests/faults/expected_lines.hpp"

#include <algorithm>
#include <regex>
#include <set>
#include <stdexcept>

#include "tests/support/records/records.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

/// A failure of one of these functions leaves a line that matches the pattern, in which "CODE"
/// stands for the failure's code.
struct Row {
    std::vector<std::string> functions;
    std::string subject;     // a regular expression for the whole of what the call is about
    std::string line;        // a regular expression for a whole line
    bool isRetried = false;  // a single failure leaves no line: the call is made again
};

// The calls that write a file whole. fcntl is not one of them: if a barrier fails, an fsync
// follows.
const std::vector<std::string> writing{"mkostemp", "write", "fsync", "rename"};

std::vector<Row> withRecords(std::vector<Row> rows) {
    for (const Record& record : records()) {
        if (!record.notWritten.empty()) {
            rows.push_back({writing, escaped(record.path), record.notWritten});
        }
        if (!record.notRemoved.empty()) {
            rows.push_back({{"unlink"}, escaped(record.path), record.notRemoved});
        }
    }
    return rows;
}

const std::vector<Row>& table() {
    static const std::vector<Row> rows = withRecords({
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
        {{"CGSGetNumberOfDisplayModes"},
         "",
         "warn: resolution restore: no exact mode .*; keeping entry|"
         "warn: the main application gave up: .*",
         true},
        {{"CGSSetMenuBarAutohideEnabled"}, "", "warn: CGSSetMenuBarAutohideEnabled returned CODE"},
        {{"CFPreferencesSynchronize"},
         "",
         "warn: CFPreferencesSynchronize returned false for menu bar prefs"},
        {{"CFPreferencesAppSynchronize"},
         "",
         "warn: hot-corner (restoreIfPending|exit): CFPreferencesAppSynchronize failed; snapshot "
         "kept at .* for retry|warn: the main application gave up: could not sync com.apple.dock "
         "prefs after writing wvous-\\*-corner"},
        {{"SLSGetMenuBarAutohideEnabled"}, "", "warn: SLSGetMenuBarAutohideEnabled returned CODE"},
        {{"SLSSetMenuBarVisibilityOverrideOnDisplay"},
         "",
         "warn: SLSSetMenuBarVisibilityOverrideOnDisplay returned CODE for display .*"},
        {{"CoreDockGetExposeCornerActionsWithModifiers"},
         "",
         "warn: hot-corner restore could not be verified because the CoreDock getter is "
         "unavailable|warn: hot-corner release could not refresh native suppression while other "
         "owners remain|warn: the main application gave up: could not sync .*",
         true},
        {{"dlopen"},
         "SkyLight",
         "warn: Per-display menu bar API is unavailable on this macOS build"},
        {{"dlsym"},
         "CGSMainConnectionID|SLS(Get|Set).*|SLSCopyManagedDisplaySpaces",
         "warn: Per-display menu bar API is unavailable on this macOS build"},
        {{"dlsym"},
         "CoreDock.*",
         "warn: hot-corner restore found the CoreDock setter unavailable and restored raw "
         "preferences only|warn: hot-corner disable failed because required CoreDock functions are "
         "unavailable"},
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
        "CGSMainConnectionID", "CoreDockGetAutoHideEnabled", "CFPreferencesCopyValue",
        "SLSCopyActiveMenuBarDisplayIdentifier", "SLSCopyManagedDisplaySpaces",
        "SLSGetMenuBarVisibilityOverrideOnDisplay", "CFBundleCopyBundleURL",
        "CFBundleGetAllBundles", "CFBundleGetMainBundle", "CFURLGetFileSystemRepresentation",
        "CFUUIDCreate", "getpwuid", "runningApplications",
        // The result, if any, does not show a failure.
        "CFNotificationCenterPostNotification", "CFPreferencesSetValue",
        "CoreDockSetAutoHideEnabled", "CoreDockSetExposeCornerActionWithModifier",
        "dispatch_after_f", "dispatch_async_f", "dispatch_source_set_timer", "nanosleep",
        "observeLaunches", "observeTerminations", "observeWakes", "setActivationPolicy", "signal",
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
bool isMadeUpFor(const Row& row, const Call& call, const json& form, Lasting lasting) {
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
    for (const Row& row : table()) {
        const bool isAbout =
            std::ranges::find(row.functions, call.function) != row.functions.end() &&
            std::regex_match(call.subject, std::regex(row.subject));
        if (!isAbout) {
            continue;
        }
        if (countsAsSuccess(call, form) &&
            call.function != "CoreDockGetExposeCornerActionsWithModifiers") {
            return "";
        }
        if (isMadeUpFor(row, call, form, lasting)) {
            return "";
        }
        const std::regex line(withCode(row.line, form));
        const bool isLogged = std::ranges::any_of(
            log, [&](const std::string& logged) { return std::regex_match(logged, line); });
        return isLogged ? "" : row.line;
    }
    if (!unlogged().contains(call.function)) {
        throw std::out_of_range("no table says what the log has about " + call.function);
    }
    return "";
}

}  // namespace tolvaran::tests
