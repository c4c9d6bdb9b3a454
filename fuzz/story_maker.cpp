#include "fuzz/story_maker.hpp"

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <vector>

#include "simulator/faults/outside_calls.hpp"
#include "tests/support/records/records.hpp"

namespace tolvaran::fuzz {
namespace {

using nlohmann::json;

constexpr const char* mainApplication = "com.morvelli.Tolvaran";
constexpr const char* originalsPath = "State/.display-originals";

/// What one physical display is, wherever it stands.
struct Monitor {
    const char* id;  // its canonical display ID, as long as no twin is connected
    int vendor;
    int model;
    int serial;
    bool hasPortUUID;
    int width;
    int height;
};

/// Among them two twins, one that says nothing about itself, and one named only in the registry.
constexpr std::array<Monitor, 6> monitors = {{
    {"HW-1552-41040-77", 1552, 41040, 77, true, 1512, 982},
    {"HW-4268-16609-5", 4268, 16609, 5, true, 1920, 1080},
    {"HW-7789-30471-0", 7789, 30471, 0, true, 2560, 1440},
    {"HW-7789-30471-0", 7789, 30471, 0, true, 2560, 1440},
    {"Display-5", 0, 0, 0, false, 1920, 1080},
    {"HW-610-40050-SC02XK", 610, 40050, 0, true, 1280, 800},
}};

json portUUID(std::size_t monitor) {
    return monitors.at(monitor).hasPortUUID
               ? json("00000000-0000-4000-8000-00000000000" + std::to_string(monitor + 1))
               : json();
}

/// The names under which records may know a display; the first is the usual one.
std::vector<std::string> namesOf(std::size_t monitor) {
    std::vector<std::string> names{monitors.at(monitor).id};
    if (portUUID(monitor).is_string()) {
        names.push_back(portUUID(monitor));
    }
    return names;
}

struct Point {
    double x;
    double y;
};

// Layouts: where displays stand, given how many there are.

Point inARow(std::size_t place) {
    return {static_cast<double>(place) * 2560, 0};
}
Point inAColumn(std::size_t place) {
    return {0, static_cast<double>(place) * 1440};
}

double coordinate(Choices& choices) {
    static const std::vector<double> usual = {0,    1512, 1920, -1920, 982,   1080, -1080,
                                              2560, 1,    -1.5, 100,   -2560, 1440, 3432.25};
    static const std::vector<double> wild = {1e300, -3e9, 2147483647, 2147483648.0, 1e-9};
    return choices.below(64) == 63 ? choices.of(wild) : choices.of(usual);
}

/// Each display touches the corner of the one before.
void chain(std::vector<Point>& points, const std::vector<std::size_t>& displays) {
    Point corner{0, 0};
    for (const std::size_t monitor : displays) {
        points.push_back(corner);
        corner.x += monitors.at(monitor).width;
        corner.y += monitors.at(monitor).height;
    }
}

std::vector<Point> layout(Choices& choices, const std::vector<std::size_t>& displays) {
    std::vector<Point> points;
    const std::size_t kind = choices.below(4);
    if (kind == 0) {
        chain(points, displays);
        return points;
    }
    for (std::size_t place = 0; place < displays.size(); ++place) {
        if (kind == 1) {
            points.push_back(inARow(place));
        } else if (kind == 2) {
            points.push_back(inAColumn(place));
        } else {
            const double x = coordinate(choices);
            points.push_back({x, coordinate(choices)});
        }
    }
    return points;
}

// The Mac.

json modesOf(const Monitor& monitor) {
    const auto mode = [](int number, int flags, int width, int height, double hz, double density) {
        return json{{"number", number}, {"flags", flags}, {"width", width},    {"height", height},
                    {"depth", 8},       {"hz", hz},       {"density", density}};
    };
    return {mode(1, 33554439, monitor.width, monitor.height, 60, 1),
            mode(2, 7, monitor.width / 2, monitor.height / 2, 59.94, 2),
            mode(3, 7, 1280, 720, 120, 1), mode(4, 0, 1024, 768, 60, 1)};
}

json displayAt(Choices& choices, std::size_t monitor, Point point) {
    const Monitor& it = monitors.at(monitor);
    const int mode = 1 + static_cast<int>(choices.below(3));
    const json modes = modesOf(it);
    const json& shown = modes[static_cast<std::size_t>(mode) - 1];
    return {{"id", monitor + 1},
            {"vendor", it.vendor},
            {"model", it.model},
            {"serial", it.serial},
            {"portUUID", portUUID(monitor)},
            {"frame", {point.x, point.y, shown.at("width"), shown.at("height")}},
            {"modes", modes},
            {"mode", mode},
            {"menuBarOverride", choices.chance(8)},
            {"spaceType", choices.chance(4) ? 4 : 0}};
}

json fourOf(Choices& choices, const std::vector<int>& values) {
    json list = json::array();
    for (int corner = 0; corner < 4; ++corner) {
        list.push_back(choices.of(values));
    }
    return list;
}

json dock(Choices& choices) {
    return {{"autoHide", choices.chance(8)},
            {"cornerActions", fourOf(choices, {1, 2, 5, 13})},
            {"cornerModifiers", fourOf(choices, {0, 131072})}};
}

json preferences(Choices& choices) {
    static const std::vector<json> switches = {false, true, 0, 1, "yes", 2.5};
    static const std::vector<json> actions = {1, 2, 4, true, "2", 4294967296};
    json global = json::object();
    json corners = json::object();
    for (const char* const key : {"_HIHideMenuBar", "AppleMenuBarVisibleInFullscreen"}) {
        if (choices.chance(8)) {
            global[key] = choices.of(switches);
        }
    }
    for (const char* const corner : {"tl", "tr", "bl", "br"}) {
        if (choices.chance(8)) {
            corners[std::string("wvous-") + corner + "-corner"] = choices.of(actions);
        }
    }
    return {{"global", global}, {"com.apple.dock", corners}};
}

json unavailable(Choices& choices) {
    static const std::vector<json> lacking = {json::array({"SkyLight"}),
                                              json::array({"HIServices"}),
                                              {"CoreDockGetExposeCornerActionsWithModifiers"},
                                              {"CoreDockSetExposeCornerActionWithModifier"},
                                              {"SLSGetMenuBarVisibilityOverrideOnDisplay"}};
    return choices.chance(2) ? choices.of(lacking) : json::array();
}

std::vector<std::size_t> connectedMonitors(Choices& choices) {
    std::vector<std::size_t> connected{0};
    for (std::size_t monitor = 1; monitor < monitors.size(); ++monitor) {
        if (choices.chance(7)) {
            connected.push_back(monitor);
        }
    }
    return connected;
}

json registry() {
    return {
        {{"DisplayVendorID", 610}, {"DisplayProductID", 40050}, {"DisplaySerialString", "C02XK"}}};
}

json makeMac(Choices& choices, const std::vector<std::size_t>& connected) {
    const std::vector<Point> points = layout(choices, connected);
    json displays = json::array();
    for (std::size_t place = 0; place < connected.size(); ++place) {
        displays.push_back(displayAt(choices, connected[place], points[place]));
    }
    json mac{{"displays", displays},
             {"registry", registry()},
             {"preferences", preferences(choices)},
             {"dock", dock(choices)},
             {"menuBar", {{"autoHide", choices.chance(8)}}},
             {"cursorAssociated", choices.chance(8)},
             {"unavailable", unavailable(choices)}};
    if (choices.chance(6)) {
        mac["applications"] = {{{"bundle", mainApplication}, {"pid", 100}}};
    }
    return mac;
}

// The records.

json entriesFor(Choices& choices, const std::vector<std::size_t>& displays) {
    const std::vector<Point> points = layout(choices, displays);
    json entries = json::array();
    for (std::size_t place = 0; place < displays.size(); ++place) {
        entries.push_back({{"uuid", choices.of(namesOf(displays[place]))},
                           {"x", points[place].x},
                           {"y", points[place].y}});
    }
    return entries;
}

std::string signatureOf(const json& entries) {
    std::multiset<std::string> ids;
    for (const json& entry : entries) {
        ids.insert(entry.at("uuid"));
    }
    std::string signature;
    for (const std::string& id : ids) {
        signature += (signature.empty() ? "" : ",") + id;
    }
    return signature;
}

std::vector<std::size_t> anyMonitors() {
    return {0, 1, 2, 3, 4, 5};
}

/// The set that is connected, or another one.
std::vector<std::size_t> aSet(Choices& choices, const std::vector<std::size_t>& connected) {
    return choices.chance(10) ? connected : choices.someOf(anyMonitors());
}

json originals(Choices& choices, const std::vector<std::size_t>& connected) {
    json arrangements = json::object();
    for (std::size_t count = choices.below(5); count > 0; --count) {
        const json entries = entriesFor(choices, aSet(choices, connected));
        arrangements[signatureOf(entries)] = entries;
    }
    return {{"version", 2}, {"arrangements", arrangements}};
}

json resolutions(Choices& choices, const std::vector<std::size_t>& /*connected*/) {
    json entries = json::object();
    for (const std::size_t monitor : choices.someOf(anyMonitors())) {
        const json modes = modesOf(monitors.at(monitor));
        const json& mode = modes[choices.below(4)];
        entries[choices.of(namesOf(monitor))] = {
            {"width", choices.chance(1) ? json(0) : mode.at("width")},
            {"height", mode.at("height")},
            {"scaled", mode.at("density") == 2},
            {"hz", choices.chance(4) ? 0 : 60}};
    }
    return {{"version", 1}, {"entries", entries}};
}

json separatedSets(Choices& choices, const std::vector<std::size_t>& connected) {
    const json entries = entriesFor(choices, aSet(choices, connected));
    return {{"version", 1}, {"signatures", {signatureOf(entries), "HW-1-1-1"}}};
}

template <int version>
json layoutSets(Choices& choices, const std::vector<std::size_t>& connected) {
    const json entries = entriesFor(choices, aSet(choices, connected));
    const json other = entriesFor(choices, aSet(choices, connected));
    return {{"version", version}, {"arrangements", {{signatureOf(entries), {entries, other}}}}};
}

json menuBarRecord(Choices& choices, std::size_t monitor) {
    const json port = portUUID(monitor);
    json record{{"canonicalID", choices.of(namesOf(monitor))},
                {"portUUID", port.is_null() ? json("Display-5") : port},
                {"enabled", choices.chance(8)}};
    if (choices.chance(8)) {
        record["hardwareID"] = monitors.at(monitor).id;
    }
    return record;
}

json menuBar(Choices& choices, const std::vector<std::size_t>& /*connected*/) {
    json snapshot = json::object();
    for (const char* const key : {"hideMenuBar", "visibleInFullscreen"}) {
        if (choices.chance(8)) {
            snapshot[key] = choices.below(3);
        }
    }
    for (const char* const key : {"globalRestored", "pendingOnly"}) {
        if (choices.chance(2)) {
            snapshot[key] = true;
        }
    }
    json records = json::array();
    for (std::size_t count = choices.below(4); count > 0; --count) {
        records.push_back(menuBarRecord(choices, choices.below(monitors.size())));
    }
    snapshot["displayVisibilityOverrides"] = records;
    return snapshot;
}

json corners(Choices& choices, const std::vector<std::size_t>& /*connected*/) {
    json snapshot = json::object();
    for (const char* const key : {"tlCorner", "tlModifier", "trCorner", "blCorner", "brModifier"}) {
        if (choices.chance(8)) {
            snapshot[key] = choices.below(14);
        }
    }
    if (choices.chance(8)) {
        snapshot["liveActions"] = fourOf(choices, {1, 2, 5, 11});
        snapshot["liveModifiers"] = fourOf(choices, {0, 131072});
    }
    return snapshot;
}

json dockMarker(Choices& choices, const std::vector<std::size_t>& /*connected*/) {
    return {{"version", 1}, {"restoreTo", choices.chance(8)}};
}

json hold(Choices& /*choices*/, const std::vector<std::size_t>& /*connected*/) {
    return "1";
}

json knownDisplays(Choices& choices, const std::vector<std::size_t>& /*connected*/) {
    json known = json::array();
    for (const std::size_t monitor : choices.someOf(anyMonitors())) {
        const std::vector<std::string> names = namesOf(monitor);
        known.push_back({{"ids", {names.back(), names.front()}}});
    }
    return {{"knownDisplays", known}};
}

struct Record {
    const char* path;
    json (*make)(Choices& choices, const std::vector<std::size_t>& connected);
};

constexpr std::array records = {
    Record{originalsPath, originals},
    Record{"State/.resolution-originals", resolutions},
    Record{"State/separated-sets.json", separatedSets},
    Record{"State/side-pinned-sets.json", layoutSets<2>},
    Record{"State/native-mirrored-sets.json", layoutSets<1>},
    Record{"State/menubar-state.json", menuBar},
    Record{"State/hot-corners-snapshot.json", corners},
    Record{"State/dock-autohide-pending.json", dockMarker},
    Record{"State/hot-corner-screen-saver-hold", hold},
    Record{"Settings/preferences.json", knownDisplays},
};

/// The record as it should be or, now and then, cut off or of another version.
json content(Choices& choices, const Record& record, const std::vector<std::size_t>& connected) {
    json good = record.make(choices, connected);
    const std::size_t fate = choices.below(16);
    if (fate == 15) {
        const std::string text = good.dump();
        return text.substr(0, text.size() * choices.below(16) / 16);
    }
    if (fate == 14 && good.is_object()) {
        good["version"] = choices.below(4);
    }
    return good;
}

/// Records without a maker of their own are like their examples.
json makeFiles(Choices& choices, const std::vector<std::size_t>& connected) {
    json files = json::object();
    for (const Record& record : records) {
        if (choices.chance(8)) {
            files[record.path] = content(choices, record, connected);
        }
    }
    for (const tests::Record& other : tests::records()) {
        if (std::ranges::find(records, other.path, &Record::path) == records.end() &&
            choices.chance(8)) {
            files[other.path] = json::parse(other.example);
        }
    }
    return files;
}

// What happens.

/// Adds events that are possible on the Mac, a second or more apart, so that none changes what the
/// helper restores while it waits.
class TimelineMaker {
  public:
    TimelineMaker(Choices& choices, std::vector<std::size_t> connected, const json& mac)
        : choices_(choices), connected_(std::move(connected)) {
        if (mac.contains("applications")) {
            pids_.insert(100);
        }
    }

