#include "restore/menubar/menu_bar_matcher.hpp"

#include <compare>

namespace tolvaran {
namespace {

using Record = MenuBarDisplayVisibilityOverride;
using Candidate = MenuBarRestoreCandidate;
using Target = MenuBarRestoreTarget;

/// What a record and a display agree on, from the weakest to the strongest.
enum class Basis {
    port,               // a record without hardware ID on the display's port
    portIsIdentity,     // a record on the display's port whose own identity (its hardware ID, else
                        // its canonical ID) is that port
    fingerprint,        // the hardware is the same, though the display's identity is not: a twin
    canonicalIdentity,  // the same display by the alias map
    hardwareIdentity,   // the same display by its hardware ID
};

/// How well a record fits a display; greater is better.
struct Agreement {
    Basis basis;
    bool samePort;

    auto operator<=>(const Agreement&) const = default;
};

bool fingerprintAgrees(const Record& record, const Candidate& candidate) {
    return candidate.fingerprintID && (record.hardwareID == candidate.fingerprintID ||
                                       record.canonicalID == candidate.fingerprintID);
}

/// The basis on which a record and a display on the record's port agree, if only the port does. The
/// port alone proves little: a record with a hardware ID of its own must not go to another display
/// that happens to be plugged in there.
std::optional<Basis> portBasis(const Record& record) {
    if (record.hardwareID.value_or(record.canonicalID) == record.portUUID) {
        return Basis::portIsIdentity;
    }
    return record.hardwareID ? std::nullopt : std::optional(Basis::port);
}

/// The best basis on which they agree; none if they do not.
std::optional<Basis> basis(const Record& record, const Candidate& candidate) {
    if (record.hardwareID == candidate.aliasID) {
        return Basis::hardwareIdentity;
    }
    if (record.canonicalID == candidate.aliasID || record.canonicalID == candidate.canonicalID) {
        return Basis::canonicalIdentity;
    }
    if (fingerprintAgrees(record, candidate)) {
        return Basis::fingerprint;
    }
    return record.portUUID == candidate.portUUID ? portBasis(record) : std::nullopt;
}

std::optional<Agreement> agreement(const Record& record, const Candidate& candidate) {
    const std::optional<Basis> found = basis(record, candidate);
    if (!found) {
        return std::nullopt;
    }
    return Agreement{.basis = *found, .samePort = record.portUUID == candidate.portUUID};
}

/// The display that fits the record best, regardless of other records.
Target bestDisplay(const Record& record, const std::vector<Candidate>& candidates) {
    std::optional<Agreement> best;
    Target target = Target::displayAbsent();
    for (const Candidate& candidate : candidates) {
        const std::optional<Agreement> found = agreement(record, candidate);
        if (!found || found < best) {
            continue;
        }
        target = found == best ? Target::ambiguous() : Target::matched(candidate.displayID);
        best = found;
    }
    return target;
}

/// Leaves the display to the record that fits it best among those matched to it, the last one if
/// several fit equally well.
void settleOwner(const Candidate& candidate, const std::vector<Record>& records,
                 std::vector<Target>& targets) {
    const Target here = Target::matched(candidate.displayID);
    std::optional<std::size_t> owner;
    std::optional<Agreement> best;
    for (std::size_t index = 0; index < records.size(); ++index) {
        const auto found =
            targets[index] == here ? agreement(records[index], candidate) : std::nullopt;
        if (found && found >= best) {
            owner = index;
            best = found;
        }
    }
    for (std::size_t index = 0; index < records.size(); ++index) {
        if (targets[index] == here && index != owner) {
            targets[index] = Target::superseded();
        }
    }
}

}  // namespace

std::vector<MenuBarRestoreTarget> resolveMenuBarRecords(
    const std::vector<MenuBarDisplayVisibilityOverride>& records,
    const std::vector<MenuBarRestoreCandidate>& candidates) {
    std::vector<Target> targets;
    targets.reserve(records.size());
    for (const Record& record : records) {
        targets.push_back(bestDisplay(record, candidates));
    }
    for (const Candidate& candidate : candidates) {
        settleOwner(candidate, records, targets);
    }
    return targets;
}

}  // namespace tolvaran
