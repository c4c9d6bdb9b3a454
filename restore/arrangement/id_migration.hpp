// Renames displays inside saved records, by one rule for all stores: an ID that is a key of the
// mapping becomes its value, every other ID stays, and of duplicates that result the first stays.
// Used by the originals store and the set marks.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "restore/arrangement/originals_store.hpp"

namespace tolvaran::id_migration {

using Mapping = std::map<std::string, std::string>;

/// The entries with renamed displays, each display once.
std::vector<OriginalsEntry> renamedEntries(const std::vector<OriginalsEntry>& stored,
                                           const Mapping& mapping);

/// The signature of the displays that the entries name.
std::string signatureOf(const std::vector<OriginalsEntry>& entries);

/// The signature of the renamed displays that `stored` names, each display once. Only for records
/// without entries: an ID that contains a comma is taken for two.
std::string renamedSignature(const std::string& stored, const Mapping& mapping);

}  // namespace tolvaran::id_migration
