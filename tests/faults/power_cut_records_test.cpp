// Cuts the power at every moment while the library writes its records. What is then read is the
// record from before or from after the operation, and always the latter once the operation has
// returned: nothing saved is lost, nothing removed comes back.
//
// If an operation also changes the Mac, a second rule holds: as long as the Mac differs from the
// user's, the record of what the user had is on the disk, wherever the cut falls.
#include <gtest/gtest.h>

#include <array>

#include <functional>
#include <optional>
#include <vector>

#include "restore/arrangement/formats.hpp"
#include "restore/dock/formats.hpp"
#include "restore/menubar/formats.hpp"
#include "restore/modes/formats.hpp"
#include "restore/support/files.hpp"
#include "restore/support/json.hpp"
#include "restore/support/process_wide.hpp"
#include "restore/tolvaran_restore.hpp"
#include "simulator/host/file_calls.hpp"
#include "simulator/simulator.hpp"
#include "tests/faults/disk_model.hpp"
#include "tests/faults/torture.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/records/records.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

/// Everything that the library writes.
std::vector<Record> writtenRecords() {
    std::vector<Record> written = records();
    std::erase_if(written, [](const Record& record) { return record.changes.empty(); });
    return written;
}

using Read = std::function<std::string(const std::string& path)>;

/// A directory that the disk model follows. Records lie two directories further down, as they do
/// when the main application runs for the first time.
class FollowedDirectory {
  public:
    explicit FollowedDirectory(const json& mac = json::object()) : disk_(root_.path()) {
        simulator::reset(mac);
        simulator::exposeToFaults(root_.path());
        simulator::observeFileCalls([this](const simulator::FileCall& call) { disk_.take(call); });
    }
    ~FollowedDirectory() {
        EXPECT_EQ(disk_.unknownCalls(), std::set<std::string>{});
        EXPECT_EQ(disk_.whole(), treeBelow(root_.path())) << "the disk model and the disk differ";
        simulator::reset();
    }
    FollowedDirectory(const FollowedDirectory&) = delete;
    FollowedDirectory& operator=(const FollowedDirectory&) = delete;

    std::string pathOf(const std::string& name) const { return root_ / (below + name); }
    const DiskModel& disk() const { return disk_; }

    static inline const std::string below = "Tolvaran/State/";

  private:
    TemporaryDirectory root_;
    DiskModel disk_;
};

/// Reads the record in every state that a cut may leave.
class CutReader {
  public:
    CutReader(const FollowedDirectory& directory, Read read)
        : directory_(directory), read_(std::move(read)) {}

    /// @return the texts that can be read after a cut now
    const std::set<std::string>& possibleTexts() {
        if (version_ == directory_.disk().version()) {
            return texts_;
        }
        version_ = directory_.disk().version();
        texts_.clear();
        for (const Tree& tree : directory_.disk().cut().trees) {
            layOut(tree, scratch_ / "disk");
            texts_.insert(read_(scratch_ / ("disk/" + FollowedDirectory::below + "record")));
            ++states_;
        }
        return texts_;
    }

    std::size_t states() const { return states_; }

  private:
    const FollowedDirectory& directory_;
    Read read_;
    TemporaryDirectory scratch_;
    std::optional<std::size_t> version_;
    std::set<std::string> texts_;
    std::size_t states_ = 0;
};

class PowerCutRecordsTest : public testing::TestWithParam<Record> {};

TEST_P(PowerCutRecordsTest, LeavesTheOldRecordOrTheNewOne) {
    const LogCapture log;
    const FollowedDirectory directory;
    const std::string path = directory.pathOf("record");
    CutReader reader(directory, GetParam().read);
    std::set<std::string> seen;
    simulator::decideCalls([&](const std::string&) {
        seen.merge(std::set<std::string>(reader.possibleTexts()));
        return json();
    });
    std::string before = GetParam().read(path);
    for (std::size_t n = 0; n < GetParam().changes.size(); ++n) {
        SCOPED_TRACE("operation " + std::to_string(n));
        seen.clear();
        GetParam().changes[n](path);
        const std::set<std::string> afterReturn = reader.possibleTexts();
        const std::string after = GetParam().read(path);
        EXPECT_NE(after, before) << "the operation does nothing";
        seen.erase(before);
        seen.erase(after);
        EXPECT_EQ(seen, std::set<std::string>{}) << "neither " << before << " nor " << after;
        EXPECT_EQ(afterReturn, std::set<std::string>{after});
        before = after;
    }
    for (const std::string& line : log.lines()) {
        EXPECT_NE(line.substr(0, 4), "warn") << line;
    }
    addStatistics({{"power-cut states", reader.states()}});
}

