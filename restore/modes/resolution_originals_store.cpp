#include "restore/modes/resolution_originals_store.hpp"

#include <optional>
#include <utility>

#include "restore/modes/formats.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"
#include "restore/support/record_file.hpp"

namespace tolvaran {

namespace ResolutionOriginalsStore {

std::string defaultPath() {
    return TolvaranPaths::statePath(".resolution-originals");
}

ResolutionOriginalsFile load(const std::string& path) {
    std::optional<ResolutionOriginalsFile> file = record_file::load<ResolutionOriginalsFile>(
        path,
        {.version = fileVersion,
         .warning = "resolution originals file missing/wrong version/unparseable, starting fresh"});
    if (!file) {
        return {.version = fileVersion, .entries = {}};
    }
    std::erase_if(file->entries, [](const auto& entry) { return !entry.second.isValid(); });
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
    ResolutionOriginalsFile file = load(path);
    if (file.entries.emplace(uuid, spec).second) {
        save(file, path);
    }
}

void clear(const std::string& uuid, const std::string& path) {
    ResolutionOriginalsFile file = load(path);
    if (file.entries.erase(uuid) > 0) {
        save(file, path);
    }
}

std::map<std::string, DisplayModeSpec> pendingEntries(const std::string& path) {
    return load(path).entries;
}

}  // namespace ResolutionOriginalsStore
}  // namespace tolvaran
