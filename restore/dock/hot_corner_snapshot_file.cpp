#include "restore/dock/hot_corner_snapshot_file.hpp"

#include <utility>

#include "restore/dock/formats.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"
#include "restore/support/record_file.hpp"

namespace tolvaran::DockHotCornerOverride {

OverrideError::OverrideError(Case which, const std::string& description, std::string reason)
    : std::runtime_error(description), which_(which), reason_(std::move(reason)) {}

OverrideError OverrideError::syncFailed() {
    return {Case::syncFailed, "could not sync com.apple.dock prefs after writing wvous-*-corner",
            ""};
}

OverrideError OverrideError::persistenceFailed(const std::string& reason) {
    return {Case::persistenceFailed, "could not persist hot-corner snapshot: " + reason, reason};
}

std::string defaultSnapshotPath() {
    return TolvaranPaths::statePath("hot-corners-snapshot.json");
}

namespace {

/// Does something with the file; a failure is thrown as persistenceFailed.
template <typename Action>
void persist(const std::string& path, Action action) {
    try {
        action();
    } catch (const json::EncodingError& error) {
        throw OverrideError::persistenceFailed(std::string("encode: ") + error.what());
    } catch (const files::Error& error) {
        throw OverrideError::persistenceFailed("write " + path + ": " + error.what());
    }
}

std::optional<DockHotCornerSnapshot> decoded(const std::optional<std::string>& content,
                                             const std::string& path) {
    return record_file::decode<DockHotCornerSnapshot>(
        content,
        {.warning = "hot-corner snapshot at " + path + " failed to decode: ", .withReason = true});
}

}  // namespace

void saveSnapshotOrThrow(const DockHotCornerSnapshot& snapshot, const std::string& path) {
    persist(path, [&] {
        const std::string content = json::write(snapshot);
        files::createParentDirectory(path);
        files::writeAtomically(path, content);
    });
}

void saveSnapshot(const DockHotCornerSnapshot& snapshot, const std::string& path) {
    try {
        saveSnapshotOrThrow(snapshot, path);
    } catch (const OverrideError&) {
        // The older snapshot, if any, is still in place.
    }
}

void ensureSnapshotOrThrow(const DockHotCornerSnapshot& snapshot, const std::string& path,
                           Purpose purpose) {
    using Kind = files::Change::Kind;
    const auto decide = [&](const std::optional<std::string>& content) -> files::Change {
        if (decoded(content, path) == snapshot) {
            return {.kind = purpose == Purpose::suppressing ? Kind::reliedOn : Kind::nothing};
        }
        std::string written = json::write(snapshot);
        files::createParentDirectory(path);
        return {.kind = Kind::replacement, .content = std::move(written)};
    };
    persist(path, [&] { files::update(path, decide); });
}

std::optional<DockHotCornerSnapshot> loadSnapshot(const std::string& path) {
    return decoded(files::read(path), path);
}

void deleteSnapshot(const std::string& path) {
    files::removeIfPossible(path);
}

bool isPending(const std::string& path) {
    return files::exists(path);
}

}  // namespace tolvaran::DockHotCornerOverride