    json make() {
        static const std::vector<double> pauses = {1, 1, 2, 57, 60};
        for (std::size_t count = choices_.below(9); count > 0; --count) {
            json event = next();
            event["at"] = at_;
            timeline_.push_back(std::move(event));
            at_ += choices_.of(pauses);
        }
        return timeline_;
    }
    double end() const { return at_; }

  private:
    using Make = json (TimelineMaker::*)();

    json next() {
        static const std::vector<Make> kinds = {
            &TimelineMaker::launch,      &TimelineMaker::exit,     &TimelineMaker::arrange,
            &TimelineMaker::plugging,    &TimelineMaker::write,    &TimelineMaker::exit,
            &TimelineMaker::changeMac,   &TimelineMaker::remove,   &TimelineMaker::wake,
            &TimelineMaker::reconfigure, &TimelineMaker::terminate};
        return (this->*choices_.of(kinds))();
    }

    json wake() { return {{"wake", true}}; }

    json launch() {
        const int pid = 101 + static_cast<int>(timeline_.size());
        pids_.insert(pid);
        return {
            {"launch",
             {{"bundle", choices_.chance(2) ? json("com.example.Other") : json(mainApplication)},
              {"pid", pid}}}};
    }

    json exit() {
        if (pids_.empty()) {
            return launch();
        }
        const int pid = *pids_.begin();
        pids_.erase(pids_.begin());
        return {{"exit", pid}};
    }

