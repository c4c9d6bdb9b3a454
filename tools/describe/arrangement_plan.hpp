// Where the arrangement invariant would put the displays, without putting them there.
#pragma once

#include <string>
#include <vector>

#include "restore/arrangement/display_apply.hpp"
#include "restore/arrangement/hardware.hpp"

namespace tolvaran::describe {

struct ArrangementPlan {
    bool isNeeded = false;   // the displays stand in a layout that only Tolvaran makes
    bool hasRecord = false;  // there are saved arrangements, whether they help or not
    bool isMarked = false;   // this set of displays is marked
    bool isInForce = false;  // what is saved for just these displays is in force already
    /// Around the main display at (0, 0). Empty if no saved arrangement helps and no row is made.
    std::vector<HardwarePosition> positions = {};
};

/// What the next run would try first. Whether the window server accepts it cannot be known before.
/// Logs what the stores log.
ArrangementPlan planArrangement(const Hardware& hardware);

}  // namespace tolvaran::describe
