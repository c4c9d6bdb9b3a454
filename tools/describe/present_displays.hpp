// The displays of this Mac under the names that records give them, for tools that only look.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "restore/arrangement/display_frame.hpp"
#include "restore/menubar/menu_bar_matcher.hpp"

namespace tolvaran::describe {

struct PresentDisplays {
    std::vector<DisplayFrame> frames;                 // in the window server's order
    std::map<std::string, CGDirectDisplayID> byID;    // by canonical ID
    std::vector<MenuBarRestoreCandidate> candidates;  // for menu bar records
    std::string signature;                            // the name of the whole set
};

PresentDisplays presentDisplays();

}  // namespace tolvaran::describe
