#include "restore/modes/resolution_originals_store.hpp"

#include <optional>
#include <utility>

#include "restore/modes/formats.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"
#include "restore/support/record_file.hpp"

namespace tolvaran::ResolutionOriginalsStore {
namespace {

using Kind = files::Change::Kind;

record_file::Expectation usable() {
    return {
        .version = fileVersion,
        .warning = "resolution originals file missing/wrong version/unparseable, starting fresh"};
}

void dropInvalidEntries(ResolutionOriginalsFile& file) {
    std::erase_if(file.entries, [](const auto& entry) { return !entry.second.isValid(); });
}

/// @param alter alters the entries and returns what to do with the file
template <typename Alter>
void update(const std::string& path, Alter alter) {
    record_file::update<ResolutionOriginalsFile>(path, usable(), "resolution originals file",
                                                 [&](ResolutionOriginalsFile& file) {
                                                     dropInvalidEntries(file);
                                                     return alter(file.entries);
                                                 });
}

}  // namespace

std::string defaultPath() {
    return TolvaranPaths::statePath(".resolution-originals");
}

ResolutionOriginalsFile load(const std::string& path) {
    std::optional<ResolutionOriginalsFile> file =
        record_file::load<ResolutionOriginalsFile>(path, usable());
    if (!file) {
        return {.version = fileVersion, .entries = {}};
    }
    dropInvalidEntries(*file);
    return *std::move(file);
}

void save(const ResolutionOriginalsFile& file, const std::string& path) {
    if (file.entries.empty()) {
        files::removeIfPossible(path);
    } else {
        record_file::save(file, path, "resolution originals file");
    }
}

void recordIfAbsent(const std::string& uuid, const DisplayModeSpec& spec, const std::string& path) {
    update(path, [&](auto& entries) {
        return entries.emplace(uuid, spec).second ? Kind::replacement : Kind::reliedOn;
    });
}

void clear(const std::string& uuid, const std::string& path) {
    update(path, [&](auto& entries) {
        if (entries.erase(uuid) == 0) {
            return Kind::nothing;
        }
        return entries.empty() ? Kind::removal : Kind::replacement;
    });
}

std::map<std::string, DisplayModeSpec> pendingEntries(const std::string& path) {
    return load(path).entries;
}

}  // namespace tolvaran::ResolutionOriginalsStore
