// JSON from files and for files: read without trust, written for people.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace tolvaran::describe {

/// The document; none for text that is not JSON or is nested deeper than a scenario may be.
std::optional<nlohmann::json> parsed(std::string_view text);

/// The value with each list or object of single values on one line: a display has hundreds of
/// modes, and one line for each is enough. Lists of texts have a line for each text.
std::string written(const nlohmann::json& value);

}  // namespace tolvaran::describe
