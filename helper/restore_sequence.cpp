#include "helper/restore_sequence.hpp"

#include <array>
#include <new>

#include "helper/helper_log.hpp"
#include "helper/steps/check_invariant.hpp"
#include "helper/steps/restore_cursor_association.hpp"
#include "helper/steps/restore_dock_auto_hide.hpp"
#include "helper/steps/restore_hot_corners.hpp"
#include "helper/steps/restore_menu_bar.hpp"
#include "helper/steps/restore_resolutions.hpp"

namespace tolvaran {

namespace {

using Step = void (*)(const std::string& tag, std::optional<pid_t> exitedPID);

constexpr std::array<Step, 6> steps{checkInvariant,      restoreResolutions,
                                    restoreMenuBar,      restoreHotCorners,
                                    restoreDockAutoHide, restoreCursorAssociation};

}  // namespace

void runRestoreSequence(const std::string& tag, std::optional<pid_t> exitedPID) {
    for (const Step step : steps) {
        try {
            step(tag, exitedPID);
        } catch (const std::bad_alloc& error) {
            // Want of memory. What the step did not do stays on disk for the next
            // run; the steps after it may still have their chance now.
            helperLog("error", "restore step [" + tag + "] gave up: " + error.what());
        }
    }
}

}  // namespace tolvaran