    json terminate() { return pids_.empty() ? wake() : json{{"terminated", *pids_.begin()}}; }

    json arrange() {
        const std::vector<Point> points = layout(choices_, connected_);
        json origins = json::object();
        for (std::size_t place = 0; place < connected_.size(); ++place) {
            origins[std::to_string(connected_[place] + 1)] = {points[place].x, points[place].y};
        }
        return {{"arrange", origins}};
    }

    json plugging() {
        const std::size_t monitor = choices_.below(monitors.size());
        const auto place = std::find(connected_.begin(), connected_.end(), monitor);
        if (place == connected_.end()) {
            connected_.push_back(monitor);
            const double x = coordinate(choices_);
            return {{"connect", displayAt(choices_, monitor, {x, coordinate(choices_)})}};
        }
        if (connected_.size() == 1) {
            return wake();
        }
        connected_.erase(place);
        return {{"disconnect", monitor + 1}};
    }

    json reconfigure() {
        static const std::vector<int> flags = {1, 2, 4, 16, 4096};
        return {{"reconfigure", {{"display", 1}, {"flags", choices_.of(flags)}}}};
    }

    json changeMac() {
        return {{"set",
                 {{"dock", dock(choices_)},
                  {"menuBar", {{"autoHide", choices_.chance(8)}}},
                  {"preferences", preferences(choices_)},
                  {"cursorAssociated", choices_.chance(8)}}}};
    }

