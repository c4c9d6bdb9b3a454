#include "restore/arrangement/originals_commit_cache.hpp"

#include <utility>

namespace tolvaran {

bool OriginalsCommitCache::isCommitted(const std::string& signature) const {
    return committedSignatures.contains(signature);
}

std::optional<std::vector<OriginalsEntry>> OriginalsCommitCache::volatileEntries(
    const std::string& signature) const {
    const auto found = volatileBySignature.find(signature);
    return found == volatileBySignature.end() ? std::nullopt : std::optional(found->second);
}

void OriginalsCommitCache::commit(const std::string& signature) {
    committedSignatures.insert(signature);
    volatileBySignature.erase(signature);
}

void OriginalsCommitCache::commitVolatile(const std::string& signature,
                                          std::vector<OriginalsEntry> entries) {
    committedSignatures.insert(signature);
    volatileBySignature.insert_or_assign(signature, std::move(entries));
}

void OriginalsCommitCache::forget() {
    *this = OriginalsCommitCache();
}

}  // namespace tolvaran
