// Counts how often a play configures the displays. Every configuration makes a user's screens
// flicker, so there must not be many, whatever happens. Used by the fault trials and by the fuzz
// targets.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tolvaran::tests {

/// The most configurations allowed in any minute of a play, and how many more for each of its
/// events: a display that comes or goes, or a run of Tolvaran, is a new situation.
inline constexpr std::size_t mostConfigurationsPerMinute = 12;
inline constexpr std::size_t mostConfigurationsPerEvent = 6;

/// Counts the configurations of one play.
class ConfigurationRate {
  public:
    /// Call this before every outside call, except those made to fail: what the window server
    /// refuses moves nothing.
    void note(const std::string& function);

    /// The number of configurations in the minute that has the most of them.
    std::size_t mostInAMinute() const;

  private:
    std::vector<double> times_;  // seconds of the play, ascending
};

}  // namespace tolvaran::tests
