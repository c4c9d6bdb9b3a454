// Corrupts every file that the helper reads, in every scenario: cut at every length, with every
// byte changed, with every field missing, doubled, null and of every other type.
//
// A file that is no longer a record must count as missing: the Mac ends as it does without the
// file, records in other files are still put back, the log has that record's warning, if there is
// one, and the file stays unless it is a marker that is discarded. A file that still holds a
// record, perhaps a different one, may change only what that kind of record decides.
//
// `make torture` tries all of this, including millions of single bytes; the ordinary test run tries
// a fixed sample for each file.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <optional>
#include <set>
#include <utility>

#include "player/player.hpp"
#include "simulator/host/file_calls.hpp"
#include "simulator/simulator.hpp"
#include "tests/faults/corruptions.hpp"
#include "tests/faults/fault_run.hpp"
#include "tests/faults/torture.hpp"
#include "tests/support/patterns.hpp"
#include "tests/support/records/records.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using simulator::Scenario;

using Places = std::vector<std::string>;

/// One file of one scenario.
struct StateFile {
    std::string scenario;  // its path
    std::string path;      // the file's, below the application-support directory
    std::string content;
};

std::string textOf(const json& content) {
    return content.is_string() ? content.get<std::string>() : content.dump();
}

/// The scenario with this content in the file at `path`, or without the file.
Scenario withFile(Scenario scenario, const std::string& path,
                  const std::optional<std::string>& content) {
    std::erase_if(scenario.files, [&](const auto& file) { return file.first == path; });
    if (content) {
        scenario.files.emplace_back(path, *content);
    }
    return scenario;
}

/// Thrown out of a call, through the helper, when a run does not come to rest. Not a
/// std::exception, which might be caught.
struct EndlessCorruptRun {};

/// Many times what the longest scenario makes.
constexpr std::size_t mostCalls = 400000;

/// What became of a scenario whose file was corrupt.
struct Outcome {
    bool isEndless = false;  // it was stopped; nothing else is set then
    Ending after;
    Ending healed;  // the run after it
    Places log;     // "level: message"
    bool wasRead = false;
    std::optional<std::string> file;  // what is at the path afterwards
    Places leftOver;
};

Outcome play(const Scenario& scenario, const std::string& path) {
    const TemporaryDirectory root;
    const std::string file = root / ("ApplicationSupport/" + path);
    Outcome outcome;
    const std::size_t descriptors = openDescriptors();
    const std::size_t objects = simulator::liveObjects();
    const auto prepare = [&] {
        // Not on open: a recovery opens every record to identify its file.
        simulator::onCall("read", [&] { outcome.wasRead |= simulator::callSubject() == file; });
        simulator::decideCalls([calls = std::size_t{0}](const std::string& function) mutable {
            // Only from Apple's functions: those on files are also called where nothing may be
            // thrown.
            if (++calls > mostCalls && std::isupper(function.front()) != 0) {
                throw EndlessCorruptRun();
            }
            return json();
        });
    };
    json result;
    try {
        result = simulator::play(scenario, {.root = root.path(), .quiet = true, .prepare = prepare})
                     .result;
    } catch (const EndlessCorruptRun&) {
        outcome.isEndless = true;
        return outcome;
    }
    outcome.after = {.mac = result.at("mac"), .files = result.at("files")};
    outcome.after.files.erase("State/.helper-heartbeat");
    for (const json& line : result.at("log")) {
        outcome.log.push_back(line.at("level").get<std::string>() + ": " +
                              line.at("message").get<std::string>());
    }
    if (openDescriptors() != descriptors || simulator::liveObjects() != objects) {
        outcome.leftOver.emplace_back("a descriptor or an object");
    }
    std::ranges::copy(unfinishedFiles(root.path(), "left"), std::back_inserter(outcome.leftOver));
    outcome.file = readFile(file);
    outcome.healed = healedEnding(outcome.after.mac, root.path());
    return outcome;
}

/// Tries corruptions on one file.
class CorruptionTrial {
  public:
    explicit CorruptionTrial(StateFile file)
        : file_(std::move(file)),
          record_(*findRecord(file_.path)),
          scenario_(scenarioToTry(file_.scenario)),
          own_("files" + (json::json_pointer() / file_.path).to_string()),
          whole_(play(withFile(scenario_, file_.path, file_.content), file_.path)),
          absent_(play(withFile(scenario_, file_.path, std::nullopt), file_.path)) {}

    void check(const Corruption& corruption) {
        ++tried_;
        SCOPED_TRACE(file_.path + ", " + corruption.what + ": " +
                     json(corruption.content).dump(-1, ' ', true, json::error_handler_t::replace));
        const Scenario corrupt = withFile(scenario_, file_.path, corruption.content);
        const Outcome outcome = play(corrupt, file_.path);
        if (outcome.isEndless) {
            ADD_FAILURE() << "does not come to rest";
            return;
        }
        EXPECT_EQ(outcome.leftOver, Places{});
        if (isUsable(record_, corruption.content)) {
            checkUsable(corruption.content, outcome);
        } else {
            checkUnusable(corruption.content, outcome);
        }
    }

    const StateFile& file() const { return file_; }
    std::size_t tried() const { return tried_; }

  private:
    /// Where the two end differently, apart from the file itself.
    Places elsewhere(const Outcome& a, const Outcome& b) const {
        Places places = differences(a.after, b.after);
        std::ranges::copy(differences(a.healed, b.healed), std::back_inserter(places));
        std::erase_if(places, [&](const std::string& place) { return place.starts_with(own_); });
        return places;
    }

    bool hasWarning(const Outcome& outcome) const {
        return std::ranges::any_of(outcome.log, [&](const std::string& line) {
            return line.starts_with(record_.unusableLine);
        });
    }

