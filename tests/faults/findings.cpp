#include "tests/faults/findings.hpp"

#include <algorithm>

#include "tests/faults/prescribed_losses.hpp"
#include "tests/support/records/records.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

bool isPrescribed(const std::vector<Call>& failed, const std::string& place) {
    return !prescribedLoss(failed, place).empty();
}

/// An unfinished file that cannot be removed stays until the next helper starts.
bool couldNotBeRemoved(const std::vector<Call>& failed, const std::string& leftOver) {
    return leftOver.starts_with("after the fault: ") &&
           std::ranges::find(failed, "unlink", &Call::function) != failed.end();
}

/// What the file at `path` holds, or null if there is none.
const json& contentAt(const json& files, const std::string& path) {
    static const json none;
    const auto found = files.find(path);
    return found == files.end() ? none : *found;
}

/// The records that a run removed or changed too early: afterwards they are neither as before nor
/// as a run without a fault leaves them, and what they stand for is not in force. Files that are
/// not records must not change at all.
/// @return "record/" and the file's path for each, such as "record/State/menubar-state.json"
std::vector<std::string> lostRecords(const FaultRun& calm, const FaultRun& hit) {
    const auto mayHaveBecome = [&](const Record& record, const json& before, const json& after) {
        return mayBecome(record, before, after,
                         {.mac = hit.after.mac,
                          .posted = hit.posted,
                          .alsoRight = calm.after.mac,
                          .byApplication = !hit.isHelper});
    };
    std::vector<std::string> lost;
    for (const auto& [path, before] : hit.filesBefore.items()) {
        const json& after = contentAt(hit.after.files, path);
        if (path == "State/.helper-heartbeat" || after == before ||
            after == contentAt(calm.after.files, path)) {
            continue;
        }
        const Record* const record = findRecord(path);
        if (record == nullptr || !mayHaveBecome(*record, before, after)) {
            lost.push_back("record/" + path);
        }
    }
    return lost;
}

}  // namespace

bool isAsBefore(const json& filesBefore, const Ending& ending, const std::string& place) {
    if (!place.starts_with("files/")) {
        return false;
    }
    json::json_pointer file(place.substr(std::string("files").size()));
    while (!file.parent_pointer().empty()) {
        file = file.parent_pointer();
    }
    return ending.files.value(file, json()) == filesBefore.value(file, json());
}

std::vector<std::string> wrongPlaces(const FaultRun& calm, const Ending& ending) {
    const bool isRight = &ending == calm.healed.get() || ending == calm.alsoRight;
    return isRight ? std::vector<std::string>() : differences(*calm.healed, ending);
}

std::vector<std::string> findings(const FaultRun& calm, const FaultRun& hit) {
    std::vector<std::string> found;
    const std::vector<Call>& failed = hit.failed;
    for (const std::string& thing : hit.leftOver) {
        if (!couldNotBeRemoved(failed, thing)) {
            found.push_back("leaves " + thing);
        }
    }
    if (hit.healed == nullptr) {
        return found;  // it was stopped
    }
    for (const std::string& place : wrongPlaces(calm, *hit.healed)) {
        if (!isPrescribed(failed, place) &&
            (hit.isHelper || !isAsBefore(hit.filesBefore, *hit.healed, place))) {
            found.push_back("ends differently at " + place);
        }
    }
    for (const std::string& record : lostRecords(calm, hit)) {
        if (!isPrescribed(failed, record)) {
            found.push_back("loses " + record);
        }
    }
    return found;
}

}  // namespace tolvaran::tests
