// The displays' part of a description.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/describe/section.hpp"

namespace tolvaran::describe {

/// The active displays in the window server's listing order; none if it cannot list them all.
std::optional<std::vector<CGDirectDisplayID>> listedDisplays();

/// What is known about one display.
/// @param section an empty section at the display's place in the description
nlohmann::json describeDisplay(CGDirectDisplayID display, Section section);

/// Whether the text is a UUID in its standard 8-4-4-4-12 form.
bool isUUID(const std::string& text);

}  // namespace tolvaran::describe
