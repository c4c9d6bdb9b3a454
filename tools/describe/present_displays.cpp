#include "tools/describe/present_displays.hpp"

#include "restore/arrangement/active_displays.hpp"
#include "restore/arrangement/display_identity.hpp"
#include "restore/arrangement/signature.hpp"

namespace tolvaran::describe {
namespace {

constexpr std::uint32_t displayLimit = 16;  // as the restores see them

MenuBarRestoreCandidate candidate(CGDirectDisplayID display, const std::string& uuid,
                                  const std::string& canonicalID) {
    const auto fingerprint = displayHardwareFingerprint(display);
    return {.displayID = display,
            .aliasID = uuid,
            .canonicalID = canonicalID,
            .fingerprintID = fingerprint ? std::optional("HW-" + *fingerprint) : std::nullopt,
            .portUUID = displayPortUUID(display)};
}

}  // namespace

PresentDisplays presentDisplays() {
    const std::vector<CGDirectDisplayID> displays = activeDisplays(displayLimit);
    const std::vector<std::string> uuids = displayUUIDs(displays);
    const AliasMap aliases = AliasMap::load(AliasMap::defaultPreferencesPath());
    const std::vector<std::string> ids = canonicalIDs(uuids, aliases);
    PresentDisplays present;
    for (std::size_t i = 0; i < displays.size(); ++i) {
        present.frames.push_back({displays[i], CGDisplayBounds(displays[i])});
        present.candidates.push_back(candidate(displays[i], uuids[i], ids[i]));
    }
    present.byID = displaysByCanonicalID(displays, ids);
    present.signature = Zigzag::signature(ids);
    return present;
}

}  // namespace tolvaran::describe
