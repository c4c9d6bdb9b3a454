#include "tests/faults/expected_lines.hpp"

#include <algorithm>
#include <regex>
#include <set>
#include <stdexcept>

#include "tests/support/records/records.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

/// A failure of one of the functions leaves a line that the pattern matches, which may have the
/// failure's code in place of "CODE".
struct Row {
    std::vector<std::string> functions;
    std::string subject;     // a regular expression for the whole of what the call is about
    std::string line;        // a regular expression for a whole line
    bool isRetried = false;  // a single failure leaves no line: the call is made again
};

// By which a file is written whole. A flush that the volume cannot do otherwise is tried as a full
// one, so that its failure alone is none.
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
const std::set<std::string>& untold() {
    static const std::set<std::string> functions = {
        // The log itself, and what is only cleaned up.
        "close", "closedir", "dlclose", "lseek", "opendir", "readdir", "kill", "localtime_r",
        "IOObjectRelease",
        // A file that cannot be read counts as one that is missing, and a directory that cannot be
        // created is left to the write to report.
        "open", "fstat", "read", "stat", "mkdir",
        // What cannot be touched is written once more, and what cannot be linked is renamed.
        "futimens", "link",
        // A volume without barriers gets the ordinary flush.
        "fcntl",
        // Displays of which nothing is known have another name, or no part in the layout; a mode of
        // which nothing is known is none.
        "CGDisplayBounds", "CGDisplayCreateUUIDFromDisplayID", "CGDisplayModelNumber",
        "CGDisplaySerialNumber", "CGDisplayVendorNumber", "CGGetActiveDisplayList",
        "CGMainDisplayID", "CGSGetDisplayModeDescriptionOfLength", "CFUUIDCreateFromString",
        "CFUUIDCreateString", "IOIteratorNext", "IORegistryEntryCreateCFProperties",
        "IOServiceGetMatchingServices", "IOServiceMatching",
        // Only completion tells what became of a configuration.
        "CGConfigureDisplayOrigin", "CGSConfigureDisplayMode", "CGSGetCurrentDisplayMode",
        // An answer that may be a true one.
        "CGSMainConnectionID", "CoreDockGetAutoHideEnabled", "CFPreferencesCopyValue",
        "SLSCopyActiveMenuBarDisplayIdentifier", "SLSCopyManagedDisplaySpaces",
        "SLSGetMenuBarVisibilityOverrideOnDisplay", "CFBundleCopyBundleURL",
        "CFBundleGetAllBundles", "CFBundleGetMainBundle", "CFURLGetFileSystemRepresentation",
        "CFUUIDCreate", "getpwuid", "runningApplications",
        // Functions that return nothing, or nothing that tells of a failure.
        "CFNotificationCenterPostNotification", "CFPreferencesSetValue",
        "CoreDockSetAutoHideEnabled", "CoreDockSetExposeCornerActionWithModifier",
        "dispatch_after_f", "dispatch_async_f", "dispatch_source_set_timer", "nanosleep",
        "observeLaunches", "observeTerminations", "observeWakes", "setActivationPolicy", "signal",
        // Subjects that the table has no row for.
        "mkostemp", "write", "fsync", "rename", "unlink", "dlopen", "dlsym"};
    return functions;
}

/// A success that is none, an error after which the call is taken to have done its work, or a write
/// that goes on where it was cut short.
bool passesForSuccess(const Call& call, const json& form) {
    const json result = form.value("result", json());
    const bool isGone = call.function == "unlink" && result == "ENOENT";
    return !form.contains("result") || isGone || result == json{{"bytes", 1}};
}

/// Whether one such failure is made up for by the next call.
bool isMadeUpFor(const Row& row, const Call& call, const json& form, Lasting lasting) {
    const json result = form.value("result", json());
    // An unfinished file that has gone means that another process was quicker: it is made again.
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
        if (passesForSuccess(call, form) &&
            call.function != "CoreDockGetExposeCornerActionsWithModifiers") {
            return "";
        }
        if (isMadeUpFor(row, call, form, lasting)) {
            return "";
        }
        const std::regex line(withCode(row.line, form));
        const bool stands = std::ranges::any_of(
            log, [&](const std::string& logged) { return std::regex_match(logged, line); });
        return stands ? "" : row.line;
    }
    if (!untold().contains(call.function)) {
        throw std::out_of_range("nothing is known of what the log says of " + call.function);
    }
    return "";
}

}  // namespace tolvaran::tests
