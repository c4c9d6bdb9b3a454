// A process on a simulated Mac, for every test of what the product does there: its calls, its
// files, its log and what it leaves behind.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "tests/support/calls.hpp"
#include "tests/support/lines.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {

/// Whose process it is: a host of the library, whose log the test collects, or the helper, which
/// writes a log file.
enum class Role { library, helper };

/// For its lifetime, the Mac is as given and the system's files lie below a directory of its own,
/// where the simulator's faults can hit calls about them. Every process begins with fresh
/// process-wide values. At its end no object may be alive and no display configuration open.
class SimulatedProcess {
  public:
    explicit SimulatedProcess(const nlohmann::json& mac = nlohmann::json::object(),
                              Role role = Role::library);
    ~SimulatedProcess();
    SimulatedProcess(const SimulatedProcess&) = delete;
    SimulatedProcess& operator=(const SimulatedProcess&) = delete;

    /// Ends the process and starts another one on this Mac, without calls or faults. It finds the
    /// files that the old one left.
    void start(const nlohmann::json& mac = nlohmann::json::object());

    /// Ends the process and starts another one on the Mac as it is, keeping its calls and faults.
    void restart() const;

    /// The lines logged since this was last asked, as "level: message".
    Lines takeLog();

    /// The messages since the log was last taken, without their level. All must be warnings.
    Lines takeWarnings();

    /// The calls since this was last asked.
    Lines takeCalls();

    /// The path of a file below the application-support directory, which exists from the beginning.
    std::string path(const std::string& name) const { return support_ + "/" + name; }
    std::string state(const std::string& name) const { return path("State/" + name); }
    std::string settings(const std::string& name) const { return path("Settings/" + name); }
    /// The path of a file in the log directory, which the helper creates.
    std::string logs(const std::string& name) const { return directory_ / ("logs/" + name); }

    /// What lies below the application-support directory, in the form of filesBelow().
    Lines files() const { return filesBelow(support_); }

    /// Makes the main application treat each of these groups of IDs as one display.
    void knowDisplays(const std::vector<Lines>& groups) const;

  private:
    void beginProcess(const nlohmann::json& mac);
    void finishProcess() const;

    Role role_;
    TemporaryDirectory directory_;
    std::string support_ = directory_ / "support";
    ScopedEnvironment supportVariable_{"TOLVARAN_APPLICATION_SUPPORT_DIR", support_};
    ScopedEnvironment logsVariable_{"TOLVARAN_LOGS_DIR", directory_ / "logs"};
    ScopedEnvironment settingsVariable_{"TOLVARAN_CONFIG_DIR", std::nullopt};
    std::optional<LogCapture> log_;  // of a host of the library
    std::size_t takenOfLog_ = 0;     // bytes of the helper's log file
    std::size_t takenCalls_ = 0;
    std::size_t objectsBefore_ = 0;
};

/// The helper's process: its log is set up, and the library's sinks write to it.
class HelperProcess : public SimulatedProcess {
  public:
    explicit HelperProcess(const nlohmann::json& mac = nlohmann::json::object())
        : SimulatedProcess(mac, Role::helper) {}
};

/// A test in a process that hosts the library.
class ProcessTest : public testing::Test, protected SimulatedProcess {};

/// Makes every call of a function return this from now on, without effect.
void failCalls(const std::string& function, const nlohmann::json& result);

}  // namespace tolvaran::tests