INSTANTIATE_TEST_SUITE_P(Records, PowerCutRecordsTest, testing::ValuesIn(writtenRecords()),
                         [](const auto& kind) {
                             std::string name = kind.param.name;
                             std::erase_if(name, [](unsigned char c) { return !std::isalnum(c); });
                             return name;
                         });

TEST(PowerCutRecords, TheFirstRecordEverSavedIsNotLostWithItsNewDirectory) {
    const FollowedDirectory directory;
    files::writeCreatingDirectory(directory.pathOf("record"), "content");
    EXPECT_EQ(directory.disk().cut().trees, std::set<Tree>{directory.disk().whole()});
}

TEST(PowerCutRecords, AHeartbeatThatWasNotFlushedIsNeverNewerThanItsLastTouch) {
    const FollowedDirectory directory;
    CutReader reader(directory, [](const std::string& path) {
        const auto touched = HelperHeartbeat::lastTouch(path);
        return touched && *touched > 2000000 ? "newer" : "older";
    });
    const std::string path = directory.pathOf("record");
    HelperHeartbeat::touch(path, 1000);
    HelperHeartbeat::touch(path, 2000000);
    EXPECT_EQ(reader.possibleTexts(), std::set<std::string>{"older"});
    EXPECT_GT(reader.states(), 2U);
}

TEST(PowerCutRecords, ARemovedRecordDoesNotComeBack) {
    const FollowedDirectory directory;
    const auto removeIfPossible = [](const std::string& path) { files::removeIfPossible(path); };
    for (void (*const remove)(const std::string&) :
         std::array<void (*)(const std::string&), 2>{files::remove, removeIfPossible}) {
        files::writeCreatingDirectory(directory.pathOf("record"), "content");
        remove(directory.pathOf("record"));
        EXPECT_EQ(directory.disk().cut().trees, std::set<Tree>{directory.disk().whole()});
    }
}

// The user's corners, and a Mac that has them.
const json macOfTheUser = {
    {"preferences", {{"com.apple.dock", {{"wvous-tl-corner", 2}}}}},
    {"dock",
     {{"autoHide", false}, {"cornerActions", {2, 1, 1, 1}}, {"cornerModifiers", {0, 0, 0, 0}}}}};

TEST(PowerCutRecords, SuppressedCornersHaveASnapshotOnTheDisk) {
    using Owner = DockHotCornerLeaseOwner;
    forgetProcessWideValues();
    const FollowedDirectory directory(macOfTheUser);
    const std::string path = directory.pathOf("record");
    const Record& hotCorners = *findRecord("State/hot-corners-snapshot.json");
    const DockHotCornerSnapshot users = DockHotCornerOverride::readCurrent("com.apple.dock");
    const json usersDock = simulator::machine().at("dock");
    const json usersPreferences = simulator::machine().at("preferences");
    CutReader reader(directory, hotCorners.read);
    std::size_t suppressedMoments = 0;
    simulator::decideCalls([&](const std::string& function) {
        const json mac = simulator::machine();
        if (mac.at("dock") != usersDock || mac.at("preferences") != usersPreferences) {
            ++suppressedMoments;
            EXPECT_EQ(reader.possibleTexts(), std::set<std::string>{tolvaran::json::write(users)})
                << "before " << function;
        }
        return json();
    });
    DockHotCornerOverride::enter(Owner::gameMode, path, "com.apple.dock");
    DockHotCornerOverride::enter(Owner::customHotCorners, path, "com.apple.dock");
    DockHotCornerOverride::exit(Owner::gameMode, path, "com.apple.dock");
    DockHotCornerOverride::exit(Owner::customHotCorners, path, "com.apple.dock");
    EXPECT_GT(suppressedMoments, 10U);
    EXPECT_EQ(simulator::machine().at("dock"), usersDock);
    EXPECT_EQ(reader.possibleTexts(), std::set<std::string>{"none"});
    addStatistics({{"power-cut states", reader.states()}});
    forgetProcessWideValues();
}

TEST(PowerCutRecords, AHoldHasAMarkerOnTheDisk) {
    const FollowedDirectory directory;
    const std::string path = directory.pathOf("record");
    CutReader reader(directory, [](const std::string& at) {
        return std::string(ScreenSaverHotCornerHold::isPending(at) ? "held" : "none");
    });
    std::vector<std::set<std::string>> whenPosting;
    simulator::onCall("CFNotificationCenterPostNotification",
                      [&] { whenPosting.push_back(reader.possibleTexts()); });
    EXPECT_TRUE(ScreenSaverHotCornerHold::begin(path));
    EXPECT_TRUE(ScreenSaverHotCornerHold::end(path));
    // Held when the hold is asked for, and still when it is asked to end.
    EXPECT_EQ(whenPosting, (std::vector<std::set<std::string>>{{"held"}, {"held"}}));
}

}  // namespace
}  // namespace tolvaran::tests
