#include "restore/modes/resolution_restore.hpp"

#include <optional>
#include <vector>

#include "restore/arrangement/named_displays.hpp"
#include "restore/modes/display_mode_control.hpp"
#include "restore/modes/resolution_originals_store.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/support/files.hpp"

namespace tolvaran::ResolutionRestore {
namespace {

/// Compares the rate literally: a rate of 0 is not a wildcard here.
bool shows(CGDirectDisplayID displayID, const DisplayModeSpec& spec) {
    const std::optional<DisplayModeDescriptor> current = DisplayModeControl::currentMode(displayID);
    return current && current->spec() == spec;
}

/// Switches the display to the mode and logs the result.
bool switchMode(const std::string& key, const DisplayModeSpec& spec, CGDirectDisplayID displayID) {
    const std::optional<DisplayModeDescriptor> match =
        DisplayModeControl::exactMatch(spec, DisplayModeControl::modes(displayID));
    if (!match) {
        RestoreLog::warn("resolution restore: no exact mode " + spec.displayString() + " for " +
                         key + "; keeping entry");
        return false;
    }
    if (!DisplayModeControl::apply(match->modeNum, displayID)) {
        RestoreLog::warn("resolution restore: apply failed for " + key + " " +
                         spec.displayString() + "; keeping entry");
        return false;
    }
    RestoreLog::info("resolution restore: " + key + " -> " + spec.displayString());
    return true;
}

/// Whether another process has changed the records since the recovery in progress began, which is
/// logged: they may then be of changes that are still to be made.
bool haveRecordsChanged(const std::string& path, const std::string& key) {
    const bool haveChanged = files::isChangedByAnother(path);
    if (haveChanged) {
        RestoreLog::info(
            "resolution restore: the records were changed by another process meanwhile; keeping "
            "entry for " +
            key);
    }
    return haveChanged;
}

}  // namespace

std::int64_t restorePending(const std::map<std::string, CGDirectDisplayID>& idByCanonicalUUID,
                            const std::string& path) {
    std::int64_t count = 0;
    for (const auto& [key, spec] : ResolutionOriginalsStore::pendingEntries(path)) {
        const auto display = idByCanonicalUUID.find(key);
        if (display == idByCanonicalUUID.end()) {
            continue;
        }
        if (haveRecordsChanged(path, key)) {
            continue;
        }
        const bool alreadyShown = shows(display->second, spec);
        const bool applied = !alreadyShown && switchMode(key, spec, display->second);
        if ((alreadyShown || applied) && !haveRecordsChanged(path, key)) {
            // Starts from the file as it is now: the main application may have added or cleared
            // records since it was read above, and those changes must stay.
            ResolutionOriginalsStore::clear(key, path);
        }
        count += applied ? 1 : 0;
    }
    return count;
}

std::int64_t restorePendingUsingSystemDisplays(const std::string& path) {
    if (ResolutionOriginalsStore::pendingEntries(path).empty()) {
        return 0;
    }
    const auto named = namedDisplays(activeDisplays(), AliasLoading::beforeNaming);
    return restorePending(displaysByCanonicalID(named), path);
}

}  // namespace tolvaran::ResolutionRestore
