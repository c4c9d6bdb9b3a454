#include "player/scenario.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "simulator/core_foundation/base64.hpp"
#include "simulator/faults/faults.hpp"
#include "simulator/host/files.hpp"
#include "simulator/machine/json_reader.hpp"
#include "simulator/machine/mac_json.hpp"
#include "simulator/machine/readable_text.hpp"

namespace simulator {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

clock::Kind readClock(const JsonReader& clock) {
    const std::string kind = clock.text();
    if (kind != "virtual" && kind != "real") {
        clock.fail("must be \"virtual\" or \"real\"");
    }
    return kind == "real" ? clock::Kind::realTime : clock::Kind::virtualTime;
}

clock::Time readTime(const JsonReader& time) {
    const double seconds = time.number();
    if (seconds < 0) {
        time.fail("must not be negative");
    }
    if (clock::fromSeconds(seconds) == clock::never) {
        time.fail("is too far away");
    }
    return clock::fromSeconds(seconds);
}

void readFiles(const JsonReader& files, Scenario& scenario) {
    for (const auto& [key, content] : files.entries()) {
        checkFileContent(content);
        const json path = key;
        scenario.files.emplace_back(readFilePath(JsonReader(path, content.path())),
                                    content.value());
    }
}

void readFilesFrom(const JsonReader& files, const std::string& directory, Scenario& scenario) {
    const fs::path from = fs::absolute(fs::path(directory) / files.text());
    if (!fs::is_directory(from)) {
        files.fail("there is no directory " + from.string());
    }
    scenario.filesFrom = from.string();
}

void readTimeline(const JsonReader& timeline, Scenario& scenario) {
    const Launching launching = scenario.clock == clock::Kind::virtualTime
                                    ? Launching::simulated
                                    : Launching::childProcesses;
    for (const JsonReader& event : timeline.elements()) {
        event.requireObject();
        const clock::Time at = readTime(event.at("at"));
        json document = event.value();
        document.erase("at");
        scenario.timeline.push_back({at, readEvent(event, launching), std::move(document)});
        scenario.until = std::max(scenario.until, at + clock::second);
    }
}

void readFaults(const JsonReader& faults, Scenario& scenario) {
    for (const JsonReader& fault : faults.elements()) {
        checkFault(fault);
    }
    scenario.faults = faults.value();
}

void readExpect(const JsonReader& expect, Scenario& scenario) {
    expect.requireKeys({"log", "calls", "notifications", "mac", "files"});
    if (const auto log = expect.find("log")) {
        for (const JsonReader& line : log->elements()) {
            line.text();
        }
    }
    for (const char* const key : {"calls", "notifications"}) {
        if (const auto list = expect.find(key)) {
            list->elements();
        }
    }
    for (const char* const key : {"mac", "files"}) {
        if (const auto object = expect.find(key)) {
            object->requireObject();
        }
    }
    scenario.expect = expect.value();
}

void readAbout(const JsonReader& about, Scenario& scenario) {
    about.requireObject();
    scenario.about = about.value();
}

void readLog(const JsonReader& log, Scenario& scenario) {
    scenario.log.emplace();
    for (const JsonReader& line : log.elements()) {
        scenario.log->push_back(line.text());
    }
}

Scenario readDocument(const JsonReader& document, const std::string& directory) {
    document.requireKeys({"name", "clock", "mac", "files", "filesFrom", "timeline", "until",
                          "faults", "expect", "about", "log"});
    Scenario scenario;
    const auto ifPresent = [&](const char* key, auto read) {
        if (const auto value = document.find(key)) {
            read(*value);
        }
    };
    ifPresent("name", [&](const JsonReader& name) { scenario.name = name.text(); });
    ifPresent("clock", [&](const JsonReader& clock) { scenario.clock = readClock(clock); });
    ifPresent("mac", [&](const JsonReader& mac) {
        readMachine(mac);
        scenario.mac = mac.value();
    });
    ifPresent("files", [&](const JsonReader& files) { readFiles(files, scenario); });
    ifPresent("filesFrom",
              [&](const JsonReader& files) { readFilesFrom(files, directory, scenario); });
    ifPresent("timeline", [&](const JsonReader& timeline) { readTimeline(timeline, scenario); });
    ifPresent("until", [&](const JsonReader& until) { scenario.until = readTime(until); });
    ifPresent("faults", [&](const JsonReader& faults) { readFaults(faults, scenario); });
    ifPresent("expect", [&](const JsonReader& expect) { readExpect(expect, scenario); });
    ifPresent("about", [&](const JsonReader& about) { readAbout(about, scenario); });
    ifPresent("log", [&](const JsonReader& log) { readLog(log, scenario); });
    return scenario;
}

std::string read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (file.peek() != std::ifstream::traits_type::eof()) {
        text << file.rdbuf();
    }
    if (!file.is_open() || file.bad() || !text) {
        throw ScenarioError("cannot be read");
    }
    return text.str();
}

json parse(const std::string& text) {
    if (isNestedTooDeeply(text)) {
        throw ScenarioError("nested more than " + std::to_string(deepestNesting) + " levels deep");
    }
    try {
        return json::parse(text);
    } catch (const json::exception& error) {
        throw ScenarioError(error.what());
    }
}

/// A file's content in a scenario's form.
json contentOf(const fs::path& path) {
    const std::string bytes = read(path.string());
    return readableText(bytes) == bytes ? json(bytes) : json{{"$data", cf::base64Encoded(bytes)}};
}

}  // namespace

json loadDocument(const std::string& path) {
    json document = parse(read(path));
    const std::string from = document.is_object() ? document.value("filesFrom", "") : "";
    if (from.empty()) {
        return document;
    }
    const fs::path directory = fs::path(path).parent_path() / from;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        const std::string name = entry.path().lexically_relative(directory).generic_string();
        if (entry.is_regular_file() && !document["files"].contains(name)) {
            document["files"][name] = contentOf(entry.path());
        }
    }
    document.erase("filesFrom");
    return document;
}

Scenario readScenario(const json& document, const std::string& directory, const std::string& name) {
    try {
        Scenario scenario = readDocument(JsonReader(document, ""), directory);
        if (scenario.name.empty()) {
            scenario.name = name;
        }
        return scenario;
    } catch (const std::invalid_argument& error) {
        throw ScenarioError(error.what());
    }
}

Scenario loadScenario(const std::string& path) {
    const fs::path file(path);
    return readScenario(parse(read(path)), file.parent_path().string(), file.filename().string());
}

}  // namespace simulator
