// Loading and saving of the versioned records: one rule for all of them, so that a file that
// cannot be used is treated alike everywhere.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "restore/paths/restore_log.hpp"
#include "restore/support/files.hpp"
#include "restore/support/json.hpp"

namespace tolvaran::record_file {

/// The record in the file, when it decodes and has the expected version. None without a word when
/// there is no readable file; none after logging `badFileMessage` through RestoreLog.warn for
/// everything else.
/// @tparam Record a record with an integer member `version`
template <typename Record>
std::optional<Record> load(const std::string& path, std::int64_t expectedVersion,
                           const std::string& badFileMessage) {
    const std::optional<std::string> content = files::read(path);
    if (!content) {
        return std::nullopt;
    }
    try {
        auto record = json::read<Record>(*content);
        if (record.version == expectedVersion) {
            return record;
        }
    } catch (const json::DecodingError&) {
        // Said below, like a wrong version.
    }
    RestoreLog::warn(badFileMessage);
    return std::nullopt;
}

/// Writes the record with sorted keys, creating the directory. On failure logs through
/// RestoreLog.warn "Failed to encode " + name, or "Failed to write " + name + ": " + the error; the
/// file is then left as it was.
/// @param name what the log calls the file, such as "originals file"
template <typename Record>
void save(const Record& record, const std::string& path, const std::string& name) {
    try {
        files::store(path, json::write(record));
    } catch (const json::EncodingError&) {
        RestoreLog::warn("Failed to encode " + name);
    } catch (const files::Error& error) {
        RestoreLog::warn("Failed to write " + name + ": " + error.what());
    }
}

}  // namespace tolvaran::record_file