    void checkUnusable(const std::string& content, const Outcome& outcome) const {
        EXPECT_EQ(elsewhere(absent_, outcome), Places{}) << "differs from a run without the file";
        if (!outcome.wasRead) {
            return;
        }
        EXPECT_TRUE(hasWarning(outcome)) << "no warning";
        if (absent_.file) {
            EXPECT_EQ(outcome.file, absent_.file) << "a later write is missing";
        } else if (record_.fate == Fate::kept) {
            EXPECT_EQ(outcome.file, content) << "the file was not kept";
        } else {
            EXPECT_EQ(outcome.file, std::nullopt) << "the file was not discarded";
        }
    }

    void checkUsable(const std::string& content, const Outcome& outcome) const {
        if (!record_.unusableLine.empty()) {
            EXPECT_FALSE(hasWarning(outcome) && !hasWarning(whole_))
                << "a warning about a usable record";
        }
        const bool isSame =
            record_.fate == Fate::unread ||
            json::parse(content, nullptr, false) == json::parse(file_.content, nullptr, false);
        const std::string allowed = isSame ? "" : record_.places;
        for (const std::string& place : elsewhere(whole_, outcome)) {
            EXPECT_TRUE(matches(place, allowed)) << "ends differently at " << place;
        }
    }

    StateFile file_;
    const Record& record_;
    Scenario scenario_;
    std::string own_;  // the file's place in differences()
    Outcome whole_;
    Outcome absent_;
    std::size_t tried_ = 0;
};

/// Records with every field, on the Mac with three displays that they belong to.
std::vector<StateFile> completeFiles() {
    std::vector<StateFile> files;
    for (const char* const path : {"State/menubar-state.json", "State/hot-corners-snapshot.json",
                                   "Settings/preferences.json"}) {
        files.push_back(
            {TOLVARAN_SCENARIOS "/crash-in-full.json", path, findRecord(path)->example});
    }
    return files;
}

/// Every file that the helper reads in every scenario with a virtual clock, and the complete ones.
const std::vector<StateFile>& stateFiles() {
    static const std::vector<StateFile> all = [] {
        std::vector<StateFile> files = completeFiles();
        for (const auto& entry : fs::directory_iterator(TOLVARAN_SCENARIOS)) {
            if (entry.path().extension() != ".json") {
                continue;
            }
            const Scenario scenario = simulator::loadScenario(entry.path().string());
            for (const auto& [path, content] : scenario.files) {
                if (scenario.clock == simulator::clock::Kind::virtualTime &&
                    findRecord(path) != nullptr) {
                    files.push_back({entry.path().string(), path, textOf(content)});
                }
            }
        }
        std::ranges::sort(files, {}, [](const StateFile& file) {
            return std::tie(file.path, file.content, file.scenario);
        });
        return files;
    }();
    return all;
}

/// Whether an earlier scenario in the list has the same file. Single bytes, millions in all, make
/// the same difference in both.
bool isRepeated(std::size_t number) {
    const auto& files = stateFiles();
    return number > 0 && files[number].path == files[number - 1].path &&
           files[number].content == files[number - 1].content;
}

class CorruptionTest : public testing::TestWithParam<std::size_t> {
  protected:
    CorruptionTest() : trial(stateFiles()[GetParam()]) {}
    ~CorruptionTest() override { addStatistics({{"corrupted files", trial.tried()}}); }

    void checkAll(const std::vector<Corruption>& corruptions, std::size_t sample) {
        const std::size_t step = wideStride(corruptions.size(), sample);
        for (std::size_t n = 0; n < corruptions.size() && !HasFailure(); n += step) {
            trial.check(corruptions[n]);
        }
    }

    CorruptionTrial trial;
};

TEST_P(CorruptionTest, LosesOnlyTheRecord) {
    const std::string& content = trial.file().content;
    const std::size_t share = effort() == Effort::sample ? 1 : 10;  // scales each sample
    checkAll(cuts(content), 3 * share);
    checkAll(fieldCorruptions(content), 8 * share);
    const std::size_t bytes = isRepeated(GetParam()) ? 0 : byteCorruptions(content);
    const std::size_t step = wideStride(bytes, 2 * share);
    for (std::size_t n = 0; n < bytes && !HasFailure(); n += step) {
        trial.check(byteCorruption(content, n));
    }
}

TEST(Corruption, OfTheHeartbeatEndsWithTheNextTouch) {
    const std::string path = "State/.helper-heartbeat";
    const Scenario scenario =
        simulator::loadScenario(TOLVARAN_SCENARIOS "/start-without-tolvaran.json");
    const auto expected = play(withFile(scenario, path, std::nullopt), path).file;
    ASSERT_TRUE(expected);
    for (const Corruption& corruption : fieldCorruptions("1767225600000")) {
        const Outcome outcome = play(withFile(scenario, path, corruption.content), path);
        EXPECT_EQ(outcome.file, expected) << corruption.what;
        EXPECT_EQ(outcome.leftOver, Places{});
    }
}

INSTANTIATE_TEST_SUITE_P(Files, CorruptionTest, testing::Range<std::size_t>(0, stateFiles().size()),
                         [](const auto& number) {
                             const StateFile& file = stateFiles()[number.param];
                             std::string name = std::to_string(number.param) + "_" +
                                                fs::path(file.path).stem().string() + "_of_" +
                                                fs::path(file.scenario).stem().string();
                             std::ranges::replace_if(
                                 name, [](unsigned char c) { return !std::isalnum(c); }, '_');
                             return name;
                         });

}  // namespace
}  // namespace tolvaran::tests