    json write() {
        const Record& record = records.at(choices_.below(records.size()));
        present_.insert(record.path);
        return {
            {"write", {{"path", record.path}, {"content", content(choices_, record, connected_)}}}};
    }

    /// Removes Tolvaran's own file, which is there if an event wrote it: nobody else removes it.
    json remove() {
        const char* const path = "Settings/preferences.json";
        if (present_.erase(path) == 0) {
            return write();
        }
        return {{"remove", path}};
    }

    Choices& choices_;
    std::vector<std::size_t> connected_;
    std::set<int> pids_;
    std::set<std::string> present_;  // written by an event
    json timeline_ = json::array();
    double at_ = 0;
};

// What fails.

/// The functions that can fail at all.
const std::vector<std::string>& fallible() {
    static const std::vector<std::string> functions = [] {
        std::vector<std::string> all = simulator::outsideFunctions();
        std::erase_if(
            all, [](const auto& function) { return simulator::failureForms(function).empty(); });
        return all;
    }();
    return functions;
}

json makeFault(Choices& choices) {
    const std::string& function = choices.of(fallible());
    json fault = choices.of(simulator::failureForms(function));
    fault["call"] = function;
    fault["skip"] = choices.below(40);
    fault["times"] = choices.of(std::vector<std::size_t>{1, 1, 4, 1000});
    return fault;
}

json makeFaults(Choices& choices) {
    json faults = json::array();
    for (std::size_t count = choices.below(4); count > 0; --count) {
        faults.push_back(makeFault(choices));
    }
    if (choices.chance(2)) {
        faults.push_back({{"call", "SLSSetMenuBarVisibilityOverrideOnDisplay"},
                          {"delayReads", choices.below(10)}});
    }
    return faults;
}

}  // namespace

json makeStory(Choices& choices) {
    const std::vector<std::size_t> connected = connectedMonitors(choices);
    json story{{"mac", makeMac(choices, connected)}, {"faults", makeFaults(choices)}};
    story["files"] = makeFiles(choices, connected);
    TimelineMaker timeline(choices, connected, story["mac"]);
    story["timeline"] = timeline.make();
    story["until"] = timeline.end() + (choices.chance(4) ? 61 : 1);
    return story;
}

std::vector<std::string> faultyFunctions(const json& story) {
    std::vector<std::string> functions;
    for (const json& fault : story.at("faults")) {
        functions.push_back(fault.at("call"));
    }
    return functions;
}

}  // namespace tolvaran::fuzz
