#include "tests/faults/prescribed_losses.hpp"

#include <algorithm>
#include <regex>

namespace tolvaran::tests {
namespace {

/// A fault on one of the functions may make a difference at the places that the pattern matches.
struct Loss {
    std::vector<std::string> functions;  // or a function and its error, such as "stat ENOENT"
    std::string subjects;  // a regular expression for the whole of what the call is about
    std::string places;    // a regular expression for the whole of a place
    std::string reason;
    std::vector<std::string> together = {};  // only when a call of one of these failed as well
};

// By which a file is read whole.
const std::vector<std::string> reading{"open", "fstat", "read"};

const std::vector<Loss>& table() {
    static const std::vector<Loss> losses = {
        {{"CGDisplayVendorNumber", "CGDisplayModelNumber", "CGDisplaySerialNumber",
          "CGDisplayCreateUUIDFromDisplayID", "CFUUIDCreateString", "IOServiceMatching",
          "IOServiceGetMatchingServices", "IOIteratorNext", "IORegistryEntryCreateCFProperties"},
         "",
         "(mac/displays/[0-9]+/(frame/[0-9]|mode|menuBarOverride)|files/State~1.*)",
         "a display that cannot be identified counts as another one: records of the real one wait "
         "for it or, folded, go to another, and the generated row takes the arrangement's place"},
        {{"CGGetActiveDisplayList"},
         "",
         "mac/displays/[0-9]+/frame/[0-9]",
         "the same, for a display that is not listed"},
        {{"CGDisplayBounds"},
         "",
         "(mac/displays/[0-9]+/frame/[0-9]|files/State~1(separated|side-pinned|native-mirrored)-"
         "sets\\.json/.*|record/State/(separated|side-pinned|native-mirrored)-sets\\.json)",
         "displays without bounds touch nobody: a zigzag of them goes unseen until the next run"},
        {reading, "State/\\.display-originals", "mac/displays/[0-9]+/frame/[0-9]",
         "unreadable originals count as an empty store, and the generated row takes their place"},
        {reading, "Settings/preferences\\.json", "mac/displays/[0-9]+/(mode|frame/[0-9])",
         "without readable preferences every display has its own name"},
        {reading, "State/(separated|side-pinned|native-mirrored)-sets\\.json",
         "files/State~1(separated|side-pinned|native-mirrored)-sets\\.json/.*",
         "a mark that could not be read is not cleared; it stays until its set of displays is seen "
         "healthy again"},
        {reading, "State/dock-autohide-pending\\.json",
         "(mac/dock/autoHide|record/State/dock-autohide-pending\\.json)",
         "a marker that cannot be read is removed, so that a bad file never blocks later restores"},
        {{"CGMainDisplayID"},
         "",
         "mac/(displays/[0-9]+/frame/[0-9]|mainDisplay)",
         "without a known main display the positions are applied as they are"},
        {{"CGConfigureDisplayOrigin"},
         "",
         "(mac/displays/[0-9]+/frame/[0-9]|files/State~1(separated|side-pinned|native-mirrored)-"
         "sets\\.json/.*)",
         "only the completion of a configuration counts, and whether a zigzag is left"},
        {{"CGBeginDisplayConfiguration", "CGCompleteDisplayConfiguration"},
         "",
         "mac/displays/[0-9]+/frame/[0-9]",
         "an arrangement that is refused is passed over, and the next best one takes its place"},
        {{"CGSConfigureDisplayMode"},
         "",
         "(mac/displays/[0-9]+/(mode|frame/[0-9])|files/State~1\\.resolution-originals.*|"
         "record/State/\\.resolution-originals)",
         "only the completion of a configuration counts"},
        {{"CoreDockGetAutoHideEnabled", "CoreDockSetAutoHideEnabled"},
         "",
         "(mac/dock/autoHide|record/State/dock-autohide-pending\\.json)",
         "the Dock is not asked whether it took the value, and the marker goes"},
        {{"open", "fstat", "read", "unlink", "mkostemp", "write", "fsync", "rename", "stat",
          "mkdir", "CGSMainConnectionID", "CGSSetMenuBarAutohideEnabled",
          "CFPreferencesSynchronize", "CFDictionaryCreate", "CFStringCreateWithBytes"},
         "(State|State/menubar-state\\.json)?",
         "mac/(preferences/global/(_HIHideMenuBar|AppleMenuBarVisibleInFullscreen)|menuBar/"
         "autoHide)",
         "what the user changes while a restore has yet to succeed gives way to the snapshot"},
        {{"SLSGetMenuBarVisibilityOverrideOnDisplay"},
         "",
         "(mac/displays/[0-9]+/menuBarOverride|record/State/menubar-state\\.json)",
         "an override that reads as it should counts as put back"},
        {{"CGSMainConnectionID"},
         "",
         "mac/displays/[0-9]+/menuBarOverride",
         "without a connection every override reads as hidden, and is recorded as that"},
        {{"CGSGetDisplayModeDescriptionOfLength"},
         "",
         "mac/displays/[0-9]+/(mode|frame/[0-9])",
         "a mode that cannot be read is none, and the next best one takes its place"},
        {{"stat ENOENT", "stat ENOTDIR"},
         "State/hot-corners-snapshot\\.json",
         "(mac/(preferences/com\\.apple\\.dock/.*|dock/corner(Actions|Modifiers)/[0-9])|"
         "record/State/hot-corners-snapshot\\.json)",
         "where the file system says that there is no earlier snapshot, a new one is taken"},
        {{"CFPreferencesCopyValue"},
         "",
         "(mac/preferences/.*|record/State/hot-corners-snapshot\\.json)",
         "a preference that cannot be read counts as one that is not set"},
        {{"CFPreferencesSetValue"},
         "",
         "(mac/preferences/.*|record/State/(menubar-state|hot-corners-snapshot)\\.json)",
         "a preference that was set is not read back; synchronising tells whether it was stored"},
        {{"CoreDockGetExposeCornerActionsWithModifiers", "dlsym"},
         "(CoreDockGetExposeCornerActionsWithModifiers)?",
         "mac/dock/corner(Actions|Modifiers)/[0-9]",
         "where the Dock does not tell its live corners, those of the preferences are put back, "
         "which were not what they should be",
         {"CFPreferencesCopyValue", "CFPreferencesSetValue"}},
        {{"CFNotificationCenterPostNotification"},
         "",
         "record/State/hot-corner-screen-saver-hold",
         "posting a notification tells nothing of its success, and the marker goes"},
    };
    return losses;
}

bool contains(const std::vector<std::string>& names, const std::string& name) {
    return std::ranges::find(names, name) != names.end();
}

bool isAbout(const Loss& loss, const Call& call) {
    return (contains(loss.functions, call.function) ||
            contains(loss.functions, call.function + " " + call.error)) &&
           std::regex_match(call.subject, std::regex(loss.subjects));
}

bool hasCompany(const Loss& loss, const std::vector<Call>& failed) {
    return loss.together.empty() || std::ranges::any_of(failed, [&](const Call& call) {
               return contains(loss.together, call.function);
           });
}

}  // namespace

std::string prescribedLoss(const std::vector<Call>& failed, const std::string& place) {
    for (const Loss& loss : table()) {
        const auto isAboutIt = [&](const Call& call) { return isAbout(loss, call); };
        if (std::ranges::any_of(failed, isAboutIt) && hasCompany(loss, failed) &&
            std::regex_match(place, std::regex(loss.places))) {
            return loss.reason;
        }
    }
    return "";
}

}  // namespace tolvaran::tests
