// The one string that names a set of displays: the key of every saved arrangement and set mark.
#pragma once

#include <string>
#include <vector>

namespace tolvaran::Zigzag {

/// The canonical IDs in ascending byte order, duplicates kept, joined with ",". It names the set
/// only, not where the displays stand nor in which order they were listed.
std::string signature(std::vector<std::string> canonicalIDs);

}  // namespace tolvaran::Zigzag
