// The plan for the displays is what the helper tries first.
#include "tools/describe/arrangement_plan.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>
#include <set>

#include "player/player.hpp"
#include "restore/arrangement/set_marks.hpp"
#include "tests/tools/describe/reported.hpp"

namespace tolvaran {
namespace {

using nlohmann::json;
using tests::FoundMac;

/// Where displays are put, by their IDs.
using Places = std::map<CGDirectDisplayID, std::pair<double, double>>;

std::string nameOf(int display) {
    return "HW-1-2-" + std::to_string(display);
}

/// Makes Macs that may need a repair, and files that may help.
class Maker {
  public:
    explicit Maker(unsigned seed) : random_(seed) {}

    json scenario() {
        const int count = upTo(3) + 1;
        const json displays = upTo(3) == 1 ? scattered(count) : staircase(count);
        json files = {
            {"State/.display-originals", {{"version", 2}, {"arrangements", saved(displays)}}}};
        if (upTo(2) == 1) {
            files["State/side-pinned-sets.json"] = marked(displays, sidePinnedSets);
        }
        if (upTo(2) == 1) {
            files["State/native-mirrored-sets.json"] = marked(displays, nativeMirroredSets);
        }
        return {{"mac", {{"displays", displays}}}, {"files", files}};
    }

  private:
    /// A number from 1 to the greatest.
    int upTo(int greatest) {
        return static_cast<int>(random_() % static_cast<unsigned>(greatest)) + 1;
    }
    double coordinate() { return (upTo(5) - 3) * 100; }

    static json displayAt(int number, double x, double y) {
        return {{"id", number},
                {"vendor", 1},
                {"model", 2},
                {"serial", number},
                {"frame", {x, y, 100, 100}}};
    }

    static json staircase(int count) {
        json displays = json::array();
        for (int i = 0; i < count; ++i) {
            displays.push_back(displayAt(i + 1, i * 100, i * 100));
        }
        return displays;
    }

    json scattered(int count) {
        json displays = json::array({displayAt(1, 0, 0)});
        std::set<std::pair<double, double>> taken = {{0, 0}};
        while (static_cast<int>(displays.size()) < count) {
            const double x = coordinate();
            const double y = coordinate();
            if (taken.emplace(x, y).second) {
                displays.push_back(displayAt(static_cast<int>(displays.size()) + 1, x, y));
            }
        }
        return displays;
    }

    json entry(int display) {
        const int oddity = upTo(40);
        const double x = oddity == 1 ? 3e9 : coordinate() + (oddity == 2 ? .5 : 0);
        return {{"uuid", nameOf(display)}, {"x", x}, {"y", coordinate()}};
    }

    /// An arrangement of some of the displays and of one that is absent.
    json arrangement(const json& displays) {
        const bool isInForce = upTo(4) == 1;
        json entries = json::array();
        for (const json& display : displays) {
            const int number = display["id"].get<int>();
            const int times = upTo(6) == 1 ? 0 : upTo(12) == 1 ? 2 : 1;
            for (int i = 0; i < times; ++i) {
                entries.push_back(isInForce ? whereItIs(display) : entry(number));
            }
        }
        if (upTo(3) == 1) {
            entries.push_back(entry(static_cast<int>(displays.size()) + 1));
        }
        return entries;
    }

    json saved(const json& displays) {
        json arrangements = json::object();
        for (int i = upTo(4); i > 1; --i) {
            const json entries = arrangement(displays);
            if (!entries.empty()) {
                arrangements[signatureOf(entries)] = entries;
            }
        }
        return arrangements;
    }

    static std::string signatureOf(const json& entries) {
        std::set<std::string> names;
        for (const json& each : entries) {
            names.insert(each["uuid"]);
        }
        std::string signature;
        for (const std::string& name : names) {
            signature += (signature.empty() ? "" : ",") + name;
        }
        return signature;
    }

    static json whereItIs(const json& display) {
        return {{"uuid", nameOf(display["id"].get<int>())},
                {"x", display["frame"][0]},
                {"y", display["frame"][1]}};
    }

    /// A mark that recognises the layout.
    static json marked(const json& displays, const SetMarks& marks) {
        json layout = json::array();
        for (const json& display : displays) {
            layout.push_back(whereItIs(display));
        }
        return {{"version", marks.version},
                {"arrangements", {{signatureOf(layout), json::array({layout})}}}};
    }

    std::mt19937 random_;
};

Places planned(const json& scenario) {
    const FoundMac mac(simulator::readScenario(scenario, "", ""), FoundMac::Helper::neverRan);
    Places places;
    mac.visit([&] {
        for (const HardwarePosition& position :
             describe::planArrangement(readHardware()).positions) {
            places[position.displayID] = {std::trunc(position.origin.x),
                                          std::trunc(position.origin.y)};
        }
    });
    return places;
}

json played(const json& scenario) {
    return simulator::play(simulator::readScenario(scenario, "", ""), {.quiet = true}).result;
}

/// What the helper's first configuration of the displays asks for.
Places tried(const json& result) {
    Places places;
    for (const json& call : result["calls"]) {
        if (call["call"] == "CGConfigureDisplayOrigin") {
            places[call["args"][0]] = {call["args"][1], call["args"][2]};
        } else if (call["call"] == "CGCompleteDisplayConfiguration") {
            break;
        }
    }
    return places;
}

// What the log says about a candidate of each kind, used or refused.
const std::vector<std::string> everyWay = {"restored exact arrangement",
                                           "subset-restored",
                                           "superset-projection-restored",
                                           "restored stacked fallback",
                                           "leaving hardware unchanged",
                                           "is already in force",
                                           "is itself zigzag",
                                           "has out-of-range coordinates"};

TEST(ArrangementPlan, IsWhatTheHelperTriesFirst) {
    std::map<std::string, int> seen;
    for (unsigned seed = 0; seed < 400; ++seed) {
        const json scenario = Maker(seed).scenario();
        const json result = played(scenario);
        EXPECT_EQ(planned(scenario), tried(result)) << "seed " << seed << ": " << scenario.dump(1);
        const std::string log = result["log"].dump();
        for (const std::string& way : everyWay) {
            seen[way] += log.find(way) == std::string::npos ? 0 : 1;
        }
    }
    for (const auto& [way, times] : seen) {
        EXPECT_GT(times, 3) << way;
    }
}

}  // namespace
}  // namespace tolvaran
