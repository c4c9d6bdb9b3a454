// Reads and writes the records' files by one rule, so that unusable files are treated the same
// everywhere. Main thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "restore/paths/restore_log.hpp"
#include "restore/support/files.hpp"
#include "restore/support/json.hpp"

namespace tolvaran::record_file {

/// What makes a file usable, and what is logged about one that is not.
struct Expectation {
    /// What the record's member `version` must be; none if it does not matter.
    std::optional<std::int64_t> version = {};
    /// The line for RestoreLog.warn; empty to log nothing.
    std::string warning = {};
    /// Whether the reason follows the warning.
    bool withReason = false;
};

namespace detail {

template <typename Record>
void requireVersion(const Record& record, const std::optional<std::int64_t>& version) {
    if constexpr (requires { record.version; }) {
        if (version && record.version != *version) {
            throw json::DecodingError("\"version\": is not " + std::to_string(*version));
        }
    }
}

}  // namespace detail

/// The record in a file's content, as load() gives it.
template <typename Record>
std::optional<Record> decode(std::optional<std::string> content, const Expectation& expected) {
    if (!content) {
        return std::nullopt;
    }
    try {
        std::optional<Record> record = json::read<Record>(*std::move(content));
        detail::requireVersion(*record, expected.version);
        return record;
    } catch (const json::DecodingError& error) {
        if (!expected.warning.empty()) {
            RestoreLog::warn(expected.warning + (expected.withReason ? error.what() : ""));
        }
        return std::nullopt;
    }
}

/// The record in the file. None, silently, if there is no readable file; none, after the
/// expectation's warning, if the file does not hold such a record. The file stays as it is.
template <typename Record>
std::optional<Record> load(const std::string& path, const Expectation& expected) {
    return decode<Record>(files::read(path), expected);
}

/// Writes the record, creating the directory. If that fails the file stays as it was, and
/// RestoreLog.warn gets "Failed to encode " + name, or "Failed to write " + name + ": " + the
/// error.
/// @param name what the log calls the file, such as "originals file"
template <typename Record>
void save(const Record& record, const std::string& path, const std::string& name) {
    try {
        files::writeCreatingDirectory(path, json::write(record));
    } catch (const json::EncodingError&) {
        RestoreLog::warn("Failed to encode " + name);
    } catch (const files::Error& error) {
        RestoreLog::warn("Failed to write " + name + ": " + error.what());
    }
}

/// Changes the record in the file; changes that another process makes at the same time are kept
/// (files::update()). Logs as load() and save() do, except that a failed removal is silent unless
/// another process has changed the record. After a failure the file is as it was.
/// @param name what the log calls the file, such as "originals file"
/// @param alter alters the record that it is given (an empty one if the file holds no usable
///              record) and returns what to do with the file. May be called several times.
/// @return what `alter` returned last
template <typename Record, typename Alter>
files::Change::Kind update(const std::string& path, const Expectation& expected,
                           const std::string& name, Alter alter) {
    using Kind = files::Change::Kind;
    Kind kind = Kind::nothing;
    const auto decide = [&](const std::optional<std::string>& content) -> files::Change {
        auto record = decode<Record>(content, expected).value_or(Record());
        kind = alter(record);
        return {.kind = kind,
                .content = kind == Kind::replacement ? json::write(record) : std::string()};
    };
    try {
        files::update(path, decide);
    } catch (const json::EncodingError&) {
        RestoreLog::warn("Failed to encode " + name);
    } catch (const files::Error& error) {
        if (kind != Kind::removal || error.isChangedByAnother()) {
            RestoreLog::warn("Failed to write " + name + ": " + error.what());
        }
    }
    return kind;
}

}  // namespace tolvaran::record_file
