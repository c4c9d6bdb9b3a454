#include "restore/arrangement/active_displays.hpp"

#include <algorithm>

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

std::vector<std::string> displayUUIDs(const std::vector<CGDirectDisplayID>& displays) {
    std::vector<std::string> uuids;
    for (const CGDirectDisplayID display : displays) {
        uuids.push_back(displayUUID(display, displays));
    }
    return uuids;
}

std::vector<std::string> canonicalIDs(const std::vector<std::string>& uuids,
                                      const AliasMap& aliases) {
    std::vector<std::string> ids;
    for (const std::string& uuid : uuids) {
        ids.push_back(aliases.canonicalID(uuid));
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
