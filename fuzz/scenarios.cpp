// Fuzz target: reading and playing scenario files. An input is the content of one.
//
// Whatever it holds, it is either refused in one line or played. Played twice, it gives the same
// result, which can be printed and whose Mac can be that of another scenario. Scenarios that need
// the host (the real clock starts processes, `filesFrom` copies any directory) are read and not
// played, and no play is longer than a few virtual minutes.
#include <algorithm>
#include <string>

#include "fuzz/bounded_play.hpp"
#include "fuzz/check.hpp"
#include "fuzz/target.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::fuzz {
namespace {

constexpr simulator::clock::Time longest = 200 * simulator::clock::second;

void requireOneLine(const std::string& text) {
    require(!text.empty() && text.find('\n') == std::string::npos, "not a single line: " + text);
}

BoundedPlay playAnew(const simulator::Scenario& scenario) {
    const tests::TemporaryDirectory root;
    BoundedPlay played = playBounded(scenario, root.path());
    for (const std::string& thing : played.leftOver) {
        fail("left behind: " + thing);
    }
    return played;
}

void requireMacToBeReadable(const nlohmann::json& mac) {
    simulator::reset(mac);
    require(simulator::machine() == mac, "a Mac is not read as it was written");
    simulator::reset();
}

void play(simulator::Scenario scenario) {
    if (scenario.clock == simulator::clock::Kind::realTime || scenario.filesFrom) {
        return;
    }
    scenario.until = std::min(scenario.until, longest);
    const BoundedPlay first = playAnew(scenario);
    const BoundedPlay second = playAnew(scenario);
    require(first.ending == second.ending, "the same scenario ends differently: " + second.why);
    if (first.ending == Ending::refused) {
        requireOneLine(first.why);
    }
    if (first.ending == Ending::whole) {
        require(first.result.dump() == second.result.dump(), "the same scenario has two results");
        requireMacToBeReadable(first.result.at("mac"));
    }
}

void readAndPlay(const std::string& content) {
    static const tests::TemporaryDirectory directory;
    const std::string path = directory / "scenario.json";
    tests::writeFile(path, content);
    try {
        play(simulator::loadScenario(path));
    } catch (const simulator::ScenarioError& error) {
        requireOneLine(error.what());
    }
}

}  // namespace
}  // namespace tolvaran::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tolvaran::fuzz::readAndPlay(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}
