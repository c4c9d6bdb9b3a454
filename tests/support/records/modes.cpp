// The record of the display modes.
#include <algorithm>
#include <cmath>

#include "restore/modes/formats.hpp"
#include "restore/tolvaran_restore.hpp"
#include "tests/support/records/checks.hpp"
#include "tests/support/records/rows.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using namespace checks;

bool isMode(const json& value) {
    return has(value, "width", isInteger) && has(value, "height", isInteger) &&
           has(value, "scaled", isFlag) && has(value, "hz", isInteger);
}

bool isResolutionOriginals(const json& value) {
    return has(value, "version", isVersion<1>) && has(value, "entries", isMapOf<isMode>);
}

double number(const json& object, const char* key) {
    return object.at(key).get<double>();
}

bool isPossible(const json& spec) {
    return number(spec, "width") > 0 && number(spec, "height") > 0 && number(spec, "hz") >= 0;
}

bool shows(const json& display, const json& spec) {
    const json& modes = display.at("modes");
    return std::any_of(modes.begin(), modes.end(), [&](const json& mode) {
        return mode.at("number") == display.at("mode") && mode.at("width") == spec.at("width") &&
               mode.at("height") == spec.at("height") &&
               (number(mode, "density") > 1.5) == spec.at("scaled") &&
               (spec.at("hz") == 0 || std::round(number(mode, "hz")) == spec.at("hz"));
    });
}

bool modesMayBecome(const json& before, const json& after, const Moment& moment) {
    const json entries = member(before, "entries");
    return std::all_of(entries.items().begin(), entries.items().end(), [&](const auto& entry) {
        const json& spec = entry.value();
        return member(member(after, "entries"), entry.key()) == spec || !isPossible(spec) ||
               anyDisplay(moment, [&](const json& display) { return shows(display, spec); });
    });
}

const DisplayModeSpec exampleMode = {.width = 2560, .height = 1440, .scaled = false, .hz = 60};

const std::vector<FailureLine> modesLines = {
    {{"CGSGetNumberOfDisplayModes"},
     "",
     "warn: resolution restore: no exact mode .*; keeping entry|"
     "warn: the main application gave up: .*",
     true},
};

Record resolutionOriginals() {
    return {.path = "State/.resolution-originals",
            .name = "resolution originals",
            .isUsable = isResolutionOriginals,
            .fate = Fate::kept,
            .unusableLine =
                "warn: resolution originals file missing/wrong version/unparseable, starting fresh",
            .places = "mac/displays/[0-9]+/(mode|frame/[0-9])",
            .example = R"({"version":1,"entries":{"A":{"width":2560,"height":1440,"scaled":true,)"
                       R"("hz":60}}})",
            .mayBecome = modesMayBecome,
            .isRewritten = true,
            .notWritten = "warn: Failed to write resolution originals file: .*",
            .lines = modesLines,
            .losses = {{{"CGSConfigureDisplayMode"},
                        "",
                        "record|mac/displays/[0-9]+/(mode|frame/[0-9])|"
                        "files/State~1\\.resolution-originals.*",
                        "only the completion of a configuration counts"}},
            .changes = {[](const auto& path) {
                            ResolutionOriginalsStore::recordIfAbsent("HW-1", exampleMode, path);
                        },
                        [](const auto& path) {
                            ResolutionOriginalsStore::recordIfAbsent("HW-2", exampleMode, path);
                        },
                        [](const auto& path) { ResolutionOriginalsStore::clear("HW-1", path); },
                        [](const auto& path) { ResolutionOriginalsStore::clear("HW-2", path); }},
            .read = [](const auto& path) { return textOf(ResolutionOriginalsStore::load(path)); }};
}

}  // namespace

std::vector<Record> modesRecords() {
    return {resolutionOriginals()};
}

}  // namespace tolvaran::tests
