// What a report shows beyond the plain result of a run: in which order things happened, and what
// the Mac was like before the helper changed it. Used by the player if PlayOptions ask for it.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "simulator/loop/event_loop.hpp"

namespace simulator {

/// Watches one run. This costs a copy of the Mac and its files at each piece of work.
class Observation {
  public:
    /// Adds a played event to the timeline, and performs it.
    void play(const nlohmann::json& document, const std::function<void()>& perform);
    /// Notes that the helper has logged a line.
    void logged();

    /// Starts looking for the helper's first change. Call it just before the process begins.
    /// @param logs the helper's log directory, whose files do not count
    void begin(const std::string& logs);
    /// Looks one last time, and adds what was observed to the result of the run: `timeline`,
    /// `order`, `before`.
    void addTo(nlohmann::json& result);

  private:
    void noteCalls();
    void look(LoopMoment moment);

    std::string logs_;
    nlohmann::json timeline_ = nlohmann::json::array();
    nlohmann::json order_ = nlohmann::json::array();
    std::size_t callsNoted_ = 0;
    nlohmann::json latest_;  // the Mac and the files at the last look: {"at", "mac", "files"}
    bool isFound_ = false;   // latest_ is the state before the helper's first change
};

}  // namespace simulator
