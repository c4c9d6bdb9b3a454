// The files that the helper reads, in the form of a scenario's `files`.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "tools/describe/section.hpp"

namespace tolvaran::describe {

/// Which of the main application's settings a report contains.
enum class Settings { thoseRead, all };

/// Every file in the state directory and the main application's settings, by its path in a
/// scenario. Content that JSON cannot hold exactly becomes {"$data": BASE64}.
///
/// Unless all settings are asked for, only what the helper reads is included, and settings that the
/// helper cannot read are replaced by a text that it cannot read either.
/// @param notes takes a line for each file that is left out or replaced
nlohmann::json stateFiles(Settings settings, Notes& notes);

/// A file's content in a scenario's form, from which exactly these bytes are written.
nlohmann::json contentForm(std::string_view bytes);

}  // namespace tolvaran::describe
