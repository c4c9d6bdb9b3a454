#include "simulator/player/player.hpp"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "tests/simulator/simulator_test.hpp"
#include "tests/support/temporary_directory.hpp"

namespace simulator {
namespace {

using tolvaran::tests::readFile;
using tolvaran::tests::ScopedEnvironment;
using tolvaran::tests::TemporaryDirectory;
using tolvaran::tests::writeFile;

class Player : public SimulatorTest {};

constexpr const char* marker = "State/dock-autohide-pending.json";

json crash() {
    return json::parse(R"({
        "mac": {"applications": [{"bundle": "com.morvelli.Tolvaran", "pid": 812}]},
        "files": {"State/dock-autohide-pending.json": {"version": 1, "restoreTo": true}},
        "timeline": [{"at": 5, "exit": 812}]})");
}

Outcome playQuietly(const json& document, std::optional<std::string> root = std::nullopt) {
    return play(readScenario(document, "", "test"), {std::move(root), true});
}

std::vector<std::string> names(const json& list, const char* key) {
    std::vector<std::string> all;
    for (const json& entry : list) {
        all.push_back(entry[key]);
    }
    return all;
}

TEST_F(Player, PlaysACrash) {
    const json result = playQuietly(crash()).result;
    EXPECT_THAT(
        names(result["calls"], "call"),
        testing::IsSupersetOf({"CoreDockGetAutoHideEnabled", "CoreDockSetAutoHideEnabled"}));
    EXPECT_EQ(result["mac"]["dock"]["autoHide"], true);
    EXPECT_EQ(result["mac"]["applications"], json::array());
    EXPECT_FALSE(result["files"].contains(marker));
    EXPECT_TRUE(result["files"].contains("State/.helper-heartbeat"));
    EXPECT_EQ(result["notifications"], json::array());
    EXPECT_EQ(result["log"][0],
              (json{{"at", 0}, {"level", "info"}, {"message", "Helper starting (pid 501)"}}));
    EXPECT_THAT(names(result["log"], "message"),
                testing::Contains("dock auto-hide restoreIfPending: forced back to true"));
}

TEST_F(Player, EveryVirtualRunIsTheSame) {
    const json first = playQuietly(crash()).result;
    EXPECT_EQ(playQuietly(crash()).result, first);
    EXPECT_GT(first["log"].size(), 4U);
}

TEST_F(Player, TheLogNamesFilesByTheirPathBelowTheDirectory) {
    json document = crash();
    document["files"] = json::parse(R"({"State/.display-originals": "torn"})");
    document["timeline"] = json::array();
    document["mac"] = json::object();
    const json first = playQuietly(document).result;
    for (const std::string& message : names(first["log"], "message")) {
        EXPECT_THAT(message, testing::Not(testing::HasSubstr("ApplicationSupport")));
    }
    EXPECT_EQ(playQuietly(document).result["log"], first["log"]);
}

TEST_F(Player, RunsUntilTheEnd) {
    json document = crash();
    document["until"] = 5.1;
    EXPECT_EQ(playQuietly(document).result["mac"]["dock"]["autoHide"], false)
        << "the restore comes 0.2 s after the exit";
    document["until"] = 3600;
    const json log = playQuietly(document).result["log"];
    EXPECT_EQ(log.back()["at"], 3600);
}

TEST_F(Player, EventsOfTimeZeroComeBeforeTheHelperStarts) {
    json document = crash();
    document["mac"] = json::object();
    document["timeline"] = json::parse(R"([
        {"at": 0, "launch": {"bundle": "com.morvelli.Tolvaran", "pid": 5}},
        {"at": 0, "write": {"path": "State/dock-autohide-pending.json", "content": "torn"}}])");
    const json result = playQuietly(document).result;
    EXPECT_THAT(names(result["log"], "message"),
                testing::Contains("Tolvaran already running at helper start (pid 5)"));
    EXPECT_EQ(result["files"][marker], "torn");
}

TEST_F(Player, ComparesWithWhatIsExpected) {
    json document = crash();
    document["expect"] = json::parse(R"({"mac": {"dock": {"autoHide": true}}})");
    document["expect"]["files"][marker] = nullptr;
    EXPECT_THAT(playQuietly(document).failures, testing::IsEmpty());
    document["expect"]["mac"]["dock"]["autoHide"] = false;
    EXPECT_THAT(playQuietly(document).failures,
                testing::ElementsAre("expect.mac.dock.autoHide: expected false, found true"));
}

