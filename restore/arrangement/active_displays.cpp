#include "restore/arrangement/active_displays.hpp"

#include <algorithm>

#include "restore/arrangement/alias_map.hpp"
#include "restore/arrangement/display_identity.hpp"

namespace tolvaran {

std::vector<CGDirectDisplayID> activeDisplays(std::uint32_t limit) {
    std::vector<CGDirectDisplayID> displays(limit);
    std::uint32_t count = 0;
    if (CGGetActiveDisplayList(limit, displays.data(), &count) != kCGErrorSuccess) {
        return {};
    }
    displays.resize(std::min(count, limit));
    return displays;
}

std::vector<std::string> canonicalIDs(const std::vector<CGDirectDisplayID>& displays) {
    const AliasMap aliases = AliasMap::load(AliasMap::defaultPreferencesPath());
    std::vector<std::string> ids;
    for (const CGDirectDisplayID display : displays) {
        ids.push_back(aliases.canonicalID(displayUUID(display, displays)));
    }
    return ids;
}

std::map<std::string, CGDirectDisplayID> displaysByCanonicalID(
    const std::vector<CGDirectDisplayID>& displays, const std::vector<std::string>& ids) {
    std::map<std::string, CGDirectDisplayID> result;
    for (std::size_t i = 0; i < displays.size(); ++i) {
        result[ids[i]] = displays[i];
    }
    return result;
}

}  // namespace tolvaran
