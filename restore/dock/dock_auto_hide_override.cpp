#include "restore/dock/dock_auto_hide_override.hpp"

#include "platform/private_interfaces.hpp"
#include "restore/dock/formats.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"
#include "restore/support/record_file.hpp"

namespace tolvaran::DockAutoHideOverride {
namespace {

constexpr std::int64_t recordVersion = 1;

}  // namespace

std::string defaultSnapshotPath() {
    return TolvaranPaths::statePath("dock-autohide-pending.json");
}

void markPending(bool restoreTo, const std::string& path) {
    try {
        files::writeCreatingDirectory(
            path, json::write(Snapshot{.version = recordVersion, .restoreTo = restoreTo}));
    } catch (const files::Error&) {
        // The older marker, if any, is still in place.
    }
}

std::optional<bool> pendingRestoreValue(const std::string& path) {
    const auto snapshot = record_file::load<Snapshot>(path, {.version = recordVersion});
    return snapshot ? std::optional(snapshot->restoreTo) : std::nullopt;
}

bool isPending(const std::string& path) {
    return files::exists(path);
}

void clearPending(const std::string& path) {
    files::removeIfPossible(path);
}

bool restoreIfPending(const std::string& path) {
    const files::Recovery recovery(path, files::Recovery::Scope::record);
    const std::optional<bool> value = pendingRestoreValue(path);
    const bool mustChange = value && (CoreDockGetAutoHideEnabled() != 0) != *value;
    if (mustChange) {
        CoreDockSetAutoHideEnabled(*value ? 1 : 0);
        RestoreLog::info(std::string("dock auto-hide restoreIfPending: forced back to ") +
                         (*value ? "true" : "false"));
    }
    if ((value || isPending(path)) && files::removeIfPossible(path)) {
        RestoreLog::info(
            "dock auto-hide restoreIfPending: marker was changed by another process meanwhile and "
            "is left alone");
        return false;
    }
    return mustChange;
}

}  // namespace tolvaran::DockAutoHideOverride
