#include "report/terminal.hpp"

#include <map>

#include "tests/report/results.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::report;

using Variables = std::map<std::string, std::string>;

Terminal terminalWith(const Variables& variables, int columns = 100, bool isTerminal = true) {
    return terminalOf(isTerminal, columns, [&](const char* name) {
        const auto found = variables.find(name);
        return found == variables.end() ? std::nullopt : std::optional(found->second);
    });
}

TEST(Terminal, IsReadFromTheEnvironment) {
    const Variables usual{{"TERM", "xterm"}, {"LANG", "de_DE.UTF-8"}};
    const auto with = [&](Variables more) {
        more.insert(usual.begin(), usual.end());
        return more;
    };
    const struct {
        const char* what;
        Variables variables;
        int columns;
        Terminal terminal;
    } rows[] = {
        {"a usual one", usual, 100, {true, true, true, 100}},
        {"no colour wanted", with({{"NO_COLOR", "1"}}), 100, {true, false, true, 100}},
        {"an empty wish does not count", with({{"NO_COLOR", ""}}), 100, {true, true, true, 100}},
        {"a dumb one", with({{"TERM", "dumb"}}), 100, {true, false, true, 100}},
        {"none named", {{"LANG", "C.utf8"}}, 100, {true, false, true, 100}},
        {"no UTF-8", with({{"LC_ALL", "C"}}), 100, {true, true, false, 100}},
        {"UTF-8 for characters",
         with({{"LC_CTYPE", "C.UTF-8"}, {"LANG", "C"}}),
         100,
         {true, true, true, 100}},
        {"a width of its own", with({{"COLUMNS", "60"}}), 100, {true, true, true, 60}},
        {"an invalid width", with({{"COLUMNS", "6x"}}), 100, {true, true, true, 100}},
        {"no width", with({{"COLUMNS", "0"}}), 0, {true, true, true, 80}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(terminalWith(row.variables, row.columns), row.terminal) << row.what;
    }
    EXPECT_EQ(terminalWith(usual, 0, false), (Terminal{false, false, false, 80}));
}

json crashResult() {
    const json before = macWith({display(1, 0, 0, 1000, 800), display(2, 1000, 800, 1600, 1000)});
    const json after = macWith({display(1, 0, 0, 1000, 800), display(2, 1000, 0, 1600, 1000)});
    return resultOf(before, after);
}

TEST(Terminal, DrawsBothSidesToScale) {
    EXPECT_EQ(
        characterPicture(crashResult(), {true, false, true, 86}),
        "Before, at 0.500 s                           After\n"
        "╔═════════════╗                              ╔═════════════╗┌───────────────────────┐\n"
        "║   1 main    ║                              ║   1 main    ║│                       │\n"
        "║  1000×800   ║                              ║  1000×800   ║│           2           │\n"
        "║   at 0,0    ║                              ║   at 0,0    ║│       1600×1000       │\n"
        "║             ║                              ║             ║│       at 1000,0       │\n"
        "╚═════════════╳                              ╚═════════════╝│                       │\n"
        "               ╳───────────────────────┐  →                 │                       │\n"
        "               │                       │                    └───────────────────────┘\n"
        "               │           2           │\n"
        "               │       1600×1000       │\n"
        "               │      at 1000,800      │\n"
        "               │                       │\n"
        "               │                       │\n"
        "               └───────────────────────┘\n");
}

TEST(Terminal, DrawsInASCIIAboveEachOtherIfThereIsNoRoom) {
    EXPECT_EQ(characterPicture(crashResult(), {true, false, false, 40}),
              "Before, at 0.500 s\n"
              "#=============#\n"
              "#   1 main    #\n"
              "#  1000x800   #\n"
              "#   at 0,0    #\n"
              "#             #\n"
              "#=============X\n"
              "               X----------------------+\n"
              "               |                      |\n"
              "               |          2           |\n"
              "               |      1600x1000       |\n"
              "               |     at 1000,800      |\n"
              "               |                      |\n"
              "               +----------------------+\n"
              "After\n"
              "#=============#+----------------------+\n"
              "#   1 main    #|                      |\n"
              "#  1000x800   #|          2           |\n"
              "#   at 0,0    #|      1600x1000       |\n"
              "#             #|      at 1000,0       |\n"
              "#=============#|                      |\n"
              "               +----------------------+\n");
}

TEST(Terminal, UsesColoursOnlyIfTheyAreWanted) {
    const std::string plain = characterPicture(crashResult(), {true, false, true, 86});
    EXPECT_EQ(plain.find('\x1b'), std::string::npos);
    std::string coloured = characterPicture(crashResult(), {true, true, true, 86});
    EXPECT_THAT(coloured, testing::HasSubstr("\x1b[36m╔═════════════╗\x1b[0m"));
    EXPECT_THAT(coloured, testing::HasSubstr("\x1b[1m1 main\x1b[0m"));
    EXPECT_THAT(coloured, testing::HasSubstr("\x1b[1;33m╳\x1b[0m"));
    for (const std::string code : {"\x1b[36m", "\x1b[1;33m", "\x1b[1m", "\x1b[0m"}) {
        for (std::size_t at = 0; (at = coloured.find(code)) != std::string::npos;) {
            coloured.erase(at, code.size());
        }
    }
    EXPECT_EQ(coloured, plain);
}

TEST(Terminal, SmallDisplaysShowTheirID) {
    const json mac = macWith({display(1, 0, 0, 100, 100), display(12, 100, 0, 2000, 2000)});
    const std::string picture = characterPicture(resultOf(mac, mac), {true, false, false, 70});
    EXPECT_THAT(picture, testing::HasSubstr("#1+"));
    EXPECT_THAT(characterPicture(resultOf(macWith({}), mac), {true, false, false, 70}),
                testing::HasSubstr("no display is active"));
}

TEST(Terminal, OddArrangementsAreDrawnToo) {
    const json odd = macWith({display(1, -1e308, -1e308, 1e308, 1e308),
                              display(2, 1e308, 1e308, 1e308, 1e308), display(3, 0, 0, 0, 0)});
    for (const int columns : {1, 20, 59, 60, 9999}) {
        const std::string picture =
            characterPicture(resultOf(odd, odd), {true, true, true, columns});
        EXPECT_LT(picture.size(), 20'000U);
    }
}

TEST(Terminal, TheTableNeedsNoTerminal) {
    EXPECT_EQ(displayTable(crashResult()),
              "Display 1 · 10/20, ID 1, main display\n"
              "    before  at 0, 0; no mode; menu bar shown\n"
              "    after   the same\n"
              "Display 2 · 10/20, ID 2\n"
              "    before  at 1000, 800; no mode; menu bar shown\n"
              "    after   at 1000, 0; no mode; menu bar shown\n");
    const json one = macWith({display(1, 0, 0, 10, 10)});
    EXPECT_EQ(displayTable(resultOf(macWith({}), one)),
              "Display 1 · 10/20, ID 1\n"
              "    before  not connected\n"
              "    after   at 0, 0; no mode; menu bar shown; main\n");
}

}  // namespace
}  // namespace tolvaran::tests
