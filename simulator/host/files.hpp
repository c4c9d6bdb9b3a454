// The files in the simulated Mac's application-support directory, as scenarios name them: by a path
// relative to that directory. They are on the host's disk, in the directory that the environment
// variable TOLVARAN_APPLICATION_SUPPORT_DIR names. No faults meet this access.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "simulator/machine/json_reader.hpp"

namespace simulator {

/// Reads a relative path that stays below its directory.
/// @throws std::invalid_argument naming the key, if it is not one
std::string readFilePath(const JsonReader& path);

/// Fails if the content is {"$data": BASE64} with invalid base64.
/// @throws std::invalid_argument naming the key
void checkFileContent(const JsonReader& content);

/// Writes a file, creating its directories: a string as it is, {"$data": BASE64} as the bytes it
/// encodes, anything else as JSON.
/// @throws std::runtime_error if the host refuses, or the variable is not set
void writeStateFile(const std::string& path, const nlohmann::json& content);

/// Removes a file.
/// @throws std::runtime_error if there is none, the host refuses, or the variable is not set
void removeStateFile(const std::string& path);

/// Every file below the directory by its path, as JSON if it parses and is not nested too deeply,
/// else as a string (bytes that are not UTF-8 replaced by U+FFFD).
/// @param except a directory whose files are left out; it need not be below
nlohmann::json stateFiles(const std::string& except);

}  // namespace simulator
