#include "restore/arrangement/originals_store.hpp"

#include <utility>

#include "restore/arrangement/formats.hpp"
#include "restore/arrangement/id_migration.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"
#include "restore/support/record_file.hpp"
#include "restore/support/text.hpp"

namespace tolvaran::OriginalsStore {
namespace {

using Arrangements = decltype(OriginalsFile::arrangements);
using Kind = files::Change::Kind;

constexpr const char* recordName = "originals file";
record_file::Expectation usable() {
    return {.version = fileVersion,
            .warning = "originals file missing/wrong version/unparseable, starting fresh"};
}

Arrangements migrated(const Arrangements& stored,
                      const std::map<std::string, std::string>& mapping) {
    Arrangements result;
    for (const auto& [signature, entries] : stored) {
        auto kept = id_migration::renamedEntries(entries, mapping);
        if (!kept.empty()) {
            const std::string newSignature = id_migration::signatureOf(kept);
            result.try_emplace(newSignature, std::move(kept));
        }
    }
    return result;
}

}  // namespace

std::string defaultPath() {
    return TolvaranPaths::statePath(".display-originals");
}

OriginalsFile load(const std::string& path) {
    return record_file::load<OriginalsFile>(path, usable()).value_or(OriginalsFile());
}

void save(const OriginalsFile& file, const std::string& path) {
    record_file::save(file, path, recordName);
}

void saveArrangement(const std::string& signature, const std::vector<OriginalsEntry>& entries,
                     const std::string& path) {
    record_file::update<OriginalsFile>(path, usable(), recordName, [&](OriginalsFile& file) {
        const auto [saved, isNew] = file.arrangements.try_emplace(signature, entries);
        if (!isNew && saved->second == entries) {
            return Kind::reliedOn;
        }
        saved->second = entries;
        return Kind::replacement;
    });
}

void migrateUUIDs(const std::map<std::string, std::string>& mapping, const std::string& path) {
    if (mapping.empty()) {
        return;
    }
    const auto migrate = [&](OriginalsFile& file) {
        Arrangements renamed = migrated(file.arrangements, mapping);
        const bool isChanged = renamed != file.arrangements;
        file.arrangements = std::move(renamed);
        return isChanged ? Kind::replacement : Kind::nothing;
    };
    if (record_file::update<OriginalsFile>(path, usable(), recordName, migrate) !=
        Kind::replacement) {
        return;
    }
    RestoreLog::info("Migrated originals UUIDs: " + text::describe(mapping));
}

}  // namespace tolvaran::OriginalsStore
