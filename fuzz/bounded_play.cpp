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

// Thrown through the helper. Not std::exceptions, which might be caught.
struct Endless {};
struct Stopped {
    std::string reason;
};

/// How every reason begins for which the program must stop rather than carry on with a wrong
/// number: these do not fit in 32 bits.
constexpr std::array reasonsToStop = {
    "x of the origin of display ",
    "y of the origin of display ",
    "x of the shift to the main display",
    "y of the shift to the main display",
};

void requireKnownReason(const std::string& reason) {
    require(std::any_of(reasonsToStop.begin(), reasonsToStop.end(),
                        [&](const std::string& known) { return reason.starts_with(known); }),
            "the program stopped: " + reason);
}

/// From now on throws Stopped where the helper would end its process, which is this one.
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

/// Whether the scenario put a file of this name there itself: its writer may be alive, or the
/// helper may never use such a name.
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

/// Notes the files that the helper began to write and left behind although it could have removed
/// them.
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
            played.leftOver.emplace_back("an unreleased registry object");
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
        played.leftOver.emplace_back("an unreleased object");
    }
    return played;
}

}  // namespace tolvaran::fuzz
