// A Mac as a run of the helper leaves it, and the replay of its report.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "player/scenario.hpp"
#include "tests/faults/corruptions.hpp"
#include "tests/support/temporary_directory.hpp"
#include "tools/describe/report.hpp"

namespace tolvaran::tests {

/// A Mac and its files.
class FoundMac {
  public:
    enum class Helper { hasRun, neverRan };
    /// As the scenario's run leaves it, or as it is before the run.
    explicit FoundMac(const simulator::Scenario& scenario, Helper helper = Helper::hasRun);

    const nlohmann::json& mac() const { return mac_; }
    /// A file's path on this disk, from its path below the application-support directory.
    std::string file(const std::string& path) const;
    /// The path of the helper's log.
    std::string log() const { return root_ / "Logs/tolvaran-helper.log"; }
    /// Calls `work` on this Mac, as in a process that has just started.
    void visit(const std::function<void()>& work) const;

    /// The report that tolvaran_describe makes of it.
    nlohmann::json report(describe::Settings settings = describe::Settings::thoseRead) const;
    /// What the helper does when it starts there: the result, without what a report cannot hold.
    nlohmann::json played() const;

  private:
    TemporaryDirectory root_;
    nlohmann::json mac_;
};

/// What the helper does on the Mac that the report describes.
nlohmann::json playedReport(const nlohmann::json& report);

/// Spoils each file of a crash in turn, on a Mac without the others: every field in every way, cut
/// at every length, and some of its bytes changed. Calls `check` with every `step`th of these and
/// what was spoiled, until the test fails.
void forSomeSpoiledFiles(
    std::size_t step,
    const std::function<void(const FoundMac& found, const std::string& what)>& check);

/// The paths of all scenarios.
std::vector<std::string> scenarioPaths();
/// The name of the test for the scenario at this path.
std::string scenarioName(const testing::TestParamInfo<std::string>& path);

}  // namespace tolvaran::tests
