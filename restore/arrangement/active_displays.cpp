#include "restore/arrangement/active_displays.hpp"

#include <algorithm>

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
