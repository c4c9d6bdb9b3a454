#include "tests/faults/prescribed_losses.hpp"

#include <algorithm>

#include "tests/support/patterns.hpp"
#include "tests/support/records/records.hpp"

namespace tolvaran::tests {
namespace {

/// A loss that does not belong to a record.
struct MacsLoss {
    Loss loss;
    std::vector<std::string> together = {};  // only when a call of one of these failed as well
};

const std::vector<MacsLoss>& macsLosses() {
    static const std::vector<MacsLoss> losses = {
        {{{"CGDisplayVendorNumber", "CGDisplayModelNumber", "CGDisplaySerialNumber",
           "CGDisplayCreateUUIDFromDisplayID", "CFUUIDCreateString", "IOServiceMatching",
           "IOServiceGetMatchingServices", "IOIteratorNext", "IORegistryEntryCreateCFProperties"},
          "",
          "mac/displays/[0-9]+/(frame/[0-9]|mode|menuBarOverride)|files/State~1.*",
          "a display that cannot be identified counts as another one: records of the real one wait "
          "for it or, folded, go to another, and the generated row takes the arrangement's place"}},
        {{{"CGGetActiveDisplayList"},
          "",
          "mac/displays/[0-9]+/frame/[0-9]",
          "a display that is not listed counts as disconnected"}},
        {{{"CGMainDisplayID"},
          "",
          "mac/(displays/[0-9]+/frame/[0-9]|mainDisplay)",
          "without a known main display the positions are applied as they are"}},
        {{{"CGConfigureDisplayOrigin"},
          "",
          "mac/displays/[0-9]+/frame/[0-9]|files/State~1(separated|side-pinned|native-mirrored)-"
          "sets\\.json/.*",
          "only the completion of a configuration counts, and whether a zigzag is left"}},
        {{{"CGBeginDisplayConfiguration", "CGCompleteDisplayConfiguration"},
          "",
          "mac/displays/[0-9]+/frame/[0-9]",
          "an arrangement that is refused is passed over, and the next best one takes its place"}},
        {{{"CGSMainConnectionID"},
          "",
          "mac/displays/[0-9]+/menuBarOverride",
          "without a connection every override reads as hidden, and is recorded as that"}},
        {{{"CGSGetDisplayModeDescriptionOfLength"},
          "",
          "mac/displays/[0-9]+/(mode|frame/[0-9])",
          "a mode that cannot be read is ignored, and the next best one takes its place"}},
        {{{"CoreDockGetExposeCornerActionsWithModifiers", "dlsym"},
          "(CoreDockGetExposeCornerActionsWithModifiers)?",
          "mac/dock/corner(Actions|Modifiers)/[0-9]",
          "if the Dock does not give its live corners, those of the preferences are put back, "
          "and they were wrong"},
         {"CFPreferencesCopyValue", "CFPreferencesSetValue"}},
    };
    return losses;
}

bool contains(const std::vector<std::string>& names, const std::string& name) {
    return std::ranges::find(names, name) != names.end();
}

bool isAbout(const Loss& loss, const Call& call) {
    return (contains(loss.functions, call.function) ||
            contains(loss.functions, call.function + " " + call.error)) &&
           matches(call.subject, loss.subjects);
}

bool allows(const Loss& loss, const std::vector<Call>& failed, const std::string& place) {
    return std::ranges::any_of(failed, [&](const Call& call) { return isAbout(loss, call); }) &&
           matches(place, loss.places);
}

bool failedTogether(const MacsLoss& row, const std::vector<Call>& failed) {
    return row.together.empty() || std::ranges::any_of(failed, [&](const Call& call) {
               return contains(row.together, call.function);
           });
}

}  // namespace

std::string prescribedLoss(const std::vector<Call>& failed, const std::string& place) {
    for (const MacsLoss& row : macsLosses()) {
        if (allows(row.loss, failed, place) && failedTogether(row, failed)) {
            return row.loss.reason;
        }
    }
    for (const Record& record : records()) {
        const std::string recordsPlace = place == "record/" + record.path ? "record" : place;
        for (const Loss& loss : record.losses) {
            if (allows(loss, failed, recordsPlace)) {
                return loss.reason;
            }
        }
    }
    return "";
}

}  // namespace tolvaran::tests
