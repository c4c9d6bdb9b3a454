#include "player/command_line.hpp"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "tests/simulator/simulator_test.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;

using testing::HasSubstr;
using testing::StartsWith;

using Arguments = std::vector<std::string>;

class CommandLine : public SimulatorTest {
  protected:
    struct Run {
        int status;
        std::string out;
        std::string errors;
    };

    /// If `out` is given, the output goes there and not into the result.
    static Run run(const Arguments& arguments, const report::Terminal& terminal = {},
                   std::ostream* out = nullptr) {
        std::ostringstream text;
        std::ostringstream errors;
        testing::internal::CaptureStderr();
        const int status =
            runCommandLine(arguments, out != nullptr ? *out : text, errors, terminal);
        testing::internal::GetCapturedStderr();
        return {status, text.str(), errors.str()};
    }

    std::string scenario(const std::string& content) {
        const std::string path = directory_ / "scenario.json";
        writeFile(path, content);
        return path;
    }

    TemporaryDirectory directory_;
};

TEST_F(CommandLine, ReducesAScenario) {
    const std::string small = directory_ / "small.json";
    const std::string path =
        scenario(R"({"name": "n", "until": 2, "mac": {"cursorAssociated": true},
        "expect": {"mac": {"cursorAssociated": false, "mainDisplay": 1}}})");
    const Run reduced = run({"--reduce", path, "-o", small});
    EXPECT_EQ(reduced.status, 0) << reduced.errors;
    EXPECT_THAT(reduced.out, StartsWith("reduced from "));
    EXPECT_EQ(json::parse(*readFile(small)),
              json::parse(R"({"expect": {"mac": {"cursorAssociated": false}}})"));
    EXPECT_EQ(run({"--reduce", path, "--keep", "re-associated", "-o", small}).status, 0);
    EXPECT_EQ(json::parse(*readFile(small)), json::object());
    EXPECT_EQ(run({"--reduce", path, "--keep", "nobody says this", "-o", small}).errors,
              "no log line or call has this text\n");
    EXPECT_EQ(run({"--reduce", scenario("{}"), "-o", small}).errors, "no expectation fails\n");
    EXPECT_EQ(run({"--reduce", scenario("[]"), "-o", small}).status, 2);
    EXPECT_EQ(run({"--reduce", path}).status, 2);
    EXPECT_EQ(run({path, "-o", small}).status, 2);
    EXPECT_EQ(run({"--reduce", path, "-o", small, "--json"}).status, 2);
}

TEST_F(CommandLine, AReducedScenarioHoldsTheFilesItself) {
    writeFile(directory_ / "files/State/dock-autohide-pending.json",
              R"({"version": 1, "restoreTo": true})");
    writeFile(directory_ / "files/State/other", "\xff");
    const std::string small = directory_ / "small.json";
    const Run reduced = run({"--reduce", scenario(R"({"filesFrom": "files"})"), "--keep",
                             "forced back to true", "-o", small});
    EXPECT_EQ(reduced.status, 0) << reduced.errors;
    EXPECT_EQ(
        json::parse(*readFile(small)),
        (json{{"files",
               {{"State/dock-autohide-pending.json", R"({"version": 1, "restoreTo": true})"}}}}));
}

TEST_F(CommandLine, TheExitStatusSaysHowItWent) {
    const struct {
        const char* scenario;
        int status;
        const char* lastLine;  // of the summary
        std::string errors;
    } rows[] = {
        {"{}", 0, "nothing was expected\n", ""},
        {R"({"expect": {"mac": {"cursorAssociated": true}}})", 0, "everything was as expected\n",
         ""},
        {R"({"expect": {"mac": {"cursorAssociated": false, "mainDisplay": 7}}})", 1,
         "2 expectations failed\n",
         "expect.mac.cursorAssociated: expected false, found true\n"
         "expect.mac.mainDisplay: expected 7, found 1\n"},
        {R"({"mac": {"screens": 1}})", 2, "", "mac.screens: unknown key\n"},
        {R"({"timeline": [{"at": 0, "exit": 9}]})", 2, "",
         "timeline[0].exit: no application with this pid is running\n"},
    };
    for (const auto& row : rows) {
        const Run result = run({scenario(row.scenario)});
        EXPECT_EQ(result.status, row.status) << row.scenario;
        EXPECT_THAT(result.out, testing::EndsWith(row.lastLine));
        const std::string prefix = row.status == 2 ? directory_ / "scenario.json: " : "";
        EXPECT_EQ(result.errors, row.errors.empty() ? "" : prefix + row.errors);
    }
    EXPECT_EQ(run({directory_ / "missing.json"}).status, 2);
}

TEST_F(CommandLine, TheSummaryListsTheCalls) {
    const Run result = run({scenario(R"({"name": "nothing to do"})")});
    EXPECT_THAT(result.out, StartsWith("nothing to do: 1 s, "));
    EXPECT_THAT(result.out,
                HasSubstr("       0.000  CGAssociateMouseAndMouseCursorPosition(true) -> 0\n"));
}

