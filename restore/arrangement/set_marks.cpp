#include "restore/arrangement/set_marks.hpp"

#include <algorithm>
#include <cmath>
#include <set>

#include "restore/arrangement/formats.hpp"
#include "restore/arrangement/id_migration.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"
#include "restore/support/record_file.hpp"
#include "restore/support/text.hpp"

namespace tolvaran {
namespace {

using id_migration::Mapping;
using Kind = files::Change::Kind;
using MarkedArrangements = std::map<std::string, std::vector<MarkedLayout>>;

/// The file of either store of layouts, which differ in the version alone.
using LayoutsOfEitherStore = LayoutSetsFile<0>;

// What all three stores do, whatever their files hold.

std::string nameOf(const SetMarks& marks) {
    return std::string(marks.kind) + "-sets";
}

std::string pathOf(const SetMarks& marks) {
    return TolvaranPaths::statePath(nameOf(marks) + ".json");
}

record_file::Expectation usable(const SetMarks& marks) {
    return {.version = marks.version,
            .warning = nameOf(marks) + " file wrong version/unparseable, treating as empty"};
}

template <typename File>
File loadFile(const SetMarks& marks, const std::string& path) {
    return record_file::load<File>(path, usable(marks)).value_or(File());
}

/// Lets `change` alter the stored record, and does with it what that returns.
template <typename File, typename Change>
Kind update(const SetMarks& marks, const std::string& path, Change change) {
    const auto changeCurrent = [&](File& file) {
        file.version = marks.version;
        return change(file);
    };
    return record_file::update<File>(path, usable(marks), nameOf(marks) + " file", changeCurrent);
}

/// Saves and logs what `migrated` makes of the record, if that differs.
template <typename File, typename Migrated>
void migrate(const SetMarks& marks, const Mapping& mapping, const std::string& path,
             Migrated migrated) {
    const auto change = [&](File& file) {
        const File before = file;
        file = migrated(before);
        return file == before ? Kind::nothing : Kind::replacement;
    };
    if (!mapping.empty() && update<File>(marks, path, change) == Kind::replacement) {
        RestoreLog::info(std::string("Migrated ") + marks.kind +
                         "-set signatures: " + text::describe(mapping));
    }
}

std::vector<std::string> migratedSignatures(const std::vector<std::string>& stored,
                                            const Mapping& mapping) {
    std::vector<std::string> result;
    std::set<std::string> seen;
    for (const std::string& signature : stored) {
        std::string renamed = id_migration::renamedSignature(signature, mapping);
        if (seen.insert(renamed).second) {
            result.push_back(std::move(renamed));
        }
    }
    return result;
}

/// The key of renamed layouts. It is formed from the entries if the old one was, since a signature
/// with a comma inside an ID cannot be split.
std::string renamedKey(const std::string& signature, const std::vector<MarkedLayout>& layouts,
                       const Mapping& mapping) {
    const auto formed = std::ranges::find(layouts, signature, id_migration::signatureOf);
    return formed == layouts.end()
               ? id_migration::renamedSignature(signature, mapping)
               : id_migration::signatureOf(id_migration::renamedEntries(*formed, mapping));
}

MarkedArrangements migratedArrangements(const MarkedArrangements& stored, const Mapping& mapping) {
    MarkedArrangements result;
    for (const auto& [signature, layouts] : stored) {
        std::vector<MarkedLayout> renamed;
        for (const MarkedLayout& layout : layouts) {
            renamed.push_back(id_migration::renamedEntries(layout, mapping));
        }
        result.try_emplace(renamedKey(signature, layouts, mapping), std::move(renamed));
    }
    return result;
}

bool matches(const MarkedLayout& layout, const std::map<std::string, CGPoint>& origins) {
    const auto isInPlace = [&](const OriginalsEntry& entry) {
        const auto origin = origins.find(entry.uuid);
        return origin != origins.end() &&
               std::abs(origin->second.x - entry.x) <= LayoutSets::matchTolerance &&
               std::abs(origin->second.y - entry.y) <= LayoutSets::matchTolerance;
    };
    return !layout.empty() && std::all_of(layout.begin(), layout.end(), isInPlace);
}

bool matchesAny(const std::vector<MarkedLayout>& layouts,
                const std::map<std::string, CGPoint>& origins) {
    return std::any_of(layouts.begin(), layouts.end(),
                       [&](const MarkedLayout& layout) { return matches(layout, origins); });
}

}  // namespace

namespace SeparatedSetsStore {

std::string defaultPath() {
    return pathOf(separatedSets);
}

std::vector<std::string> signatures(const std::string& path) {
    return loadFile<SeparatedSetsFile>(separatedSets, path).signatures;
}

void markSeparated(const std::string& signature, const std::string& path) {
    if (signature.empty()) {
        return;
    }
    update<SeparatedSetsFile>(separatedSets, path, [&](SeparatedSetsFile& file) {
        auto& list = file.signatures;
        const bool isNew = std::find(list.begin(), list.end(), signature) == list.end();
        if (isNew) {
            list.push_back(signature);
        }
        return isNew ? Kind::replacement : Kind::reliedOn;
    });
}

void clearSeparated(const std::string& signature, const std::string& path) {
    update<SeparatedSetsFile>(separatedSets, path, [&](SeparatedSetsFile& file) {
        return std::erase(file.signatures, signature) > 0 ? Kind::replacement : Kind::nothing;
    });
}

void migrateCanonicalIDs(const Mapping& mapping, const std::string& path) {
    migrate<SeparatedSetsFile>(
        separatedSets, mapping, path, [&](const SeparatedSetsFile& file) -> SeparatedSetsFile {
            return {.signatures = migratedSignatures(file.signatures, mapping)};
        });
}

}  // namespace SeparatedSetsStore

namespace LayoutSets {

std::string defaultPath(const SetMarks& marks) {
    return pathOf(marks);
}

MarkedArrangements load(const SetMarks& marks, const std::string& path) {
    return loadFile<LayoutsOfEitherStore>(marks, path).arrangements;
}

std::vector<std::string> signatures(const SetMarks& marks, const std::string& path) {
    std::vector<std::string> result;
    for (const auto& [signature, layouts] : load(marks, path)) {
        result.push_back(signature);
    }
    return result;
}

std::vector<MarkedLayout> candidates(const SetMarks& marks, const std::string& signature,
                                     const std::string& path) {
    const MarkedArrangements arrangements = load(marks, path);
    const auto found = arrangements.find(signature);
    return found == arrangements.end() ? std::vector<MarkedLayout>() : found->second;
}

void premark(const SetMarks& marks, const std::string& signature,
             const MarkedLayout& plannedEntries, const std::string& path) {
    if (signature.empty() || plannedEntries.empty()) {
        return;
    }
    update<LayoutsOfEitherStore>(marks, path, [&](LayoutsOfEitherStore& file) {
        auto& layouts = file.arrangements[signature];
        const bool isNew =
            std::find(layouts.begin(), layouts.end(), plannedEntries) == layouts.end();
        if (isNew) {
            layouts.push_back(plannedEntries);
        }
        return isNew ? Kind::replacement : Kind::reliedOn;
    });
}

void mark(const SetMarks& marks, const std::string& signature, const MarkedLayout& entries,
          const std::string& path) {
    if (!entries.empty()) {
        restoreCandidates(marks, signature, {entries}, path);
    }
}

void restoreCandidates(const SetMarks& marks, const std::string& signature,
                       const std::vector<MarkedLayout>& candidates, const std::string& path) {
    if (signature.empty()) {
        return;
    }
    if (candidates.empty()) {
        clear(marks, signature, path);
        return;
    }
    update<LayoutsOfEitherStore>(marks, path, [&](LayoutsOfEitherStore& file) {
        file.arrangements[signature] = candidates;
        return Kind::replacement;
    });
}

void clear(const SetMarks& marks, const std::string& signature, const std::string& path) {
    update<LayoutsOfEitherStore>(marks, path, [&](LayoutsOfEitherStore& file) {
        return file.arrangements.erase(signature) > 0 ? Kind::replacement : Kind::nothing;
    });
}

void migrateCanonicalIDs(const SetMarks& marks, const Mapping& mapping, const std::string& path) {
    migrate<LayoutsOfEitherStore>(marks, mapping, path, [&](LayoutsOfEitherStore file) {
        file.arrangements = migratedArrangements(file.arrangements, mapping);
        return file;
    });
}

MarkFinding find(const SetMarks& marks, const std::string& signature,
                 const std::map<std::string, CGPoint>& currentOriginsByUUID,
                 const std::string& path) {
    const MarkedArrangements arrangements = load(marks, path);
    const auto marked = arrangements.find(signature);
    if (marked == arrangements.end()) {
        return {};
    }
    return {.isMarked = true, .isInForce = matchesAny(marked->second, currentOriginsByUUID)};
}

}  // namespace LayoutSets
}  // namespace tolvaran
