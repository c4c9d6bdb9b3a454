#include "helper/restore_sequence.hpp"

#include "helper/steps/check_invariant.hpp"
#include "helper/steps/restore_cursor_association.hpp"
#include "helper/steps/restore_dock_auto_hide.hpp"
#include "helper/steps/restore_hot_corners.hpp"
#include "helper/steps/restore_menu_bar.hpp"
#include "helper/steps/restore_resolutions.hpp"

namespace tolvaran {

void runRestoreSequence(const std::string& tag, std::optional<pid_t> exitedPID) {
    checkInvariant(tag, exitedPID);
    restoreResolutions(tag, exitedPID);
    restoreMenuBar(tag, exitedPID);
    restoreHotCorners(tag, exitedPID);
    restoreDockAutoHide(tag, exitedPID);
    restoreCursorAssociation(tag, exitedPID);
}

}  // namespace tolvaran
