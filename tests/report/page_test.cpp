#include "report/page.hpp"

#include "tests/report/results.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::report;

using testing::HasSubstr;
using testing::Not;

json quietResult() {
    const json mac = macWith({display(1, 0, 0, 100, 80)});
    return resultOf(mac, mac);
}

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

TEST(Page, IsOneFileWithoutScripts) {
    const std::string text = page(quietResult());
    EXPECT_THAT(text, testing::StartsWith("<!DOCTYPE html>\n<html lang=\"en\">"));
    EXPECT_THAT(text, HasSubstr(pageStyle()));
    EXPECT_THAT(text, HasSubstr("content=\"default-src 'none'; style-src 'unsafe-inline'\""));
    for (const char* const outside : {"<script", "http:", "https:", "url(", "@import", "src=\""}) {
        EXPECT_THAT(text, Not(HasSubstr(outside)));
    }
}

TEST(Page, SaysWhatIsDifferent) {
    EXPECT_THAT(page(quietResult()), HasSubstr("The helper changed nothing."));
    json result = quietResult();
    result["before"]["mac"]["cursorAssociated"] = false;
    const std::string text = page(result);
    EXPECT_THAT(text, HasSubstr("<li>Cursor</li>"));
    EXPECT_THAT(text, HasSubstr("<tr class=\"changed\"><th scope=\"row\">Follows the mouse</th>\n"
                                "<td>no</td>\n<td><strong>yes</strong> "
                                "<span class=\"mark\">changed</span></td></tr>"));
}

TEST(Page, HasTheTimeLineAndTheLog) {
    json result = quietResult();
    addEvent(result, 0.25, {{"wake", true}});
    addLine(result, 0.25, "debug", "woken");
    addLine(result, 0.5, "warn", "restoreMenuBar [safety-tick]: cannot");
    addLine(result, 0.5, "strange", "level");
    const std::string text = page(result);
    EXPECT_THAT(text, HasSubstr("<span class=\"at\">0.250 s</span>"));
    EXPECT_THAT(text, HasSubstr("<code class=\"what\">wake true</code>"));
    EXPECT_THAT(text, HasSubstr("<span class=\"what\">Menu bar</span>"));
    EXPECT_THAT(text, HasSubstr("href=\"#log-2\""));
    EXPECT_THAT(text, HasSubstr("<li id=\"log-2\" class=\"level-warn\">"));
    EXPECT_THAT(text, HasSubstr("<li id=\"log-3\" class=\"level-other\">"));
    EXPECT_THAT(text, HasSubstr("<label for=\"show-debug\">debug <span class=\"count\">1</span>"));
    EXPECT_THAT(text, HasSubstr("<label for=\"show-error\">error <span class=\"count\">0</span>"));
    for (const char* const level : {"debug", "info", "warn", "error"}) {
        EXPECT_THAT(pageStyle(), HasSubstr(std::string("#show-") + level +
                                           ":not(:checked) ~ .scrolling .level-" + level));
    }
}

TEST(Page, ShowsTheDifferenceOfEachFile) {
    json result = quietResult();
    json longFile = json::array();
    for (int i = 0; i < 20; ++i) {
        longFile.push_back(i);
    }
    result["before"]["files"] = {{"a.json", longFile}, {"gone", "x\n"}, {"same", "y"}};
    longFile.back() = 100;
    result["files"] = {{"a.json", longFile}, {"same", "y"}, {"void", ""}};
    const std::string text = page(result);
    EXPECT_THAT(text, HasSubstr("<details open><summary><code class=\"path\">a.json</code> "
                                "<span class=\"fate changed\">changed</span>"));
    EXPECT_THAT(text, HasSubstr("<span class=\"line fold\">⋯ 17 lines the same</span>"
                                "<span class=\"line\">    16,</span>"));
    EXPECT_THAT(text,
                HasSubstr("<del class=\"line\">−   19</del><ins class=\"line\">+   100</ins>"));
    EXPECT_THAT(text, HasSubstr("<del class=\"line\">− x</del>"));
    EXPECT_THAT(text, HasSubstr("<details><summary><code class=\"path\">same</code> "));
    EXPECT_THAT(text, HasSubstr("The file is empty."));
    EXPECT_LT(text.find(">void<"), text.find(">same<")) << "what is unchanged comes last";
}

