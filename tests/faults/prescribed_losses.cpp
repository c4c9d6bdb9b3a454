#include "tests/faults/prescribed_losses.hpp"

#include <algorithm>
#include <regex>

namespace tolvaran::tests {
namespace {

/// A fault on one of the functions may make a difference at the places that the pattern matches.
struct Loss {
    std::vector<std::string> functions;
    std::string places;  // a regular expression for the whole of a place
    std::string reason;
};

const std::vector<Loss>& table() {
    static const std::vector<Loss> losses = {
        {{"CGDisplayVendorNumber", "CGDisplayModelNumber", "CGDisplaySerialNumber",
          "CGDisplayCreateUUIDFromDisplayID", "CFUUIDCreateString", "CFStringCreateWithBytes",
          "IOServiceMatching", "IOServiceGetMatchingServices", "IOIteratorNext",
          "IORegistryEntryCreateCFProperties"},
         "(mac/displays/[0-9]+/(frame/[0-9]|mode|menuBarOverride)|files/State~1.*)",
         "a display that cannot be identified counts as another one: records of the real one wait "
         "for it or, folded, go to another, and the generated row takes the arrangement's place"},
        {{"CGGetActiveDisplayList"},
         "mac/displays/[0-9]+/frame/[0-9]",
         "the same, for a display that is not listed"},
        {{"open", "fstat", "read"},
         "mac/displays/[0-9]+/frame/[0-9]",
         "unreadable originals count as an empty store, and the generated row takes their place"},
        {{"open", "fstat", "read"},
         "mac/displays/[0-9]+/mode",
         "without readable preferences every display has its own name"},
        {{"open", "fstat", "read"},
         "files/State~1(separated|side-pinned|native-mirrored)-sets\\.json/.*",
         "a mark that could not be read is not cleared; it stays until its set of displays is seen "
         "healthy again"},
        {{"CGConfigureDisplayOrigin"},
         "mac/displays/[0-9]+/frame/[0-9]",
         "only the completion of a configuration counts, and whether a zigzag is left"},
        {{"CGBeginDisplayConfiguration", "CGCompleteDisplayConfiguration"},
         "mac/displays/[0-9]+/frame/[0-9]",
         "an arrangement that is refused is passed over, and the next best one takes its place"},
        {{"CGSConfigureDisplayMode"},
         "(mac/displays/[0-9]+/(mode|frame/[0-9])|files/State~1\\.resolution-originals.*)",
         "only the completion of a configuration counts"},
        {{"open", "fstat", "read"},
         "mac/dock/autoHide",
         "a marker that cannot be read is removed, so that a bad file never blocks later restores"},
        {{"CoreDockGetAutoHideEnabled", "CoreDockSetAutoHideEnabled"},
         "mac/dock/autoHide",
         "the Dock is not asked whether it took the value, and the marker goes"},
        {{"open", "fstat", "read", "CGSSetMenuBarAutohideEnabled", "CFPreferencesSynchronize",
          "CFDictionaryCreate", "CFStringCreateWithBytes", "mkostemp", "write", "rename"},
         "mac/(preferences/global/(_HIHideMenuBar|AppleMenuBarVisibleInFullscreen)|menuBar/"
         "autoHide)",
         "what the user changes while a restore has yet to succeed gives way to the snapshot"},
        {{"CFPreferencesSetValue"},
         "mac/preferences/.*",
         "a preference that was set is not read back; synchronising tells whether it was stored"},
    };
    return losses;
}

}  // namespace

std::string prescribedLoss(const std::string& function, const std::string& place) {
    for (const Loss& loss : table()) {
        if (std::find(loss.functions.begin(), loss.functions.end(), function) !=
                loss.functions.end() &&
            std::regex_match(place, std::regex(loss.places))) {
            return loss.reason;
        }
    }
    return "";
}

}  // namespace tolvaran::tests
