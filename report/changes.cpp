#include "report/changes.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "report/arrangement.hpp"
#include "report/text.hpp"

namespace simulator::report {
namespace {

using nlohmann::json;

struct Corner {
    const char* name;
    const char* key;  // of its preferences
};
// In the Dock's order.
constexpr std::array<Corner, 4> corners{
    {{"Top left", "tl"}, {"Top right", "tr"}, {"Bottom left", "bl"}, {"Bottom right", "br"}}};

std::string actionText(const json& code) {
    static const std::map<std::int64_t, std::string> names{
        {0, "nothing"},         {1, "nothing"},
        {2, "Mission Control"}, {3, "application windows"},
        {4, "desktop"},         {5, "start screen saver"},
        {6, "no screen saver"}, {7, "Dashboard"},
        {10, "display sleeps"}, {11, "Launchpad"},
        {12, "notifications"},  {13, "lock screen"},
        {14, "quick note"},
    };
    const auto known =
        code.is_number_integer() ? names.find(code.get<std::int64_t>()) : names.end();
    return known == names.end() ? compact(code) : known->second + " (" + compact(code) + ")";
}

std::string modifierText(const json& modifier) {
    static const std::map<std::int64_t, std::string> names{
        {131072, "Shift"}, {262144, "Control"}, {524288, "Option"}, {1048576, "Command"}};
    if (modifier == 0) {
        return "";
    }
    const auto known =
        modifier.is_number_integer() ? names.find(modifier.get<std::int64_t>()) : names.end();
    return " with " + (known == names.end() ? "modifier " + compact(modifier) : known->second);
}

/// A preference; null if it is not set.
json preference(const json& mac, const std::string& domain, const std::string& key) {
    const json values = mac["preferences"].value(domain, json::object());
    return values.value(key, json());
}

std::string storedText(const json& value) {
    return value.is_null() ? "not set" : oneLine(compact(value));
}

std::string yesOrNo(bool value) {
    return value ? "yes" : "no";
}

std::string liveCorner(const json& mac, std::size_t corner) {
    return actionText(mac["dock"]["cornerActions"][corner]) +
           modifierText(mac["dock"]["cornerModifiers"][corner]);
}

std::string storedCorner(const json& mac, std::size_t corner) {
    const std::string start = std::string("wvous-") + corners[corner].key;
    const json action = preference(mac, "com.apple.dock", start + "-corner");
    const json modifier = preference(mac, "com.apple.dock", start + "-modifier");
    return (action.is_null() ? "not set" : actionText(action)) +
           (modifier.is_null() ? "" : modifierText(modifier));
}

/// The display that has the menu bar's focus, by its ID.
std::string activeDisplay(const json& mac) {
    const json& uuid = mac["menuBar"]["activeDisplay"];
    for (const json& display : mac["displays"]) {
        if (!uuid.is_null() && display["portUUID"] == uuid) {
            return "display " + compact(display["id"]);
        }
    }
    return uuid.is_null() ? "none" : oneLine(uuid.get<std::string>());
}

struct Question {
    const char* name;
    std::string (*answer)(const json& mac);
};

template <typename Questions>
FactGroup answered(const std::string& title, const Questions& questions, const json& before,
                   const json& after) {
    FactGroup group{title, {}};
    for (const Question& question : questions) {
        group.facts.push_back({question.name, question.answer(before), question.answer(after)});
    }
    return group;
}

FactGroup cornerFacts(const json& before, const json& after) {
    FactGroup group{"Hot corners", {}};
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const std::string name = corners[i].name;
        group.facts.push_back({name, liveCorner(before, i), liveCorner(after, i)});
        group.facts.push_back(
            {name + ", as stored", storedCorner(before, i), storedCorner(after, i)});
    }
    return group;
}

const std::array<Question, 4> menuBarQuestions{{
    {"Hides itself", [](const json& mac) { return yesOrNo(mac["menuBar"]["autoHide"]); }},
    {"Hides itself, as stored",
     [](const json& mac) { return storedText(preference(mac, "global", "_HIHideMenuBar")); }},
    {"In full screen, as stored",
     [](const json& mac) {
         return storedText(preference(mac, "global", "AppleMenuBarVisibleInFullscreen"));
     }},
    {"Active on", activeDisplay},
}};

const std::array<Question, 2> dockQuestions{{
    {"Hides itself", [](const json& mac) { return yesOrNo(mac["dock"]["autoHide"]); }},
    {"Hides itself, as stored",
     [](const json& mac) { return storedText(preference(mac, "com.apple.dock", "autohide")); }},
}};

const std::array<Question, 1> cursorQuestions{{
    {"Follows the mouse", [](const json& mac) { return yesOrNo(mac["cursorAssociated"]); }},
}};

// Parts of the Mac that have facts of their own above and below, or that the helper only reads.
constexpr std::array<std::string_view, 9> knownParts{
    "applications", "cursorAssociated", "displays", "dock",       "mainDisplay",
    "menuBar",      "preferences",      "registry", "unavailable"};

/// The values of all other parts, by their names; those of an object one by one.
std::map<std::string, std::string> otherValues(const json& mac) {
    std::map<std::string, std::string> values;
    for (const auto& [key, part] : mac.items()) {
        if (std::ranges::find(knownParts, key) != knownParts.end()) {
            continue;
        }
        if (!part.is_object()) {
            values[key] = oneLine(compact(part));
            continue;
        }
        for (const auto& [name, value] : part.items()) {
            values[key + ": " + name] = oneLine(compact(value));
        }
    }
    return values;
}

FactGroup otherFacts(const json& before, const json& after) {
    FactGroup group{"Other settings", {}};
    std::map<std::string, std::string> now = otherValues(after);
    for (const auto& [name, value] : otherValues(before)) {
        group.facts.push_back({name, value, now[name]});
    }
    return group;
}

const json* findDisplay(const json& mac, const json& id) {
    for (const json& display : mac["displays"]) {
        if (display["id"] == id) {
            return &display;
        }
    }
    return nullptr;
}

std::string origin(const json& display) {
    return number(display["frame"][0].get<double>()) + ", " +
           number(display["frame"][1].get<double>());
}

std::string size(const json& display) {
    return number(display["frame"][2].get<double>()) + " × " +
           number(display["frame"][3].get<double>()) + " points";
}

std::string visibility(const json& display) {
    return std::string(display["menuBarOverride"].get<bool>() ? "shown" : "hidden") +
           (display["spaceType"] == 4 ? ", on a full-screen space" : "");
}

FactGroup factsOf(const json& id, const json& before, const json& after) {
    const json* const first = findDisplay(before, id);
    const json* const second = findDisplay(after, id);
    const std::string name =
        first != nullptr ? displayName(before, *first) : displayName(after, *second);
    const Fact main{"Main display", yesOrNo(before["mainDisplay"] == id),
                    yesOrNo(after["mainDisplay"] == id)};
    const Fact connected{"Connected", yesOrNo(first != nullptr), yesOrNo(second != nullptr)};
    const bool isMain = !main.isChanged() && main.after == "yes";
    FactGroup group{name + ", ID " + compact(id) + (isMain ? ", main display" : ""), {}};
    const auto add = [&](const char* fact, auto tell) {
        group.facts.push_back(
            {fact, first != nullptr ? tell(*first) : "", second != nullptr ? tell(*second) : ""});
    };
    for (const Fact& fact : {connected, main}) {
        if (fact.isChanged()) {
            group.facts.push_back(fact);
        }
    }
    add("Origin", origin);
    add("Size", size);
    add("Mode", modeText);
    add("Menu bar", visibility);
    return group;
}

std::vector<std::string> contentLines(const json& content) {
    if (content.is_string()) {
        return lines(content.get<std::string>());
    }
    return lines(content.dump(2, ' ', false, json::error_handler_t::replace));
}

FileChange changeOf(const std::string& path, const json& before, const json& after) {
    const bool was = before.contains(path);
    const bool is = after.contains(path);
    FileChange change{path, FileFate::unchanged, {}};
    if (!was || !is) {
        change.fate = is ? FileFate::added : FileFate::removed;
    } else if (before[path] != after[path]) {
        change.fate = FileFate::changed;
    }
    change.lines = lineDifference(was ? contentLines(before[path]) : std::vector<std::string>(),
                                  is ? contentLines(after[path]) : std::vector<std::string>());
    return change;
}

bool anyChanged(const FactGroup& group) {
    return std::any_of(group.facts.begin(), group.facts.end(),
                       [](const Fact& fact) { return fact.isChanged(); });
}

/// For how many displays present on both sides this fact has changed.
std::size_t changedDisplays(const std::vector<FactGroup>& groups, const std::string& name) {
    return static_cast<std::size_t>(
        std::count_if(groups.begin(), groups.end(), [&](const FactGroup& group) {
            return std::any_of(group.facts.begin(), group.facts.end(), [&](const Fact& fact) {
                return fact.name == name && fact.isChanged() && !fact.before.empty() &&
                       !fact.after.empty();
            });
        }));
}

void addFileHeadlines(const json& result, std::vector<std::string>& all) {
    std::map<FileFate, std::size_t> counts;
    for (const FileChange& file : fileChanges(result["before"]["files"], result["files"])) {
        ++counts[file.path == "State/.helper-heartbeat" ? FileFate::unchanged : file.fate];
    }
    for (const FileFate fate : {FileFate::changed, FileFate::removed, FileFate::added}) {
        if (counts[fate] > 0) {
            all.push_back(counted(counts[fate], "file ", "files ") + nameOf(fate));
        }
    }
}

}  // namespace