TEST_F(Player, FaultsMeetTheHelper) {
    json document = crash();
    document["faults"] = json::parse(
        R"([{"call": "CoreDockSetAutoHideEnabled", "effect": false},
            {"call": "unlink", "result": "EACCES"}])");
    const json result = playQuietly(document).result;
    EXPECT_EQ(result["mac"]["dock"]["autoHide"], false);
    EXPECT_TRUE(result["files"].contains(marker));
    EXPECT_FALSE(playQuietly(crash()).result["files"].contains(marker))
        << "the faults ended with their run";
}

TEST_F(Player, FilesComeFromADirectoryAndThenFromTheScenario) {
    const TemporaryDirectory directory;
    writeFile(directory / "from/State/dock-autohide-pending.json", "overwritten");
    writeFile(directory / "from/Settings/deep/other.txt", "kept");
    json document = crash();
    document["filesFrom"] = directory / "from";
    const json result = playQuietly(document).result;
    EXPECT_EQ(result["mac"]["dock"]["autoHide"], true);
    EXPECT_EQ(result["files"]["Settings/deep/other.txt"], "kept");
    EXPECT_EQ(readFile(directory / "from/State/dock-autohide-pending.json"), "overwritten");
}

TEST_F(Player, TheRootIsKept) {
    const TemporaryDirectory directory;
    playQuietly(crash(), directory / "root");
    EXPECT_TRUE(readFile(directory / "root/ApplicationSupport/State/.helper-heartbeat"));
    EXPECT_THAT(readFile(directory / "root/Logs/tolvaran-helper.log").value_or(""),
                testing::HasSubstr("Helper starting"));
}

TEST_F(Player, LeavesNoTrace) {
    const TemporaryDirectory temporary;
    const ScopedEnvironment where("TMPDIR", temporary.path());
    const ScopedEnvironment support("TOLVARAN_APPLICATION_SUPPORT_DIR", "/mine");
    const ScopedEnvironment config("TOLVARAN_CONFIG_DIR", "/mine/too");
    const ScopedEnvironment logs("TOLVARAN_LOGS_DIR", std::nullopt);
    const std::size_t live = liveObjects();
    playQuietly(crash());
    EXPECT_THAT(temporary.list(), testing::IsEmpty());
    EXPECT_STREQ(std::getenv("TOLVARAN_APPLICATION_SUPPORT_DIR"), "/mine");
    EXPECT_STREQ(std::getenv("TOLVARAN_CONFIG_DIR"), "/mine/too");
    EXPECT_EQ(std::getenv("TOLVARAN_LOGS_DIR"), nullptr);
    EXPECT_EQ(liveObjects(), live);
    EXPECT_NE(getpid(), 501);
}

TEST_F(Player, TheHelpersLogGoesToStandardErrorUnlessQuiet) {
    testing::internal::CaptureStderr();
    play(readScenario(crash(), "", "test"), {std::nullopt, false});
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("Helper starting"));
    testing::internal::CaptureStderr();
    playQuietly(crash());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Player, WithTheRealClockARealProcessIsKilled) {
    const json document = json::parse(R"({
        "clock": "real",
        "files": {"State/dock-autohide-pending.json": {"version": 1, "restoreTo": true}},
        "timeline": [{"at": 0, "launch": {"bundle": "com.morvelli.Tolvaran", "as": "app"}},
                     {"at": 0.1, "exit": "app"}],
        "until": 0.6})");
    const json result = playQuietly(document).result;
    EXPECT_EQ(result["mac"]["dock"]["autoHide"], true);
    EXPECT_FALSE(result["files"].contains(marker));
    const std::string pid = std::to_string(getpid());
    EXPECT_EQ(result["log"][0]["message"], "Helper starting (pid " + pid + ")");
}

TEST_F(Player, EventsThatCannotHappenAreErrors) {
    json document = crash();
    document["timeline"] = json::parse(R"([{"at": 1, "exit": 4711}])");
    EXPECT_EQ(thrownBy<ScenarioError>([&] { playQuietly(document); }),
              "timeline[0].exit: no application with this pid is running");
    document["timeline"] = json::array();
    document["faults"] =
        json::parse(R"([{"call": "CGAssociateMouseAndMouseCursorPosition", "result": "text"}])");
    document["mac"] = json::object();
    EXPECT_THAT(thrownBy<ScenarioError>([&] { playQuietly(document); }),
                testing::StartsWith("faults: "));
    document = crash();
    document["files"]["State"] = "a file where a directory must be";
    EXPECT_THAT(thrownBy<ScenarioError>([&] { playQuietly(document); }),
                testing::StartsWith("files: "));
    EXPECT_EQ(playQuietly(crash()).result["mac"]["dock"]["autoHide"], true)
        << "the next run is not disturbed";
}

}  // namespace
}  // namespace simulator
