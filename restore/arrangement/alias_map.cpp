#include "restore/arrangement/alias_map.hpp"

#include <algorithm>

#include "restore/arrangement/formats.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/record_file.hpp"

namespace tolvaran {

std::string AliasMap::defaultPreferencesPath() {
    return TolvaranPaths::profilePath("preferences.json");
}

AliasMap AliasMap::load(const std::string& path) {
    return record_file::load<AliasMap>(
               path,
               {.warning = "AliasMap: preferences.json unparseable, falling back to identity"})
        .value_or(AliasMap());
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
