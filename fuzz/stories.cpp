// Fuzz target: random timelines of events and faults on a random Mac with random records. An input
// is a sequence of choices (choices.hpp, story_maker.hpp).
//
// Whatever happens, the helper comes to rest, leaves nothing behind, removes no record too early
// (record_guard.hpp) and does not configure the displays too often. The next helper, without
// faults, also comes to rest and completes the work: another one changes nothing.
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "fuzz/bounded_play.hpp"
#include "fuzz/check.hpp"
#include "fuzz/choices.hpp"
#include "fuzz/record_guard.hpp"
#include "fuzz/story_maker.hpp"
#include "fuzz/target.hpp"
#include "tests/support/configuration_rate.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::fuzz {
namespace {

using nlohmann::json;

void requireNothing(const std::vector<std::string>& things, const std::string& what) {
    require(things.empty(), what + (things.empty() ? "" : ": " + things.front()));
}

/// Plays a scenario on what lies below `root`.
BoundedPlay playOn(const json& story, const std::string& root) {
    RecordGuard guard(root, faultyFunctions(story));
    BoundedPlay played = playBounded(simulator::readScenario(story, ".", "story"), root,
                                     [&](const std::string& function) { guard.watch(function); });
    requireNothing(guard.losses(), "a record was removed too early");
    requireNothing(played.leftOver, "left behind");
    const std::size_t events = story.value("timeline", json::array()).size();
    require(played.configurations <=
                tests::mostConfigurationsPerMinute + events * tests::mostConfigurationsPerEvent,
            std::to_string(played.configurations) + " configurations in one minute");
    return played;
}

/// The state of a Mac and its files, apart from the heartbeat.
json placeOf(const json& result) {
    json files = result.at("files");
    files.erase("State/.helper-heartbeat");
    return {{"mac", result.at("mac")}, {"files", std::move(files)}};
}

/// The next helper: Tolvaran is not running, nothing fails, and a safety tick comes.
json nextStory(const json& result) {
    json mac = result.at("mac");
    mac["applications"] = json::array();
    return {{"mac", mac}, {"faults", json::array()}, {"until", 61}};
}

void requireHealed(const json& result) {
    for (const char* const marker :
         {"State/dock-autohide-pending.json", "State/hot-corner-screen-saver-hold"}) {
        require(!result.at("files").contains(marker), std::string(marker) + " is left");
    }
}

void tell(const json& story) {
    const tests::TemporaryDirectory root;
    const auto isOver = [&](const BoundedPlay& played) {
        require(played.ending != Ending::endless, "the helper does not come to rest");
        // The helper may have had to stop, or the Mac may have refused an event.
        return played.ending != Ending::whole;
    };
    const BoundedPlay first = playOn(story, root.path());
    if (isOver(first)) {
        return;
    }
    const BoundedPlay next = playOn(nextStory(first.result), root.path());
    if (isOver(next)) {
        return;
    }
    requireHealed(next.result);
    const BoundedPlay last = playOn(nextStory(next.result), root.path());
    require(last.ending == Ending::whole, "a helper that has nothing to do does not end normally");
    const json changes = json::diff(placeOf(next.result), placeOf(last.result));
    require(changes.empty(), "one more run changes something: " + changes.dump());
}

}  // namespace
}  // namespace tolvaran::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tolvaran::fuzz;
    Choices choices({data, size});
    tell(makeStory(choices));
    return 0;
}
