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
         "mac/displays/[0-9]+/frame/[0-9]",
         "a display that cannot be identified counts as another one, so that the arrangement saved "
         "for the real set is not found and the generated row takes its place"},
        {{"CGGetActiveDisplayList"},
         "mac/displays/[0-9]+/frame/[0-9]",
         "the same, for a display that is not listed"},
        {{"open", "fstat", "read"},
         "mac/displays/[0-9]+/frame/[0-9]",
         "unreadable originals count as an empty store, and the generated row takes their place"},
        {{"open", "fstat", "read"},
         "mac/dock/autoHide",
         "a marker that cannot be read is removed, so that a bad file never blocks later restores"},
        {{"CoreDockGetAutoHideEnabled", "CoreDockSetAutoHideEnabled"},
         "mac/dock/autoHide",
         "the Dock is not asked whether it took the value, and the marker goes"},
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
