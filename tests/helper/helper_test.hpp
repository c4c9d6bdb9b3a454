// What the helper's tests share: instances of the main application on a simulated Mac, the log
// lines about them, and a helper in a process of its own.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "helper/helper.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {

inline constexpr const char* tolvaranBundle = "com.morvelli.Tolvaran";

/// The Mac with these instances of the main application, listed in this order after other ones.
inline nlohmann::json whileTolvaranRuns(const std::vector<pid_t>& pids,
                                        nlohmann::json mac = nlohmann::json::object()) {
    mac["applications"] = {{{"bundle", nullptr}, {"pid", 1}},
                           {{"bundle", "com.other"}, {"pid", 2}}};
    for (const pid_t pid : pids) {
        mac["applications"].push_back({{"bundle", tolvaranBundle}, {"pid", pid}});
    }
    return mac;
}

/// An application's launch, as an event.
inline nlohmann::json launch(pid_t pid, const nlohmann::json& bundle = tolvaranBundle) {
    return {{"launch", {{"bundle", bundle}, {"pid", pid}}}};
}

inline std::string watches(pid_t pid) {
    return "info: Watching PROC_EXIT for Tolvaran pid " + std::to_string(pid);
}

/// The only line that a step logs while an instance runs.
inline std::string skips(const std::string& step, const std::string& tag, pid_t pid) {
    return "debug: " + step + " [" + tag + "]: Tolvaran running (pid " + std::to_string(pid) +
           "), skipping";
}

/// The lines of a restore run without records that finds an instance alive.
inline Lines skippedRun(const std::string& tag, pid_t pid) {
    Lines lines;
    for (const char* const step : {"checkInvariant", "restoreMenuBar", "restoreHotCorners",
                                   "restoreDockAutoHide", "restoreCursorAssociation"}) {
        lines.push_back(skips(step, tag, pid));
    }
    return lines;
}

inline std::string reassociatesCursor(const std::string& tag) {
    return "info: restoreCursorAssociation [" + tag + "]: re-associated cursor";
}

/// The lines of a restore run on a Mac with nothing to put back.
inline Lines restoreRun(const std::string& tag) {
    return {"debug: checkInvariant [" + tag + "]: hardware not a Tolvaran layout, invariant holds",
            reassociatesCursor(tag)};
}

/// The helper in its process.
class HelperTest : public testing::Test, protected HelperProcess {
  protected:
    /// Makes a helper on this Mac, in a new process.
    void makeOn(const nlohmann::json& mac) {
        start(mac);
        helper_ = Helper::make();
    }

    /// Makes and starts a helper on this Mac. @return what it logs
    Lines startOn(const nlohmann::json& mac) {
        makeOn(mac);
        helper_->start();
        return takeLog();
    }

    /// Lets seconds pass. @return what is logged meanwhile
    Lines logOf(double seconds) {
        simulator::advance(seconds);
        return takeLog();
    }

    /// Lets an event happen and seconds pass. @return what is logged meanwhile
    Lines logOf(const nlohmann::json& event, double seconds = 0) {
        simulator::perform(event);
        return logOf(seconds);
    }

    std::shared_ptr<Helper> helper_;
};

}  // namespace tolvaran::tests
