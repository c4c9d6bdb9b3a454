#include "restore/arrangement/named_displays.hpp"

#include <algorithm>
#include <utility>

#include "restore/arrangement/alias_map.hpp"
#include "restore/arrangement/display_identity.hpp"
#include "restore/paths/restore_log.hpp"

namespace tolvaran {
namespace {

using FingerprintIDs = std::vector<std::optional<std::string>>;

FingerprintIDs fingerprintIDs(const std::vector<CGDirectDisplayID>& displays) {
    FingerprintIDs result;
    for (const CGDirectDisplayID display : displays) {
        result.push_back(displayFingerprintID(display));
    }
    return result;
}

/// The fingerprint ID, if it identifies the display; none if its port has to.
/// @param all the fingerprint IDs of all displays, among which it may have a twin
std::optional<std::string> distinctive(const std::optional<std::string>& own,
                                       const FingerprintIDs& all) {
    if (own && std::ranges::count(all, own) > 1) {
        RestoreLog::warn("Multiple displays with fingerprint " +
                         own->substr(fingerprintPrefix.size()) + ", disambiguating via port-UUID");
        return std::nullopt;
    }
    return own;
}

/// Names the displays, but leaves their canonical IDs empty.
std::vector<NamedDisplay> nameDisplays(const std::vector<CGDirectDisplayID>& displays) {
    const FingerprintIDs all = fingerprintIDs(displays);
    std::vector<NamedDisplay> named;
    for (std::size_t i = 0; i < displays.size(); ++i) {
        NamedDisplay display{.displayID = displays[i],
                             .fingerprintID = all[i],
                             .portUUID = displayPortUUID(displays[i])};
        display.uuid = distinctive(display.fingerprintID, all).value_or(display.portUUID);
        named.push_back(std::move(display));
    }
    return named;
}

AliasMap loadAliases() {
    return AliasMap::load(AliasMap::defaultPreferencesPath());
}

}  // namespace

std::vector<CGDirectDisplayID> activeDisplays(std::uint32_t limit) {
    std::vector<CGDirectDisplayID> displays(limit);
    std::uint32_t count = 0;
    if (CGGetActiveDisplayList(limit, displays.data(), &count) != kCGErrorSuccess) {
        return {};
    }
    displays.resize(std::min(count, limit));
    return displays;
}

std::vector<NamedDisplay> namedDisplays(const std::vector<CGDirectDisplayID>& displays,
                                        AliasLoading loading) {
    std::optional<AliasMap> aliases;
    if (loading == AliasLoading::beforeNaming) {
        aliases = loadAliases();
    }
    std::vector<NamedDisplay> named = nameDisplays(displays);
    if (!aliases) {
        aliases = loadAliases();
    }
    for (NamedDisplay& display : named) {
        display.canonicalID = aliases->canonicalID(display.uuid);
    }
    return named;
}

std::map<std::string, CGDirectDisplayID> displaysByCanonicalID(
    const std::vector<NamedDisplay>& displays) {
    std::map<std::string, CGDirectDisplayID> result;
    for (const NamedDisplay& display : displays) {
        result[display.canonicalID] = display.displayID;
    }
    return result;
}

std::optional<std::string> displayFingerprintID(CGDirectDisplayID displayID) {
    const std::optional<std::string> fingerprint = displayHardwareFingerprint(displayID);
    return fingerprint ? std::optional(std::string(fingerprintPrefix) + *fingerprint)
                       : std::nullopt;
}

// Declared in display_identity.hpp. Defined here, where the fingerprint becomes the name.
std::string displayUUID(CGDirectDisplayID displayID,
                        const std::optional<std::vector<CGDirectDisplayID>>& allDisplayIDs) {
    const std::optional<std::string> own = displayFingerprintID(displayID);
    FingerprintIDs all;
    if (own && allDisplayIDs) {
        all = fingerprintIDs(*allDisplayIDs);
    }
    const std::optional<std::string> name = distinctive(own, all);
    return name ? *name : displayPortUUID(displayID);
}

}  // namespace tolvaran
