#include "tests/faults/fault_run.hpp"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <limits>
#include <utility>

#include "player/player.hpp"
#include "simulator/devices/devices.hpp"
#include "simulator/host/file_calls.hpp"
#include "simulator/host/files.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/configuration_rate.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

/// How long the run afterwards lasts: a start without Tolvaran and one safety tick.
constexpr simulator::clock::Time healingTime = 61 * simulator::clock::second;

constexpr pid_t nextProcessID = 502;

constexpr std::string_view unfinishedMarker = ".unfinished-";
constexpr std::string_view asideMarker = ".removing-";

/// Thrown out of a call, through the product, when a run does not end. Not a std::exception, which
/// might be caught.
struct EndlessRun {};

json withoutHeartbeat(json files) {
    files.erase("State/.helper-heartbeat");
    return files;
}

Ending ending(json result) {
    return {.mac = std::move(result.at("mac")),
            .files = withoutHeartbeat(std::move(result.at("files")))};
}

simulator::Scenario nextRun(const json& mac) {
    simulator::Scenario scenario;
    scenario.name = "next run";
    scenario.mac = mac;
    scenario.mac["applications"] = json::array();
    scenario.until = healingTime;
    return scenario;
}

std::vector<std::string> logLines(const json& result) {
    std::vector<std::string> lines;
    for (const json& line : result.at("log")) {
        lines.push_back(line.at("level").get<std::string>() + ": " +
                        line.at("message").get<std::string>());
    }
    return lines;
}

/// The name of the record that an unfinished file is to become, or that was moved aside for
/// removal.
std::string finishedName(const std::string& path) {
    const auto marker = std::min(path.rfind(unfinishedMarker), path.rfind(asideMarker));
    const auto name = path.rfind('/') + 1;
    return marker == std::string::npos
               ? path
               : path.substr(0, name) + path.substr(name + 1, marker - name - 1);
}

/// A call's subject as Call gives it.
std::string shortSubject(const std::string& subject, const std::string& root) {
    const std::string support = root + "/ApplicationSupport/";
    if (subject.starts_with(support)) {
        return finishedName(subject.substr(support.size()));
    }
    const std::string path = subject.starts_with(root + "/")
                                 ? subject.substr(root.size() + 1)
                                 : fs::path(subject).filename().string();
    return finishedName(path);
}

/// The call that is being made.
Call callNow(const std::string& function, const std::string& root) {
    const std::string path = simulator::callSubject();
    const bool cleansUp = function == "unlink" && path.find(unfinishedMarker) != std::string::npos;
    const bool movesAside = function == "rename" && path.find(asideMarker) != std::string::npos;
    const std::string prefix = cleansUp ? "unfinished " : movesAside ? "aside " : "";
    return {.function = function, .subject = prefix + shortSubject(path, root)};
}

/// What a process must not hold when it is at rest.
void noteOpenObjects(std::vector<std::string>& leftOver) {
    if (simulator::openConfigurations() != 0) {
        leftOver.push_back("an open display configuration");
    }
    if (simulator::devices::liveRegistryObjects() != 0) {
        leftOver.push_back("an unreleased registry object");
    }
}

void collect(const json& patch, const std::string& prefix, std::vector<std::string>& into) {
    for (const json& step : patch) {
        into.push_back(prefix + step.at("path").get<std::string>());
    }
}

}  // namespace

Ending healedEnding(const json& mac, const std::string& root) {
    // With the same process ID, the previous process could count as still at work on what it left.
    const auto prepare = [] { simulator::setProcessID(nextProcessID); };
    return ending(
        simulator::play(nextRun(mac), {.root = root, .quiet = true, .prepare = prepare}).result);
}

std::size_t openDescriptors() {
    const fs::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

std::vector<std::string> unfinishedFiles(const std::string& root, const std::string& when) {
    std::vector<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const std::string name = entry.path().filename().string();
        if (name.find(unfinishedMarker) != name.npos || name.find(asideMarker) != name.npos) {
            found.push_back(when + ": " + name);
        }
    }
    return found;
}

Trial::Trial(const Story& story)
    : story_(story), longest_(std::numeric_limits<std::size_t>::max()) {
    calm_ = run([](std::size_t, const std::string&) { return json(); });
    isCalm_ = false;
    // An endlessly interrupted wait gives up after a thousand calls, and there are several waits.
    longest_ = 50000 + 20 * calm_.calls.size();
    if (story.mayEndAsWithoutFaults) {
        Story faultless = story;
        faultless.mayEndAsWithoutFaults = false;
        faultless.scenario.faults = json::array();
        calm_.alsoRight = *Trial(faultless).calm().healed;
    }
}