const char* nameOf(FileFate fate) {
    constexpr std::array<const char*, 4> names{"unchanged", "changed", "removed", "added"};
    return names[static_cast<std::size_t>(fate)];
}

std::vector<FactGroup> displayFacts(const json& before, const json& after) {
    std::vector<FactGroup> groups;
    for (const json& display : before["displays"]) {
        groups.push_back(factsOf(display["id"], before, after));
    }
    for (const json& display : after["displays"]) {
        if (findDisplay(before, display["id"]) == nullptr) {
            groups.push_back(factsOf(display["id"], before, after));
        }
    }
    return groups;
}

std::vector<FactGroup> deskFacts(const json& before, const json& after) {
    std::vector<FactGroup> groups = {cornerFacts(before, after),
                                     answered("Menu bar", menuBarQuestions, before, after),
                                     answered("Dock", dockQuestions, before, after),
                                     answered("Cursor", cursorQuestions, before, after)};
    if (FactGroup others = otherFacts(before, after); !others.facts.empty()) {
        groups.push_back(std::move(others));
    }
    return groups;
}

std::vector<FileChange> fileChanges(const json& before, const json& after) {
    std::set<std::string> paths;
    for (const json* const side : {&before, &after}) {
        for (const auto& [path, content] : side->items()) {
            paths.insert(path);
        }
    }
    std::vector<FileChange> changes;
    for (const std::string& path : paths) {
        changes.push_back(changeOf(path, before, after));
    }
    return changes;
}

std::vector<std::string> headlines(const json& result) {
    const json& before = result["before"]["mac"];
    const json& after = result["mac"];
    const std::vector<FactGroup> displays = displayFacts(before, after);
    std::vector<std::string> all;
    const auto count = [&](const char* fact, const char* what) {
        if (const std::size_t changed = changedDisplays(displays, fact); changed > 0) {
            all.push_back(counted(changed, "display ", "displays ") + what);
        }
    };
    count("Connected", "connected or disconnected");
    count("Origin", "moved");
    count("Mode", "in another mode");
    count("Menu bar", "with another menu bar state");
    for (const FactGroup& group : deskFacts(before, after)) {
        if (anyChanged(group)) {
            all.push_back(group.title);
        }
    }
    addFileHeadlines(result, all);
    return all;
}

}  // namespace simulator::report
