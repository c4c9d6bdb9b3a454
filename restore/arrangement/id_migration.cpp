#include "restore/arrangement/id_migration.hpp"

#include <set>

#include "restore/arrangement/zigzag.hpp"

namespace tolvaran::id_migration {
namespace {

const std::string& renamed(const std::string& id, const Mapping& mapping) {
    const auto found = mapping.find(id);
    return found == mapping.end() ? id : found->second;
}

}  // namespace

std::vector<OriginalsEntry> renamedEntries(const std::vector<OriginalsEntry>& stored,
                                           const Mapping& mapping) {
    std::vector<OriginalsEntry> result;
    std::set<std::string> seen;
    for (const OriginalsEntry& entry : stored) {
        const std::string& uuid = renamed(entry.uuid, mapping);
        if (seen.insert(uuid).second) {
            result.push_back({.uuid = uuid, .x = entry.x, .y = entry.y});
        }
    }
    return result;
}

std::string signatureOf(const std::vector<OriginalsEntry>& entries) {
    std::vector<std::string> ids;
    for (const OriginalsEntry& entry : entries) {
        ids.push_back(entry.uuid);
    }
    return Zigzag::signature(std::move(ids));
}

std::string renamedSignature(const std::string& stored, const Mapping& mapping) {
    std::set<std::string> ids;
    std::size_t begin = 0;
    for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
        end = stored.find(',', begin);
        ids.insert(renamed(stored.substr(begin, end - begin), mapping));
    }
    return Zigzag::signature({ids.begin(), ids.end()});
}

}  // namespace tolvaran::id_migration
