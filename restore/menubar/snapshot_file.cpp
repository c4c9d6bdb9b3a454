#include "restore/menubar/formats.hpp"
#include "restore/menubar/menu_bar_autohide.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"
#include "restore/support/record_file.hpp"

namespace tolvaran::MenuBarAutohide {
namespace {

/// Does something with a file; on failure logs `complaint` and the error.
template <typename Action>
bool attempt(const std::string& complaint, Action action) {
    try {
        action();
        return true;
    } catch (const files::Error& error) {
        RestoreLog::warn(complaint + error.what());
        return false;
    }
}

std::optional<std::string> encoded(const MenuBarAutohideSnapshot& snapshot) {
    try {
        return json::write(snapshot);
    } catch (const json::EncodingError&) {
        RestoreLog::warn("Failed to encode menu bar snapshot");
        return std::nullopt;
    }
}

}  // namespace

std::string defaultSnapshotPath() {
    return TolvaranPaths::statePath("menubar-state.json");
}

std::optional<MenuBarAutohideSnapshot> loadSnapshot(const std::string& path) {
    return record_file::load<MenuBarAutohideSnapshot>(
        path,
        {.warning = "menu bar snapshot at " + path + " failed to decode: ", .withReason = true});
}

bool saveSnapshot(const MenuBarAutohideSnapshot& snapshot, const std::string& path) {
    const std::optional<std::string> content = encoded(snapshot);
    return content &&
           attempt("Failed to create menu bar snapshot directory: ",
                   [&] { files::createParentDirectory(path); }) &&
           attempt("Failed to write menu bar snapshot: ",
                   [&] { files::writeAtomically(path, *content); });
}

bool deleteSnapshot(const std::string& path) {
    return attempt("menu bar snapshot at " + path + " could not be deleted: ", [&] {
        try {
            files::remove(path);
        } catch (const files::Error& error) {
            if (!error.isNoSuchFile()) {
                throw;
            }
        }
    });
}

}  // namespace tolvaran::MenuBarAutohide
