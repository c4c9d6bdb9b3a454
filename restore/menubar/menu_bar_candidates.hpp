// The connected displays in the form in which saved menu bar records are matched with them. Not
// installed.
#pragma once

#include <vector>

#include "restore/arrangement/named_displays.hpp"
#include "restore/menubar/menu_bar_matcher.hpp"

namespace tolvaran {

/// The displays as candidates for records, in the same order.
std::vector<MenuBarRestoreCandidate> menuBarCandidates(const std::vector<NamedDisplay>& displays);

}  // namespace tolvaran
