#include "simulator/loop/timeline.hpp"

#include <algorithm>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "simulator/devices/displays.hpp"
#include "simulator/host/files.hpp"
#include "simulator/host/processes.hpp"
#include "simulator/loop/clock.hpp"
#include "simulator/loop/workspace_events.hpp"
#include "simulator/machine/mac_json.hpp"
#include "simulator/on_reset.hpp"

namespace simulator {
namespace {

std::map<std::string, pid_t>& processNames() {
    static std::map<std::string, pid_t> names;
    return names;
}

const OnReset forgetProcessNames([] { processNames().clear(); });

/// Keeps the path for error messages, since the reader's value may be gone by the time of the
/// event.
struct Place {
    explicit Place(const JsonReader& reader) : path(reader.path()) {}
    [[noreturn]] void fail(const std::string& what) const { throw EventError(path + ": " + what); }

    std::string path;
};

/// Performs `action`, adding the place to what it throws.
template <typename Action>
void performAt(const Place& place, Action action) {
    try {
        action();
    } catch (const std::exception& error) {
        place.fail(error.what());
    }
}

Application& applicationOf(pid_t pid, const Place& place) {
    auto& applications = mac().applications;
    const auto found = std::find_if(applications.begin(), applications.end(),
                                    [pid](const Application& a) { return a.pid == pid; });
    if (found == applications.end()) {
        place.fail("no application with this pid is running");
    }
    return *found;
}

/// A Mac may post the launch of an application that is already listed.
void launchApplication(const Application& application) {
    if (!isAlive(application.pid)) {
        mac().applications.push_back(application);
    }
    postLaunch(application);
}

Event readLaunch(const JsonReader& argument, Launching launching) {
    const bool isSimulated = launching == Launching::simulated;
    if (isSimulated) {
        argument.requireKeys({"bundle", "pid"});
    } else {
        argument.requireKeys({"bundle", "as"});
    }
    Application application{readBundle(argument), 0, false};
    if (isSimulated) {
        application.pid = readPID(argument.at("pid"));
        return [application] { launchApplication(application); };
    }
    const auto name = argument.find("as");
    return [application, as = name ? std::optional(name->text()) : std::nullopt,
            place = Place(argument)]() mutable {
        performAt(place, [&] { application.pid = startProcess(); });
        if (as) {
            processNames()[*as] = application.pid;
        }
        launchApplication(application);
    };
}

Event readExit(const JsonReader& argument, Launching) {
    if (argument.value().is_string()) {
        return [name = argument.text(), place = Place(argument)] {
            const auto named = processNames().find(name);
            if (named == processNames().end()) {
                place.fail("no earlier launch has given this name");
            }
            applicationOf(named->second, place);
            killProcess(named->second);
        };
    }
    return [pid = readPID(argument), place = Place(argument)] {
        applicationOf(pid, place);
        killProcess(pid);
    };
}

Event readTerminated(const JsonReader& argument, Launching) {
    return [pid = readPID(argument), place = Place(argument)] {
        Application& application = applicationOf(pid, place);
        application.terminated = true;
        postTermination(application);
    };
}

Event readWake(const JsonReader& argument, Launching) {
    if (!argument.boolean()) {
        argument.fail("must be true");
    }
    return [] { postWake(); };
}

CGDirectDisplayID readDisplayID(const JsonReader& id) {
    return id.integer<CGDirectDisplayID>(1);
}

/// A display ID used as a key, and so written as text.
CGDirectDisplayID readDisplayIDKey(const std::string& key, const JsonReader& value) {
    const nlohmann::json number = nlohmann::json::parse(key, nullptr, false);
    if (!number.is_number_unsigned()) {
        value.fail("the key must be a display ID");
    }
    return readDisplayID(JsonReader(number, value.path()));
}

Event readArrange(const JsonReader& argument, Launching) {
    std::map<CGDirectDisplayID, CGPoint> origins;
    for (const auto& [key, value] : argument.entries()) {
        const std::vector<JsonReader> point = value.elements(2);
        origins[readDisplayIDKey(key, value)] = {point[0].number(), point[1].number()};
    }
    return [origins, place = Place(argument)] {
        performAt(place, [&] { devices::arrange(origins); });
    };
}

Event readConnect(const JsonReader& argument, Launching) {
    return [display = readDisplay(argument), place = Place(argument)] {
        performAt(place, [&] { devices::connect(display); });
    };
}

Event readDisconnect(const JsonReader& argument, Launching) {
    return [id = readDisplayID(argument), place = Place(argument)] {
        performAt(place, [&] { devices::disconnect(id); });
    };
}

Event readReconfigure(const JsonReader& argument, Launching) {
    argument.requireKeys({"display", "flags"});
    const CGDirectDisplayID display = readDisplayID(argument.at("display"));
    const auto flags = argument.at("flags").integer<CGDisplayChangeSummaryFlags>();
    return [display, flags] { devices::reconfigure(display, flags); };
}

Event readSet(const JsonReader& argument, Launching) {
    // Tried out now, so that malformed input is found before anything has happened.
    mergedMachine(Machine{}, argument);
    return [part = argument.value(), place = Place(argument)] {
        mac() = mergedMachine(mac(), JsonReader(part, place.path));
    };
}

Event readWrite(const JsonReader& argument, Launching) {
    argument.requireKeys({"path", "content"});
    const std::string path = readFilePath(argument.at("path"));
    checkFileContent(argument.at("content"));
    return [path, content = argument.at("content").value(), place = Place(argument)] {
        performAt(place, [&] { writeStateFile(path, content); });
    };
}

Event readRemove(const JsonReader& argument, Launching) {
    return [path = readFilePath(argument), place = Place(argument)] {
        performAt(place, [&] { removeStateFile(path); });
    };
}

using ReadEvent = Event (*)(const JsonReader&, Launching);

const std::map<std::string, ReadEvent>& eventReaders() {
    static const std::map<std::string, ReadEvent> all{
        {"launch", readLaunch},
        {"exit", readExit},
        {"terminated", readTerminated},
        {"wake", readWake},
        {"arrange", readArrange},
        {"connect", readConnect},
        {"disconnect", readDisconnect},
        {"reconfigure", readReconfigure},
        {"set", readSet},
        {"write", readWrite},
        {"remove", readRemove},
    };
    return all;
}

}  // namespace

Event readEvent(const JsonReader& event, Launching launching) {
    Event result;
    for (const auto& [key, argument] : event.entries()) {
        if (key == "at") {
            continue;
        }
        const auto reader = eventReaders().find(key);
        if (reader == eventReaders().end()) {
            argument.fail("unknown event");
        }
        if (result) {
            event.fail("must have exactly one event");
        }
        result = reader->second(argument, launching);
    }
    if (!result) {
        event.fail("has no event");
    }
    return result;
}

Event readEvent(const JsonReader& event) {
    return readEvent(event, clock::isVirtual() ? Launching::simulated : Launching::childProcesses);
}

}  // namespace simulator
