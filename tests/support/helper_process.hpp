// The helper's parts on a simulated Mac, as if in a process of their own.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {

/// While it lives, the files of the system lie below a directory of its own, the simulated Mac is
/// as given, and the helper's log is set up with the library's sinks attached.
class HelperProcess {
  public:
    explicit HelperProcess(const nlohmann::json& mac = nlohmann::json::object());
    ~HelperProcess();
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;

    /// The path of a file in the state directory.
    std::string state(const std::string& name) const {
        return directory_ / ("support/State/" + name);
    }

    /// The lines logged since the last call, as "level: message".
    std::vector<std::string> takeLog();

    /// The names of the calls to the Mac so far.
    static std::vector<std::string> callNames();

  private:
    TemporaryDirectory directory_;
    ScopedEnvironment support_{"TOLVARAN_APPLICATION_SUPPORT_DIR", directory_ / "support"};
    ScopedEnvironment logs_{"TOLVARAN_LOGS_DIR", directory_ / "logs"};
    ScopedEnvironment settings_{"TOLVARAN_CONFIG_DIR", std::nullopt};
    std::size_t taken_ = 0;  // bytes of the log file that takeLog() has returned
};

}  // namespace tolvaran::tests
