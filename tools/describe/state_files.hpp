// The files that the helper reads, as a scenario's `files` has them.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "tools/describe/section.hpp"

namespace tolvaran::describe {

/// Which of the main application's settings a report holds.
enum class Settings { thoseRead, all };

/// Every file in the state directory and the main application's settings, by the path that a
/// scenario gives it. Content that JSON cannot hold byte by byte stands as {"$data": BASE64}.
///
/// Of the settings only what the helper reads is there, unless all are asked for. Settings that the
/// helper cannot read are then replaced by a text that it cannot read either.
/// @param notes takes a line for each file that is left out or replaced
nlohmann::json stateFiles(Settings settings, Notes& notes);

/// A file's content as a scenario has it, from which exactly these bytes are written.
nlohmann::json contentForm(std::string_view bytes);

}  // namespace tolvaran::describe