/// The story's scenario, noting in `run` the files that others write; none if nobody does.
std::optional<simulator::Scenario> Trial::notingScenario(FaultRun& run,
                                                         const std::string& root) const {
    const auto writes = [](const simulator::PlannedEvent& event) {
        return event.document.contains("write");
    };
    if (std::ranges::none_of(story_.scenario.timeline, writes)) {
        return std::nullopt;
    }
    simulator::Scenario scenario = story_.scenario;
    for (simulator::PlannedEvent& event : scenario.timeline) {
        if (writes(event)) {
            event.perform = [&run, root,
                             path = event.document.at("write").at("path").get<std::string>(),
                             write = event.perform] {
                write();
                run.filesBefore[path] = simulator::stateFiles(root + "/Logs").at(path);
            };
        }
    }
    return scenario;
}

void Trial::play(const Decide& decide, const std::string& root, FaultRun& run) const {
    std::size_t count = 0;
    ConfigurationRate rate;
    const auto ask = [&](const std::string& function) {
        // Only from Apple's functions: those on files are also called where nothing may be thrown.
        if (++count > longest_ && std::isupper(function.front()) != 0) {
            throw EndlessRun();
        }
        json fault = decide(count - 1, function);
        if (!fault.is_null()) {
            run.failed.push_back(callNow(function, root));
            const json result = fault.value("result", json());
            run.failed.back().error = result.is_string() ? result.get<std::string>() : "";
            return fault;
        }
        rate.note(function);
        if (isCalm_) {
            run.calls.push_back(callNow(function, root));
        }
        return fault;
    };
    const auto prepare = [&] {
        run.filesBefore = simulator::stateFiles(root + "/Logs");
        simulator::decideCalls(ask);
    };
    const auto atEnd = [&] { noteOpenObjects(run.leftOver); };
    const auto noting = notingScenario(run, root);
    auto played = simulator::play(noting ? *noting : story_.scenario, {.root = root,
                                                                       .quiet = true,
                                                                       .prepare = prepare,
                                                                       .program = story_.program,
                                                                       .atEnd = atEnd});
    const std::size_t most =
        mostConfigurationsPerMinute + mostConfigurationsPerEvent * story_.scenario.timeline.size();
    if (rate.mostInAMinute() > most) {
        run.leftOver.push_back(std::to_string(rate.mostInAMinute()) +
                               " configurations of the displays in one minute");
    }
    for (const std::string& function : story_.passingFaults) {
        run.failed.push_back({.function = function, .subject = ""});
    }
    run.log = logLines(played.result);
    run.posted = std::move(played.result.at("notifications"));
    run.after = ending(std::move(played.result));
}

const Trial::Healing& Trial::heal(const Ending& after, const std::string& root) {
    const std::string key = after.mac.dump() + after.files.dump();
    const auto known = healings_.find(key);
    if (known != healings_.end()) {
        return known->second;
    }
    Healing healing{.ending = std::make_shared<Ending>(healedEnding(after.mac, root)),
                    .leftOver = {}};
    healing.leftOver = unfinishedFiles(root, "after the next run");
    return healings_.emplace(key, std::move(healing)).first->second;
}

FaultRun Trial::run(const Decide& decide) {
    const TemporaryDirectory root;
    FaultRun run;
    run.isHelper = !story_.program;
    const std::size_t objects = simulator::liveObjects();
    try {
        play(decide, root.path(), run);
    } catch (const EndlessRun&) {
        run.leftOver.push_back("an endless run");
        return run;
    }
    if (run.filesBefore.dump().find(unfinishedMarker) == std::string::npos) {
        const auto unfinished = unfinishedFiles(root.path(), "after the fault");
        run.leftOver.insert(run.leftOver.end(), unfinished.begin(), unfinished.end());
    }
    const std::size_t descriptors = openDescriptors();
    if (descriptors != std::exchange(descriptors_, descriptors)) {
        run.leftOver.push_back("an open descriptor");
    }
    if (simulator::liveObjects() != objects) {
        run.leftOver.push_back("an unreleased object");
    }
    const Healing& healing = heal(run.after, root.path());
    run.healed = healing.ending;
    run.leftOver.insert(run.leftOver.end(), healing.leftOver.begin(), healing.leftOver.end());
    return run;
}

std::vector<std::string> differences(const Ending& expected, const Ending& actual) {
    std::vector<std::string> places;
    collect(json::diff(expected.mac, actual.mac), "mac", places);
    collect(json::diff(expected.files, actual.files), "files", places);
    return places;
}

}  // namespace tolvaran::tests
