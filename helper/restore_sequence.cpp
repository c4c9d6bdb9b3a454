#include "helper/restore_sequence.hpp"

#include <memory>
#include <new>

#include "helper/main_queue.hpp"
#include "helper/step_log.hpp"
#include "helper/steps/steps.hpp"
#include "restore/paths/tolvaran_paths.hpp"
#include "restore/support/files.hpp"
#include "restore/support/process_wide.hpp"

namespace tolvaran {
namespace {

/// Runs that follow each other.
struct QueuedRuns {
    std::unique_ptr<files::Recovery> records;  // as the first run has found them
    unsigned count = 0;
};

QueuedRuns& queuedRuns() {
    static ProcessWide<QueuedRuns> runs;
    return runs.get();
}

/// Forgets those records once a turn of the main queue has passed without a run.
void forgetWhenAtRest() {
    main_queue::async([before = queuedRuns().count] {
        if (queuedRuns().count == before) {
            queuedRuns().records.reset();
        } else {
            forgetWhenAtRest();
        }
    });
}

void beginQueuedRun() {
    QueuedRuns& runs = queuedRuns();
    ++runs.count;
    if (runs.records && !runs.records->metAnother()) {
        return;
    }
    if (!runs.records) {
        forgetWhenAtRest();
    }
    // The process that was at work may have ended since. The old recovery goes first: being the
    // outer one, it would still decide.
    runs.records.reset();
    runs.records = std::make_unique<files::Recovery>(TolvaranPaths::stateDir(),
                                                     files::Recovery::Scope::directory);
}

}  // namespace

void runRestoreSequence(const std::string& tag, std::optional<pid_t> exitedPID) {
    // Records that the main application writes from here on are left alone: this run's steps do not
    // see that it has started.
    std::optional<files::Recovery> recovery;
    try {
        recovery.emplace(TolvaranPaths::stateDir(), files::Recovery::Scope::directory);
    } catch (const std::bad_alloc&) {
        // Each step then looks after its own record, from its own beginning.
    }
    for (const Step& step : steps) {
        try {
            step.run(tag, exitedPID);
        } catch (const std::bad_alloc& error) {
            // Out of memory. What the step did not do stays on disk for the next run; later steps
            // may still succeed now.
            StepLog(step.name, tag).log("error", std::string("gave up: ") + error.what());
        }
    }
}

void runQueuedRestoreSequence(const std::string& tag, std::optional<pid_t> exitedPID) {
    try {
        beginQueuedRun();
    } catch (const std::bad_alloc&) {
        // The run then uses the records that it finds itself.
    }
    runRestoreSequence(tag, exitedPID);
}

}  // namespace tolvaran
