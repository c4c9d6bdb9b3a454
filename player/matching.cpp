#include "player/matching.hpp"

#include <algorithm>

namespace simulator {
namespace {

using nlohmann::json;
using Failures = std::vector<std::string>;

void compare(const std::string& path, const json& expected, const json& found, Failures& failures);

/// The value under a key; null if there is none.
const json& valueAt(const json& object, const std::string& key) {
    static const json null;
    const auto found = object.find(key);
    return found == object.end() ? null : *found;
}

std::string shown(const json& value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

void compareObjects(const std::string& path, const json& expected, const json& found,
                    Failures& failures) {
    for (const auto& [key, value] : expected.items()) {
        compare(path + "." + key, value, valueAt(found, key), failures);
    }
}

void compareLists(const std::string& path, const json& expected, const json& found,
                  Failures& failures) {
    const std::size_t common = std::min(expected.size(), found.size());
    const std::size_t before = failures.size();
    for (std::size_t i = 0; i < common && failures.size() == before; ++i) {
        compare(path + "[" + std::to_string(i) + "]", expected[i], found[i], failures);
    }
    if (failures.size() > before || expected.size() == found.size()) {
        return;
    }
    const auto next = [common](const json& list) {
        return common < list.size() ? shown(list[common]) : "the end of the list";
    };
    failures.push_back(path + "[" + std::to_string(common) + "]: expected " + next(expected) +
                       ", found " + next(found));
}

void compare(const std::string& path, const json& expected, const json& found, Failures& failures) {
    if (expected.is_object() && found.is_object()) {
        compareObjects(path, expected, found, failures);
    } else if (expected.is_array() && found.is_array()) {
        compareLists(path, expected, found, failures);
    } else if (expected != found) {
        failures.push_back(path + ": expected " + shown(expected) + ", found " + shown(found));
    }
}

json logLines(const json& log) {
    json lines = json::array();
    for (const json& entry : log) {
        lines.push_back(entry["level"].get<std::string>() + ": " +
                        entry["message"].get<std::string>());
    }
    return lines;
}

/// A file whose content is JSON's null still exists.
void compareFiles(const json& expected, const json& found, Failures& failures) {
    for (const auto& [path, content] : expected.items()) {
        if (!content.is_null()) {
            compare("expect.files." + path, content, valueAt(found, path), failures);
        } else if (found.contains(path)) {
            failures.push_back("expect.files." + path + ": expected no file, found " +
                               shown(found[path]));
        }
    }
}

}  // namespace

Failures failedExpectations(const json& expect, const json& result) {
    Failures failures;
    for (const auto& [key, value] : expect.items()) {
        if (key == "files") {
            compareFiles(value, valueAt(result, key), failures);
        } else if (key == "log") {
            compare("expect.log", value, logLines(valueAt(result, key)), failures);
        } else {
            compare("expect." + key, value, valueAt(result, key), failures);
        }
    }
    return failures;
}

}  // namespace simulator