TEST_F(CommandLine, JSONIsTheResultAndNothingElse) {
    const Run result = run({"--json", scenario(R"({"expect": {"mac": {"mainDisplay": 7}}})")});
    EXPECT_EQ(result.status, 1);
    const json parsed = json::parse(result.out);
    EXPECT_TRUE(parsed.contains("log") && parsed.contains("calls") && parsed.contains("mac") &&
                parsed.contains("files") && parsed.contains("notifications"));
    for (const char* const key : {"scenario", "timeline", "order", "before"}) {
        EXPECT_TRUE(parsed.contains(key)) << key;
    }
    EXPECT_EQ(parsed.size(), 9U);
    EXPECT_EQ(result.errors, "expect.mac.mainDisplay: expected 7, found 1\n");
}

TEST_F(CommandLine, TheReportIsAPage) {
    const std::string path = directory_ / "report.html";
    const Run result = run({"--report", path, scenario(R"({"name": "<b>bold</b>"})")});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.errors, "");
    EXPECT_THAT(readFile(path).value_or(""), HasSubstr("<h1>&lt;b&gt;bold&lt;/b&gt;</h1>"));
}

TEST_F(CommandLine, AReportThatCannotBeWrittenIsAFailure) {
    for (const std::string& path :
         {std::string(directory_ / "no/such/directory.html"), std::string("/dev/full")}) {
        const Run result = run({"--report", path, scenario("{}")});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.errors, path + ": the report cannot be written\n");
        EXPECT_THAT(result.out, testing::EndsWith("nothing was expected\n"));
    }
}

TEST_F(CommandLine, WhateverElseGoesWrongIsOneLineAndStatus2) {
    const std::string path = scenario("{}");
    const Run noRoot = run({"--root", "/proc/no/such", path});
    const ScopedEnvironment environment("TMPDIR", directory_ / "no/such");
    const Run noTemporary = run({path});
    for (const Run& result : {noRoot, noTemporary}) {
        EXPECT_EQ(result.status, 2);
        EXPECT_THAT(result.errors, StartsWith(path + ": "));
        EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1);
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(CommandLine, OutputThatCannotBeWrittenIsAnError) {
    const std::string path = scenario("{}");
    for (const Arguments& arguments : {Arguments{path}, {"--json", path}, {"--help"}}) {
        std::ofstream full("/dev/full");
        const Run result = run(arguments, {}, &full);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.errors, "standard output cannot be written\n");
    }
}

TEST_F(CommandLine, ALineFeedInAKeyMakesNoSecondLine) {
    const std::string path = scenario(R"({"a\nb": 1})");
    EXPECT_EQ(run({path}).errors, path + ": a b: unknown key\n");
    EXPECT_EQ(run({scenario(R"({"expect": {"files": {"a\nb": 1}}})")}).errors,
              "expect.files.a b: expected 1, found null\n");
}

TEST_F(CommandLine, FilesThatAreNestedDeeplyAreText) {
    constexpr std::size_t levels = 100000;
    const std::string deep = std::string(levels, '[') + std::string(levels, ']');
    const std::string path = scenario(
        json{{"files", {{"State/.display-originals", deep}, {"State/menubar-state.json", deep}}},
             {"timeline",
              {{{"at", 1}, {"write", {{"path", "State/.display-originals"}, {"content", deep}}}}}},
             {"expect", {{"files", {{"State/.display-originals", deep}}}}}}
            .dump());
    for (const Arguments& arguments :
         {Arguments{path}, {"--json", path}, {"--report", directory_ / "report.html", path}}) {
        const Run result = run(arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.errors, "");
    }
    const json result = json::parse(run({"--json", path}).out);
    EXPECT_TRUE(result["files"]["State/.display-originals"] == deep);
    EXPECT_EQ(run({path}, {.isTerminal = true}).status, 0);
}

TEST_F(CommandLine, OnATerminalTheSummaryDrawsTheDisplays) {
    const Run drawn = run({scenario("{}")}, {.isTerminal = true});
    EXPECT_THAT(drawn.out, HasSubstr("Before, at 1.000 s"));
    EXPECT_THAT(drawn.out, HasSubstr("1440x900"));
    const Run piped = run({scenario("{}")});
    EXPECT_THAT(piped.out, testing::Not(HasSubstr("Before, at")));
    EXPECT_THAT(piped.out, HasSubstr("ID 1, main display\n    before  at 0, 0; "));
}

TEST_F(CommandLine, TheSummaryDoesNotControlTheTerminal) {
    const Run result = run({scenario(R"({"name": "\u001b[2Jgone"})")});
    EXPECT_THAT(result.out, StartsWith("␛[2Jgone: "));
}

TEST_F(CommandLine, TheRootIsKept) {
    run({"--root", directory_ / "kept", scenario("{}")});
    EXPECT_TRUE(readFile(directory_ / "kept/Logs/tolvaran-helper.log"));
}

TEST_F(CommandLine, OtherArgumentsAreRefused) {
    const std::string path = scenario("{}");
    const Arguments refused[] = {
        {}, {path, path}, {"--jsn", path}, {"--root"}, {path, "--root"}, {path, "--report"}, {""},
    };
    for (const Arguments& arguments : refused) {
        const Run result = run(arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_THAT(result.errors, StartsWith("usage: "));
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(run({"--help"}).status, 0);
}

}  // namespace
}  // namespace tolvaran::tests
