#include "tools/describe/state_files.hpp"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

#include "report/text.hpp"
#include "restore/arrangement/alias_map.hpp"
#include "restore/arrangement/formats.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"
#include "restore/support/json.hpp"
#include "tools/describe/base64.hpp"
#include "tools/describe/json_text.hpp"

namespace tolvaran::describe {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr std::uintmax_t largest = 8 * 1024 * 1024;  // bytes; a record has a few thousand
constexpr const char* settingsPath = "Settings/preferences.json";
constexpr const char* unreadableSettings = "{";

bool isUTF8(std::string_view bytes) {
    return simulator::report::utf8(simulator::report::codePoints(bytes)) == bytes;
}

/// Whether a scenario would take the value literally.
bool standsForItself(const json& value) {
    const bool looksLikeData = value.is_object() && value.size() == 1 && value.contains("$data");
    return !value.is_string() && !looksLikeData;
}

void putFile(const fs::path& file, const std::string& path, Section& files) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    if (!error && size > largest) {
        files.leaveOut(path, "it has " + std::to_string(size) + " bytes");
        return;
    }
    const std::optional<std::string> bytes = files::read(file.string());
    if (bytes) {
        files.put(path, contentForm(*bytes));
    } else {
        files.leaveOut(path, "it cannot be read");
    }
}

void putDirectory(const fs::path& directory, Section& files) {
    std::error_code error;
    fs::recursive_directory_iterator entry(directory, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        const std::string path =
            "State/" + entry->path().lexically_relative(directory).generic_string();
        std::error_code ignored;
        if (!entry->is_directory(ignored)) {
            putFile(entry->path(), path, files);
        } else if (fs::is_empty(entry->path(), ignored)) {
            files.leaveOut(path, "it is an empty directory");
        }
    }
    if (error) {
        files.leaveOut("State", error.message());
    }
}

void putState(Section& files) {
    const fs::path directory = TolvaranPaths::stateDir();
    std::error_code ignored;
    if (fs::is_directory(directory, ignored)) {
        putDirectory(directory, files);
    } else if (fs::exists(directory, ignored)) {
        putFile(directory, "State", files);
    }
}

/// The aliases that the helper reads from settings; none if it cannot read them.
std::optional<AliasMap> aliasesIn(const std::string& settings) {
    try {
        return tolvaran::json::read<AliasMap>(settings);
    } catch (const tolvaran::json::DecodingError&) {
        return std::nullopt;
    }
}

/// Only what the helper reads.
json reducedSettings(const json& settings) {
    json reduced = json::object();
    if (!settings.is_object() || !settings.contains("knownDisplays")) {
        return reduced;
    }
    reduced["knownDisplays"] = settings["knownDisplays"];
    if (!reduced["knownDisplays"].is_array()) {
        return reduced;
    }
    for (json& display : reduced["knownDisplays"]) {
        if (display.is_object()) {
            display = display.contains("ids") ? json{{"ids", display["ids"]}} : json::object();
        }
    }
    return reduced;
}

void putReadSettings(const std::string& bytes, Section& files) {
    const std::optional<json> settings = parsed(bytes);
    const json reduced = settings ? reducedSettings(*settings) : json();
    const std::optional<AliasMap> aliases = aliasesIn(bytes);
    if (aliases && aliasesIn(reduced.dump()) == aliases) {
        files.put(settingsPath, reduced);
    } else {
        files.put(settingsPath, unreadableSettings);
        files.note(settingsPath, "is replaced: the helper cannot read it");
    }
}

void putSettings(Settings settings, Section& files) {
    const std::string path = TolvaranPaths::profilePath("preferences.json");
    if (settings == Settings::all) {
        std::error_code ignored;
        if (fs::exists(path, ignored)) {
            putFile(path, settingsPath, files);
        }
    } else if (const auto bytes = files::read(path)) {
        putReadSettings(*bytes, files);
    }
}

}  // namespace

json contentForm(std::string_view bytes) {
    const std::optional<json> value = parsed(bytes);
    if (value && standsForItself(*value) &&
        value->dump(-1, ' ', false, json::error_handler_t::replace) == bytes) {
        return *value;
    }
    return isUTF8(bytes) ? json(bytes) : json{{"$data", base64(bytes)}};
}

json stateFiles(Settings settings, Notes& notes) {
    Section files("files", notes);
    putState(files);
    putSettings(settings, files);
    return files.object();
}

}  // namespace tolvaran::describe