TEST(Page, ShowsAUsersLogBesideItsOwn) {
    json result = quietResult();
    EXPECT_THAT(page(result), Not(HasSubstr("id=\"logs\"")));
    result["scenario"]["log"] = {{{"time", "10:00"}, {"level", "info"}, {"message", "same"}},
                                 {{"time", "10:01"}, {"level", "warn"}, {"message", "<theirs>"}}};
    addLine(result, 0, "info", "same");
    EXPECT_THAT(page(result), HasSubstr("they part after 1 common line</a>"));
    addLine(result, 0, "warn", "ours");
    const std::string text = page(result);
    EXPECT_EQ(occurrences(text, "Here the two logs diverge"), 1U);
    EXPECT_LT(text.find("<tr class=\"common\">"), text.find("id=\"parting\""));
    EXPECT_LT(text.find("id=\"parting\""), text.find("&lt;theirs&gt;"));
    EXPECT_THAT(text, HasSubstr("<td class=\"level-warn\"><span class=\"at\">10:01</span>"));
    result["scenario"]["log"].erase(1);
    result["log"].erase(1);
    result["order"].erase(1);
    EXPECT_THAT(page(result), HasSubstr("both logs say the same."));
    EXPECT_THAT(page(result), Not(HasSubstr("id=\"parting\"")));
}

TEST(Page, WhatALineOfTheUsersLogLacksIsLeftOut) {
    json result = quietResult();
    const json line = {{"time", ""}, {"level", ""}, {"message", "no log line"}};
    result["scenario"]["log"] = json::array({line});
    EXPECT_THAT(page(result),
                HasSubstr("<td class=\"level-other\"><span class=\"message\">no log"));
    const json start = {{"time", ""}, {"level", "info"}, {"message", "Helper starting (pid 5)"}};
    result["scenario"]["log"] = {line, start};
    addEvent(result, 0, {{"wake", true}});
    EXPECT_THAT(page(result),
                HasSubstr("<li class=\"level-other\"><span class=\"message\">no log"));
    EXPECT_THAT(page(result), Not(HasSubstr("<span class=\"at\"></span>")));
    EXPECT_THAT(page(result), Not(HasSubstr("<span class=\"level\"></span>")));
}

TEST(Page, ShowsWhatTheScenarioSaysAboutItself) {
    json result = quietResult();
    EXPECT_THAT(page(result), Not(HasSubstr("id=\"about\"")));
    result["scenario"]["about"] = {{"macOS", "14.1 <23B74>"}, {"left out", {"a", "b"}}};
    const std::string text = page(result);
    EXPECT_THAT(text, HasSubstr("<th scope=\"row\">macOS</th><td>14.1 &lt;23B74&gt;</td>"));
    EXPECT_THAT(text, HasSubstr("<ul><li>a</li>\n<li>b</li>\n</ul>"));
}

TEST(Page, WhatComesFromTheRunIsText) {
    const std::string hostile = "</title></style></pre></svg><img src=x onerror=alert(1)>\"'&\x1b";
    json result = quietResult();
    result["scenario"]["name"] = hostile;
    result["mac"]["registry"] = {
        {{"DisplayVendorID", 10}, {"DisplayProductID", 20}, {"DisplayProductName", hostile}}};
    result["mac"]["menuBar"]["activeDisplay"] = hostile;
    result["mac"]["preferences"]["global"]["_HIHideMenuBar"] = hostile;
    addEvent(result, 0, {{hostile, hostile}});
    addLine(result, 0, hostile, hostile);
    addLine(result, 0, "info", "checkInvariant [" + hostile + "]: " + hostile);
    addCall(result, 0, hostile, {hostile}, hostile);
    result["files"] = {{hostile, hostile}, {"object", {{hostile, hostile}}}};
    const std::string text = page(result);
    EXPECT_THAT(text, Not(HasSubstr("<img")));
    EXPECT_THAT(text, Not(HasSubstr("\x1b")));
    EXPECT_EQ(occurrences(text, "</title>"), 3U) << "the page's and the pictures'";
    EXPECT_EQ(occurrences(text, "</style>"), 1U);
    EXPECT_EQ(occurrences(text, "</pre>"), occurrences(text, "<pre"));
    EXPECT_GE(occurrences(text, "&lt;img src=x onerror=alert(1)&gt;"), 12U);
}

TEST(Page, AnArrangementOfManyDisplaysIsFoldedAway) {
    std::vector<json> displays;
    for (int i = 0; i < 7; ++i) {
        displays.push_back(display(i + 1, i * 10, 0, 10, 10));
    }
    const json mac = macWith(displays);
    EXPECT_THAT(page(resultOf(mac, mac)), HasSubstr("<details><summary>Every display in figures"));
    EXPECT_THAT(page(quietResult()), HasSubstr("<details open><summary>Every display in figures"));
}

}  // namespace
}  // namespace tolvaran::tests
