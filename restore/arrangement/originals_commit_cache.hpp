// Which originals the main application has taken: those on disk, and those that it holds only in
// memory. The restore itself does not need this.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "restore/arrangement/originals_store.hpp"

namespace tolvaran {

/// Empty at first.
class OriginalsCommitCache {
  public:
    /// Signatures whose arrangement is committed, on disk or in memory.
    std::set<std::string> committedSignatures;

    bool operator==(const OriginalsCommitCache&) const = default;

    /// Whether the signature's arrangement is committed.
    bool isCommitted(const std::string& signature) const;

    /// The signature's entries if they are held only in memory; none otherwise.
    std::optional<std::vector<OriginalsEntry>> volatileEntries(const std::string& signature) const;

    /// The signature's arrangement is now on disk; entries in memory are dropped.
    void commit(const std::string& signature);

    /// The signature's arrangement counts as committed, but is in memory only. Replaces earlier
    /// entries of the signature.
    void commitVolatile(const std::string& signature, std::vector<OriginalsEntry> entries);

    /// Empties the cache.
    void forget();

  private:
    std::map<std::string, std::vector<OriginalsEntry>> volatileBySignature;
};

}  // namespace tolvaran
