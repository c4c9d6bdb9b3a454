// Which display UUIDs name the same display, according to the main application. It keeps the list
// in its preferences.json; this system only reads it. Main thread only.
#pragma once

#include <string>
#include <vector>

namespace tolvaran {

/// Folds display UUIDs into canonical display IDs. Without entries every ID stays as it is.
struct AliasMap {
    /// One physical display.
    struct Entry {
        std::vector<std::string> ids;  // its present and former names; the first is canonical

        bool operator==(const Entry&) const = default;
    };

    std::vector<Entry> entries;

    bool operator==(const AliasMap&) const = default;

    /// "preferences.json" in the profile directory.
    static std::string defaultPreferencesPath();

    /// The map in the file; without entries if there is no readable file or, after logging
    /// "AliasMap: preferences.json unparseable, falling back to identity" through RestoreLog.warn,
    /// if the file does not decode.
    static AliasMap load(const std::string& path);

    /// The first ID of the first entry that contains `id`; `id` itself if none does.
    std::string canonicalID(const std::string& id) const;
};

}  // namespace tolvaran
