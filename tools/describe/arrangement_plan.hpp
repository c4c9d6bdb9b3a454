// Where the arrangement invariant would put the displays, without putting them there.
#pragma once

#include <string>
#include <vector>

#include "restore/arrangement/display_apply.hpp"
#include "restore/arrangement/hardware.hpp"

namespace tolvaran::describe {

struct ArrangementPlan {
    bool isNeeded = false;   // the displays are in a layout that only Tolvaran makes
    bool hasRecord = false;  // there are saved arrangements, useful or not
    bool isMarked = false;   // this set of displays is marked
    /// Relative to the main display at (0, 0). Empty if no saved arrangement helps and no row is
    /// made.
    std::vector<HardwarePosition> positions = {};
};

/// What the next run would try first. Whether the window server would accept it is unknown. Logs
/// what the stores log.
ArrangementPlan planArrangement(const Hardware& hardware);

}  // namespace tolvaran::describe
