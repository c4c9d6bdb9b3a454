#include "helper/steps/restore_cursor_association.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include "helper/restore_step.hpp"

namespace tolvaran {

void restoreCursorAssociation(const std::string& tag, std::optional<pid_t> exitedPID) {
    const RestoreStep step("restoreCursorAssociation", tag);
    if (step.mainAppIsRunning(exitedPID)) {
        return;
    }
    const CGError error = CGAssociateMouseAndMouseCursorPosition(1);
    if (error == kCGErrorSuccess) {
        step.log("info", "re-associated cursor");
    } else {
        step.log("warn",
                 "CGAssociateMouseAndMouseCursorPosition(1) returned " + std::to_string(error));
    }
}

}  // namespace tolvaran
