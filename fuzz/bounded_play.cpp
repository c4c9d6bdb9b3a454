#include "fuzz/bounded_play.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>

#include "fuzz/check.hpp"
#include "player/player.hpp"
#include "restore/paths/restore_log.hpp"
#include "simulator/devices/devices.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/configuration_rate.hpp"

namespace tolvaran::fuzz {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t mostCalls = 60000;

// Thrown through the helper. No std::exception, which somebody might catch.
struct Endless {};
struct Stopped {
    std::string reason;
};

/// The beginnings of every reason for which the program is to stop rather than carry on with a
/// wrong number.
constexpr std::array reasonsToStop = {
    "x of the origin of display ",  // no 32-bit integer
    "y of the origin of display ",
    "x of the shift to the main display",
    "y of the shift to the main display",
};

void requireKnownReason(const std::string& reason) {
    require(std::any_of(reasonsToStop.begin(), reasonsToStop.end(),
                        [&](const std::string& known) { return reason.starts_with(known); }),
            "the program stopped: " + reason);
}

/// From now on a stop is thrown rather than carried out. The process that it would end is this one.
void catchStops() {
    RestoreLog::warn = [log = RestoreLog::warn](const std::string& message) {
        const std::string stopping = "stopping: ";
        log(message);
        if (message.starts_with(stopping)) {
            throw Stopped{message.substr(stopping.size())};
        }
    };
}

std::size_t openDescriptors() {
    const fs::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

/// Whether the scenario put a file of this name there itself: its writer may be alive, or the name
/// none that the helper gives.
bool isGiven(const simulator::Scenario& scenario, const std::string& name) {
    return std::any_of(scenario.files.begin(), scenario.files.end(),
                       [&](const auto& file) { return file.first.ends_with(name); }) ||
           std::any_of(scenario.timeline.begin(), scenario.timeline.end(), [&](const auto& event) {
               return event.document.dump().find(name) != std::string::npos;
           });
}

bool canRemoveFiles(const simulator::Scenario& scenario) {
    return std::none_of(scenario.faults.begin(), scenario.faults.end(),
                        [](const nlohmann::json& fault) { return fault.at("call") == "unlink"; });
}

/// What the helper began to write and left lying about, though it could have removed it.
void noteUnfinishedFiles(const simulator::Scenario& scenario, const std::string& root,
                         std::vector<std::string>& leftOver) {
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const std::string name = entry.path().filename().string();
        if (name.find(".unfinished-") != std::string::npos && canRemoveFiles(scenario) &&
            !isGiven(scenario, name)) {
            leftOver.push_back("the unfinished file " + name);
        }
    }
}

void play(const simulator::Scenario& scenario, const std::string& root, const Watch& watch,
          BoundedPlay& played) {
    std::size_t calls = 0;
    tests::ConfigurationRate rate;
    const auto onCall = [&](const std::string& function) -> nlohmann::json {
        // Apple's functions, unlike those on files, are never called where nothing may be thrown.
        if (++calls > mostCalls && std::isupper(function.front()) != 0) {
            throw Endless();
        }
        if (function == "setActivationPolicy") {
            catchStops();  // the helper has set up its log by now
        }
        rate.note(function);
        if (watch) {
            watch(function);
        }
        return {};
    };
    const auto atEnd = [&] {
        if (simulator::openConfigurations() != 0) {
            played.leftOver.emplace_back("an open display configuration");
        }
        if (simulator::devices::liveRegistryObjects() != 0) {
            played.leftOver.emplace_back("a registry object that nobody released");
        }
    };
    played.result = simulator::play(scenario, {.root = root,
                                               .quiet = true,
                                               .prepare = [&] { simulator::decideCalls(onCall); },
                                               .atEnd = atEnd})
                        .result;
    played.configurations = rate.mostInAMinute();
}

}  // namespace

BoundedPlay playBounded(const simulator::Scenario& scenario, const std::string& root,
                        const Watch& watch) {
    BoundedPlay played;
    const std::size_t descriptors = openDescriptors();
    const std::size_t objects = simulator::liveObjects();
    try {
        play(scenario, root, watch, played);
    } catch (const simulator::ScenarioError& error) {
        return {.ending = Ending::refused, .why = error.what()};
    } catch (const Stopped& stopped) {
        requireKnownReason(stopped.reason);
        return {.ending = Ending::stopped, .why = stopped.reason};
    } catch (const Endless&) {
        return {.ending = Ending::endless, .why = "more calls than a run should need"};
    }
    RestoreLog::silence();
    noteUnfinishedFiles(scenario, root, played.leftOver);
    if (openDescriptors() != descriptors) {
        played.leftOver.emplace_back("an open descriptor");
    }
    if (simulator::liveObjects() != objects) {
        played.leftOver.emplace_back("an object that nobody released");
    }
    return played;
}

}  // namespace tolvaran::fuzz
