#include "helper/steps/steps.hpp"

#include <CoreGraphics/CoreGraphics.h>

#include "helper/step_log.hpp"

namespace tolvaran {

void restoreCursorAssociation(const std::string& tag, std::optional<pid_t> exitedPID) {
    const StepLog step(step_names::restoreCursorAssociation, tag);
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
