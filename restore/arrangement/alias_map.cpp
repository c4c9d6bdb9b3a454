#include "restore/arrangement/alias_map.hpp"

#include <algorithm>

#include "restore/paths/restore_log.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"

namespace tolvaran {

AliasMap::Entry AliasMap::Entry::fromJSON(const json::Value& value) {
    return {.ids = json::Fields(value).required<std::vector<std::string>>("ids")};
}

AliasMap AliasMap::fromJSON(const json::Value& value) {
    return {.entries = json::Fields(value)
                           .optional<std::vector<Entry>>("knownDisplays")
                           .value_or(std::vector<Entry>())};
}

std::string AliasMap::defaultPreferencesPath() {
    return TolvaranPaths::profilePath("preferences.json");
}

AliasMap AliasMap::load(const std::string& path) {
    const std::optional<std::string> content = files::read(path);
    if (!content) {
        return {};
    }
    try {
        return json::read<AliasMap>(*content);
    } catch (const json::DecodingError&) {
        RestoreLog::warn("AliasMap: preferences.json unparseable, falling back to identity");
        return {};
    }
}

std::string AliasMap::canonicalID(const std::string& id) const {
    for (const Entry& entry : entries) {
        if (std::find(entry.ids.begin(), entry.ids.end(), id) != entry.ids.end()) {
            return entry.ids.front();
        }
    }
    return id;
}

}  // namespace tolvaran
