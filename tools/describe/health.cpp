#include "tools/describe/health.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "helper/main_application.hpp"
#include "restore/paths/helper_heartbeat.hpp"
#include "tools/describe/describe.hpp"
#include "tools/describe/last_run.hpp"
#include "tools/describe/log_tail.hpp"
#include "tools/describe/waiting.hpp"

namespace tolvaran::describe {
namespace {

constexpr std::size_t mostLines = 100000;  // of the log, which says when the helper started

/// What does not work without functions whose names begin like this; the first match counts.
constexpr std::array<std::pair<std::string_view, const char*>, 5> costs{{
    {"SLSCopyActive", "nothing that is put back depends on it"},
    {"SkyLight", "the menu bar of single displays is not put back; its global setting is"},
    {"SLS", "the menu bar of single displays is not put back; its global setting is"},
    {"CGS", "the menu bar of single displays is not put back; its global setting is"},
    {"",
     "the Dock's preferences are put back, but the running Dock follows them only from the "
     "next login on"},
}};

std::vector<LackingFunction> lackingFunctions(const nlohmann::json& mac) {
    std::vector<LackingFunction> all;
    for (const nlohmann::json& element : mac["unavailable"]) {
        const auto name = element.get<std::string>();
        const auto* const cost = std::ranges::find_if(
            costs, [&](const auto& row) { return name.starts_with(row.first); });
        all.push_back({name, cost->second});
    }
    return all;
}

void checkHelper(const std::optional<HelperStart>& start,
                 const std::function<bool(pid_t)>& processExists, Health& health) {
    const std::string heartbeat = HelperHeartbeat::defaultPath();
    const HelperHeartbeat::Date now = HelperHeartbeat::currentDate();
    health.heartbeatAge = HelperHeartbeat::age(heartbeat, now);
    if (start) {
        health.helperStart = start->time;
        health.helperPID = start->pid;
    }
    const bool isGone = start && !processExists(start->pid);
    if (HelperHeartbeat::isFresh(heartbeat, now) && !isGone) {
        health.helper = Health::Helper::alive;
    } else if (health.heartbeatAge || start) {
        health.helper = Health::Helper::dead;
    }
}

/// Adds the reasons that apply to every record.
void addCommonReasons(Health& health) {
    for (WaitingRecord& record : health.waiting) {
        std::vector<std::string>& reasons = record.reasons;
        if (health.helper != Health::Helper::alive) {
            reasons.insert(reasons.begin(), "no helper is running");
        }
        if (health.tolvaranPID) {
            reasons.insert(reasons.begin(), "Tolvaran is running");
        }
        if (reasons.empty()) {
            reasons.emplace_back("the next run, within a minute");
        }
    }
}

}  // namespace

int Health::exitStatus() const {
    if (helper != Helper::alive) {
        return 2;
    }
    return waiting.empty() ? 0 : 1;
}

Health checkHealth(const std::function<bool(pid_t)>& processExists) {
    Health health;
    const nlohmann::json mac = describeMac().mac;
    const LastRun last = readLastRun(logTail(mostLines));
    checkHelper(last.start, processExists, health);
    health.tolvaranPID = runningMainAppPID(std::nullopt);
    health.lacking = lackingFunctions(mac);
    health.waiting = waitingRecords(mac, last);
    addCommonReasons(health);
    return health;
}

}  // namespace tolvaran::describe
