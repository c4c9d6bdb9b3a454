#include "player/player.hpp"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "helper/entry.hpp"
#include "player/environment.hpp"
#include "player/log_lines.hpp"
#include "player/matching.hpp"
#include "player/observation.hpp"
#include "report/log_reading.hpp"
#include "restore/support/process_wide.hpp"
#include "simulator/faults/faults.hpp"
#include "simulator/host/file_calls.hpp"
#include "simulator/host/files.hpp"
#include "simulator/loop/event_loop.hpp"
#include "simulator/simulator.hpp"

namespace simulator {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

/// The run's own directory, removed at the end unless its name was given.
class Root {
  public:
    explicit Root(const std::optional<std::string>& kept) : isKept_(kept.has_value()) {
        if (kept) {
            path_ = fs::absolute(*kept);
            return;
        }
        std::string name = (fs::temp_directory_path() / "tolvaran-simulator-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), name);
        }
        path_ = name;
    }
    ~Root() {
        std::error_code ignored;
        if (!isKept_) {
            fs::remove_all(path_, ignored);
        }
    }
    Root(const Root&) = delete;
    Root& operator=(const Root&) = delete;

    std::string applicationSupport() const { return (path_ / "ApplicationSupport").string(); }
    std::string logs() const { return (path_ / "Logs").string(); }

  private:
    fs::path path_;
    bool isKept_;
};

/// The life of one process, which starts with no state and leaves none.
class Process {
  public:
    explicit Process(const json& mac) {
        tolvaran::forgetProcessWideValues();
        reset(mac);
    }
    ~Process() {
        setStandardErrorSink({});
        tolvaran::forgetProcessWideValues();
        reset();
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
};

void layOutFiles(const Scenario& scenario, const std::string& applicationSupport) {
    try {
        fs::create_directories(applicationSupport);
        if (scenario.filesFrom) {
            fs::copy(*scenario.filesFrom, applicationSupport,
                     fs::copy_options::recursive | fs::copy_options::overwrite_existing);
        }
        for (const auto& [path, content] : scenario.files) {
            writeStateFile(path, content);
        }
    } catch (const std::runtime_error& error) {
        throw ScenarioError(std::string("files: ") + error.what());
    }
}

void setFaults(const json& faults) {
    for (const JsonReader& fault : JsonReader(faults, "faults").elements()) {
        addFaultAt(fault);
    }
}

// The helper's process ID in every virtual run.
constexpr pid_t virtualProcessID = 501;

/// Starts the clock and plans what will happen. The helper also starts at time 0, after the events
/// of that time.
void planTimeline(const Scenario& scenario, Observation* observation) {
    clock::restart(scenario.clock);
    if (clock::isVirtual()) {
        setProcessID(virtualProcessID);
    }
    for (const PlannedEvent& event : scenario.timeline) {
        if (observation == nullptr) {
            planEvent(event.at, event.perform);
        } else {
            planEvent(event.at, [=, &event] { observation->play(event.document, event.perform); });
        }
    }
    setEndOfRun(scenario.until);
    sleepUntil(0);
}

/// The log with files below the application-support directory named as in a scenario, by their path
/// below it, since the directory differs in every run.
json withShortPaths(json log, const std::string& applicationSupport) {
    const std::string directory = applicationSupport + "/";
    for (json& entry : log) {
        auto& message = entry["message"].get_ref<std::string&>();
        for (auto at = message.find(directory); at != std::string::npos;
             at = message.find(directory, at)) {
            message.erase(at, directory.size());
        }
    }
    return log;
}

/// The lines of a user's log; a line that does not have the log's form is all message.
json readLines(const std::vector<std::string>& log) {
    json lines = json::array();
    for (const std::string& line : log) {
        const auto read = report::readLogLine(line).value_or(report::LogLine{"", "", "", line});
        lines.push_back({{"time", read.time}, {"level", read.level}, {"message", read.message}});
    }
    return lines;
}

json scenarioFacts(const Scenario& scenario) {
    json facts = {{"name", scenario.name},
                  {"clock", scenario.clock == clock::Kind::realTime ? "real" : "virtual"},
                  {"until", static_cast<double>(scenario.until) / clock::second}};
    if (!scenario.about.empty()) {
        facts["about"] = scenario.about;
    }
    if (scenario.log) {
        facts["log"] = readLines(*scenario.log);
    }
    return facts;
}

/// Runs the process, and returns what the Mac is like afterwards.
json live(const Root& root, const LogLines& log, const PlayOptions& options) {
    if (options.program) {
        options.program();
    } else {
        tolvaran::helperMain();
    }
    if (options.atEnd) {
        options.atEnd();
    }
    return {{"log", withShortPaths(log.entries(), root.applicationSupport())},
            {"calls", calls()},
            {"notifications", notifications()},
            {"mac", machine()},
            {"files", stateFiles(root.logs())}};
}

json run(const Scenario& scenario, const Root& root, const PlayOptions& options) {
    layOutFiles(scenario, root.applicationSupport());
    std::optional<Observation> observation;
    if (options.observes) {
        observation.emplace();
    }
    LogLines log(observation ? [&] { observation->logged(); } : std::function<void()>());
    setStandardErrorSink([&](std::string_view text) {
        log.take(text);
        return !options.quiet;
    });
    setFaults(scenario.faults);
    planTimeline(scenario, observation ? &*observation : nullptr);
    if (options.prepare) {
        options.prepare();
    }
    if (!observation) {
        return live(root, log, options);
    }
    observation->begin(root.logs());
    json result = live(root, log, options);
    observation->addTo(result);
    result["scenario"] = scenarioFacts(scenario);
    return result;
}

}  // namespace

Outcome play(const Scenario& scenario, const PlayOptions& options) {
    const Root root(options.root);
    const TemporaryEnvironment environment({
        {"TOLVARAN_APPLICATION_SUPPORT_DIR", root.applicationSupport()},
        {"TOLVARAN_LOGS_DIR", root.logs()},
        {"TOLVARAN_CONFIG_DIR", std::nullopt},
        {"TOLVARAN_HOMEBREW_MIGRATION_DIR", std::nullopt},
        {"XCTestConfigurationFilePath", std::nullopt},
        {"XCTestBundlePath", std::nullopt},
    });
    const Process process(scenario.mac);
    try {
        json result = run(scenario, root, options);
        std::vector<std::string> failures = failedExpectations(scenario.expect, result);
        return {std::move(result), std::move(failures)};
    } catch (const EventError& error) {
        throw ScenarioError(error.what());
    }
}

}  // namespace simulator
