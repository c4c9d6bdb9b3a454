#include "tests/support/arrangement_check.hpp"

#include <gtest/gtest.h>

#include "helper/steps/steps.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

const std::vector<std::string> kinds{"separated", "side-pinned", "native-mirrored"};

/// The signature of all displays of the machine.
std::string signatureOf(const json& machine) {
    std::vector<int> displays;
    for (const json& display : machine.at("displays")) {
        displays.push_back(display.at("id"));
    }
    return sig(displays);
}

}  // namespace

json mac(const Places& places) {
    json displays = json::array();
    for (const Place& place : places) {
        displays.push_back({{"id", place.display},
                            {"vendor", 1552},
                            {"model", 41234},
                            {"serial", place.display},
                            {"frame", {place.x, place.y, 100, 100}}});
    }
    return {{"displays", displays}};
}

std::string uuid(int display) {
    return "HW-1552-41234-" + std::to_string(display);
}

std::string sig(const std::vector<int>& displays) {
    std::string signature;
    for (const int display : displays) {
        signature += (signature.empty() ? "" : ",") + uuid(display);
    }
    return signature;
}

json placed(const std::string& name, int x, int y) {
    return {{"uuid", name}, {"x", x}, {"y", y}};
}

json entries(const Places& places) {
    json list = json::array();
    for (const Place& place : places) {
        list.push_back(placed(uuid(place.display), place.x, place.y));
    }
    return list;
}

std::string said(const std::string& level, const std::string& message) {
    return level + ": checkInvariant [cold-start]: " + message;
}

const std::string healthy = said("debug", "hardware not a Tolvaran layout, invariant holds");
const std::string ambiguousGate =
    said("warn",
         "layout is corner-only but not a full zigzag (ambiguous); skipping superset projection");
const std::string leftUnchanged = said("warn",
                                       "no saved arrangement was usable, but layout is not a full "
                                       "zigzag; leaving hardware unchanged");
const std::string applyingStacked =
    said("warn", "applying stacked fallback because no saved arrangement was usable");

std::string isItselfZigzag(const std::string& label) {
    return said("warn", "candidate " + label + " is itself zigzag, skipping");
}

std::string alreadyInForce(const std::string& label) {
    return said("debug", "candidate " + label + " is already in force, skipping");
}

std::string nothingUsable(const std::string& signature) {
    return said("warn", "no usable saved arrangement or fallback for sig=" + signature);
}

std::string restoredExact(const std::string& signature) {
    return said("info", "restored exact arrangement for sig=" + signature);
}

std::string restoredSubset(const std::string& signature, int size) {
    return said("info", "subset-restored for sig=" + signature + " from " + std::to_string(size) +
                            "-display arrangement");
}

std::string restoredProjection(const std::string& signature) {
    return said("info", "superset-projection-restored for sig=" + signature);
}

std::string restoredStacked(const std::string& signature) {
    return said("info", "restored stacked fallback for sig=" + signature);
}

std::string clearedMark(const std::string& kind, const std::string& signature) {
    return said("info", "cleared " + kind + " mark for healthy sig=" + signature);
}

Lines moved(const Places& places) {
    Lines lines{"debug: Applying " + std::to_string(places.size()) + " positions to hardware"};
    for (const Place& place : places) {
        lines.push_back("debug:   display " + std::to_string(place.display) + " -> (" +
                        std::to_string(place.x) + "," + std::to_string(place.y) + ")");
    }
    return lines;
}

Lines moveCalls(const Places& places, const std::string& end) {
    Lines lines{beginCall};
    for (const Place& place : places) {
        lines.push_back("CGConfigureDisplayOrigin " +
                        json::array({place.display, place.x, place.y}).dump() + " = 0");
    }
    lines.push_back(end);
    return lines;
}

ArrangementCheck::ArrangementCheck(const json& machine, const json& saved) : process_(machine) {
    if (!saved.is_null()) {
        write(".display-originals", {{"version", 2}, {"arrangements", saved}});
    }
}

void ArrangementCheck::markAll(const Lines& signatures, const Places& layout) const {
    json layouts = json::object();
    for (const std::string& signature : signatures) {
        layouts[signature] = json::array({entries(layout)});
    }
    write("separated-sets.json", {{"version", 1}, {"signatures", signatures}});
    write("side-pinned-sets.json", {{"version", 2}, {"arrangements", layouts}});
    write("native-mirrored-sets.json", {{"version", 1}, {"arrangements", layouts}});
}

void ArrangementCheck::write(const std::string& name, const json& content) const {
    writeFile(process_.state(name), content.dump());
}

json ArrangementCheck::read(const std::string& name) const {
    return json::parse(readFile(process_.state(name)).value());
}

Lines ArrangementCheck::marks() const {
    Lines found;
    for (const std::string& kind : kinds) {
        const json file = read(kind + "-sets.json");
        if (kind == "separated") {
            for (const json& signature : file.at("signatures")) {
                found.push_back(kind + ":" + signature.get<std::string>());
            }
            continue;
        }
        for (const auto& [signature, layouts] : file.at("arrangements").items()) {
            found.push_back(kind + ":" + signature);
        }
    }
    return found;
}

Lines ArrangementCheck::run(const std::string& tag, std::optional<pid_t> exited) {
    const std::string path = process_.state(".display-originals");
    const std::optional<std::string> originals = readFile(path);
    const std::size_t live = simulator::liveObjects();
    checkInvariant(tag, exited);
    EXPECT_EQ(simulator::liveObjects(), live);
    EXPECT_EQ(simulator::openConfigurations(), 0U);
    EXPECT_EQ(readFile(path), originals);
    return process_.takeLog();
}

void PrintTo(const CheckRow& row, std::ostream* out) {
    *out << row.name;
}

void expectRow(const CheckRow& row) {
    ArrangementCheck check(row.machine, row.saved);
    const std::string signature = signatureOf(row.machine);
    if (row.marked) {
        check.markAll({signature}, *row.marked);
    }
    for (const json& fault : row.faults) {
        simulator::addFault(fault);
    }
    EXPECT_EQ(check.run(), row.log);
    EXPECT_EQ(check.takeCalls(), row.calls);
    if (row.marked) {
        Lines left;
        for (const std::string& kind : row.marksLeft.value_or(kinds)) {
            left.push_back(kind + ":" + signature);
        }
        EXPECT_EQ(check.marks(), left);
    }
}

}  // namespace tolvaran::tests
