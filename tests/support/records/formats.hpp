// What the design demands of each kind of file, for the rows of records.cpp.
#pragma once

#include <nlohmann/json.hpp>

namespace tolvaran::tests::formats {

bool isOriginals(const nlohmann::json& value);
bool isResolutionOriginals(const nlohmann::json& value);
bool isSeparatedSets(const nlohmann::json& value);
bool isSidePinnedSets(const nlohmann::json& value);
bool isNativeMirroredSets(const nlohmann::json& value);
bool isMenuBarSnapshot(const nlohmann::json& value);
bool isCornerSnapshot(const nlohmann::json& value);
bool isDockMarker(const nlohmann::json& value);
bool isPreferences(const nlohmann::json& value);

}  // namespace tolvaran::tests::formats
