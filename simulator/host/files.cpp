#include "simulator/host/files.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

#include "simulator/core_foundation/base64.hpp"
#include "simulator/machine/readable_text.hpp"

namespace simulator {
namespace {

namespace fs = std::filesystem;

fs::path root() {
    const char* const directory = std::getenv("TOLVARAN_APPLICATION_SUPPORT_DIR");
    if (directory == nullptr || *directory == '\0') {
        throw std::runtime_error("TOLVARAN_APPLICATION_SUPPORT_DIR does not name a directory");
    }
    return directory;
}

/// Nothing if the file cannot be read.
std::string bytesAt(const fs::path& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                               &std::fclose);
    std::string bytes;
    std::array<char, 4096> buffer;
    for (std::size_t read = 1; file != nullptr && read > 0;) {
        read = std::fread(buffer.data(), 1, buffer.size(), file.get());
        bytes.append(buffer.data(), read);
    }
    return bytes;
}

nlohmann::json contentOf(const fs::path& path) {
    const std::string bytes = bytesAt(path);
    if (isNestedTooDeeply(bytes)) {
        return readableText(bytes);
    }
    nlohmann::json parsed = nlohmann::json::parse(bytes, nullptr, false);
    return parsed.is_discarded() ? nlohmann::json(readableText(bytes)) : parsed;
}

constexpr const char* dataKey = "$data";

bool isData(const nlohmann::json& content) {
    return content.is_object() && content.size() == 1 && content.contains(dataKey) &&
           content[dataKey].is_string();
}

std::string bytesOf(const nlohmann::json& content) {
    if (isData(content)) {
        return cf::base64Decoded(content[dataKey].get<std::string>());
    }
    return content.is_string() ? content.get<std::string>() : content.dump();
}

}  // namespace

void checkFileContent(const JsonReader& content) {
    try {
        if (isData(content.value())) {
            bytesOf(content.value());
        }
    } catch (const std::invalid_argument&) {
        content.fail("must be base64");
    }
}

std::string readFilePath(const JsonReader& path) {
    const fs::path relative = path.text();
    const bool climbs = std::find(relative.begin(), relative.end(), "..") != relative.end();
    if (!relative.has_filename() || relative.is_absolute() || climbs) {
        path.fail("must be a path relative to the application-support directory, and below it");
    }
    return relative;
}

void writeStateFile(const std::string& path, const nlohmann::json& content) {
    const fs::path target = root() / path;
    fs::create_directories(target.parent_path());
    std::ofstream file(target, std::ios::binary | std::ios::trunc);
    file << bytesOf(content);
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + target.string());
    }
}

void removeStateFile(const std::string& path) {
    const fs::path target = root() / path;
    if (!fs::remove(target)) {
        throw std::runtime_error("there is no file " + target.string());
    }
}

nlohmann::json stateFiles(const std::string& except) {
    nlohmann::json files = nlohmann::json::object();
    const fs::path directory = root();
    if (!fs::is_directory(directory)) {
        return files;
    }
    fs::recursive_directory_iterator entry(directory);
    for (; entry != fs::recursive_directory_iterator(); ++entry) {
        if (entry->is_directory() && entry->path() == fs::path(except)) {
            entry.disable_recursion_pending();
        } else if (entry->is_regular_file()) {
            files[readableText(entry->path().lexically_relative(directory).string())] =
                contentOf(entry->path());
        }
    }
    return files;
}

}  // namespace simulator
