#include "helper/steps/steps.hpp"

#include <algorithm>
#include <string>

#include "helper/step_log.hpp"
#include "restore/arrangement/arrangement_repair.hpp"
#include "restore/arrangement/main_application_layout.hpp"
#include "restore/arrangement/originals_store.hpp"
#include "restore/arrangement/repair_attempts.hpp"
#include "restore/arrangement/set_marks.hpp"

namespace tolvaran {
namespace {

/// Whether a main application has started and saved or marked a layout since the run began: it may
/// be making the one that the displays show.
bool haveRecordsChanged(const StepLog& step) {
    const std::string paths[] = {OriginalsStore::defaultPath(), SeparatedSetsStore::defaultPath(),
                                 SidePinnedSetsStore::defaultPath(),
                                 NativeMirroredSetsStore::defaultPath()};
    return std::ranges::any_of(paths,
                               [&](const auto& path) { return step.recordHasChanged(path); });
}

}  // namespace

void checkInvariant(const std::string& tag, std::optional<pid_t> exitedPID) {
    const StepLog step(step_names::checkInvariant, tag);
    const bool isRunning = step.mainAppIsRunning(exitedPID);
    // After an exit too: Tolvaran has run, even if no check found it running.
    if (isRunning || exitedPID) {
        repair_attempts::forget();
    }
    if (isRunning) {
        return;
    }
    const CheckLog log = [&](const std::string& level, const std::string& message) {
        step.log(level, message);
    };
    const Hardware hardware = readHardware();
    repair_attempts::beginCheck(hardware.displays);
    const MainApplicationLayout::Look look = MainApplicationLayout::look(hardware);
    if (look.isMainAppLayout) {
        if (!haveRecordsChanged(step)) {
            repairArrangement(hardware, log);
        }
        return;
    }
    log("debug", "hardware not a Tolvaran layout, invariant holds");
    repair_attempts::noteOrder();
    MainApplicationLayout::clearStaleMarks(hardware, look, log);
}

}  // namespace tolvaran
