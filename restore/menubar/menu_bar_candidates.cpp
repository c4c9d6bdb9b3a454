#include "restore/menubar/menu_bar_candidates.hpp"

namespace tolvaran {

std::vector<MenuBarRestoreCandidate> menuBarCandidates(const std::vector<NamedDisplay>& displays) {
    std::vector<MenuBarRestoreCandidate> candidates;
    for (const NamedDisplay& display : displays) {
        candidates.push_back({.displayID = display.displayID,
                              .aliasID = display.uuid,
                              .canonicalID = display.canonicalID,
                              .fingerprintID = display.fingerprintID,
                              .portUUID = display.portUUID});
    }
    return candidates;
}

}  // namespace tolvaran
