#include "report/page.hpp"

#include <algorithm>
#include <array>
#include <map>

#include "report/changes.hpp"
#include "report/chronicle.hpp"
#include "report/log_comparison.hpp"
#include "report/svg.hpp"
#include "report/text.hpp"

namespace simulator::report {
namespace {

using nlohmann::json;

// All text from a result goes through element() or escaped().

/// <name class="style">text</name>, the text escaped.
std::string element(const std::string& name, const std::string& style, const std::string& text) {
    return "<" + name + (style.empty() ? "" : " class=\"" + style + "\"") + ">" + escaped(text) +
           "</" + name + ">";
}

/// <name class="style">markup</name>.
std::string around(const std::string& name, const std::string& style, const std::string& markup) {
    return "<" + name + (style.empty() ? "" : " class=\"" + style + "\"") + ">" + markup + "</" +
           name + ">\n";
}

std::string section(const std::string& id, const std::string& title, const std::string& markup) {
    return "<section id=\"" + id + "\" aria-labelledby=\"" + id + "-title\">\n<h2 id=\"" + id +
           "-title\">" + escaped(title) + "</h2>\n" + markup + "</section>\n";
}

/// A part that scrolls by itself on a wide screen, so the keyboard must reach it.
std::string scrolling(const std::string& label, const std::string& markup) {
    return "<div class=\"scrolling\" role=\"region\" tabindex=\"0\" aria-label=\"" +
           escaped(label) + "\">\n" + markup + "</div>\n";
}

std::string timeText(const json& at) {
    return seconds(at.get<double>()) + " s";
}

// The head of the page.

std::string facts(const json& result) {
    const json& scenario = result["scenario"];
    return (scenario["clock"] == "real" ? "Real clock" : "Virtual clock") + std::string(", ") +
           number(scenario["until"].get<double>()) + " s · " +
           counted(result["timeline"].size(), "event", "events") + " · " +
           counted(result["calls"].size(), "call", "calls") + " · " +
           counted(result["log"].size(), "log line", "log lines");
}

std::string headlineList(const json& result) {
    const std::vector<std::string> all = headlines(result);
    if (all.empty()) {
        return around("p", "verdict", "The helper changed nothing.");
    }
    std::string items;
    for (const std::string& headline : all) {
        items += element("li", "", headline) + "\n";
    }
    return around("p", "verdict", "Different afterwards:") + around("ul", "headlines", items);
}

std::string header(const json& result) {
    return "<header class=\"top\">\n" + element("p", "eyebrow", "tolvaran_helper · what happened") +
           "\n" + element("h1", "", result["scenario"]["name"].get<std::string>()) + "\n" +
           element("p", "facts", facts(result)) + "\n" + headlineList(result) +
           "<nav aria-label=\"Parts of this page\"><ul>"
           "<li><a href=\"#displays\">Displays</a></li>"
           "<li><a href=\"#desk\">Corners, menu bar, Dock</a></li>"
           "<li><a href=\"#time\">Time line and log</a></li>" +
           (result["scenario"].contains("log") ? "<li><a href=\"#logs\">Two logs</a></li>" : "") +
           "<li><a href=\"#files\">Files</a></li>" +
           (result["scenario"].contains("about") ? "<li><a href=\"#about\">About</a></li>" : "") +
           "</ul></nav>\n</header>\n";
}

// Tables.

std::string factCell(const std::string& text) {
    return around("td", "", text.empty() ? "<span class=\"muted\">–</span>" : escaped(text));
}

std::string factRow(const Fact& fact) {
    const std::string after = fact.after.empty() ? "–" : fact.after;
    return "<tr" + std::string(fact.isChanged() ? " class=\"changed\"" : "") +
           "><th scope=\"row\">" + escaped(fact.name) + "</th>\n" + factCell(fact.before) +
           (fact.isChanged() ? "<td>" + element("strong", "", after) + " " +
                                   element("span", "mark", "changed") + "</td>"
                             : factCell(fact.after)) +
           "</tr>\n";
}

std::string factTable(const std::string& caption, const std::vector<FactGroup>& groups) {
    std::string markup = "<table class=\"facts-table\">\n" + element("caption", "", caption) +
                         "\n<thead><tr><th scope=\"col\">Fact</th><th scope=\"col\">Before</th>"
                         "<th scope=\"col\">After</th></tr></thead>\n";
    for (const FactGroup& group : groups) {
        std::string rows = "<tr class=\"group\"><th colspan=\"3\" scope=\"rowgroup\">" +
                           escaped(group.title) + "</th></tr>\n";
        for (const Fact& fact : group.facts) {
            rows += factRow(fact);
        }
        markup += around("tbody", "", rows);
    }
    return markup + "</table>\n";
}

// Displays.

std::string touchList(const Arrangement& arrangement) {
    std::string items;
    std::size_t beside = 0;
    for (const CornerTouch& touch : arrangement.touches) {
        if (touch.bridge) {
            ++beside;
        } else {
            items += around("li", "", escaped("D" + described(touch, arrangement).substr(1)));
        }
    }
    if (beside > 0) {
        items += around("li", "beside",
                        counted(beside, "pair of displays touches", "pairs of displays touch") +
                            " at a corner beside a third that joins them.");
    }
    if (items.empty()) {
        return around("p", "touches", "No displays touch at a corner only.");
    }
    return around("ul", "touches", items);
}

std::string figure(const Side& side, const Canvas& canvas, const std::string& title,
                   const std::string& when) {
    return "<figure>\n<figcaption><h3>" + escaped(title) + "</h3> " +
           element("span", "muted", when) + "</figcaption>\n" + arrangementSvg(side, canvas) +
           touchList(side.arrangement) + "</figure>\n";
}

/// Explains how pictures show what the tables say in words.
std::string legend() {
    const auto item = [](const char* drawing, const char* meaning) {
        return std::string(
                   "<li><svg class=\"picture\" viewBox=\"0 0 28 18\" aria-hidden=\"true\">") +
               drawing + "</svg> " + meaning + "</li>\n";
    };
    return "<ul class=\"legend\" aria-label=\"Legend\">\n" +
           item(
               "<g class=\"main\"><rect class=\"face\" x=\"2\" y=\"2\" width=\"24\" height=\"14\"/>"
               "<rect class=\"edge\" x=\"2\" y=\"2\" width=\"24\" height=\"14\"/></g>",
               "main display") +
           item(
               "<g class=\"touch\"><circle class=\"ring\" cx=\"14\" cy=\"9\" r=\"7\"/>"
               "<circle class=\"heart\" cx=\"14\" cy=\"9\" r=\"2.5\"/></g>",
               "displays touch at a corner only") +
           item("<g class=\"beside\"><circle class=\"ring\" cx=\"14\" cy=\"9\" r=\"3.5\"/></g>",
                "the same beside a third that joins them") +
           item("<rect class=\"bar\" x=\"2\" y=\"6\" width=\"24\" height=\"6\" rx=\"2\"/>",
                "menu bar (above) or Dock (below)") +
           item("<rect class=\"bar hides\" x=\"2\" y=\"6\" width=\"24\" height=\"6\" rx=\"2\"/>",
                "the same, hidden") +
           item("<path class=\"hot\" d=\"M6 2h14a14 14 0 0 1 -14 14z\"/>", "hot corner that acts") +
           item(
               "<path class=\"cursor\" d=\"M11 2l0 12l3 -3l5 -.5z\"/>"
               "<path class=\"strike\" d=\"M7 16l14 -14\"/>",
               "cursor, struck out when it does not follow the mouse") +
           "</ul>\n";
}

/// Open unless it is long.
std::string displayDetails(const json& before, const json& after) {
    constexpr std::size_t most = 6;
    const std::vector<FactGroup> groups = displayFacts(before, after);
    return std::string("<details") + (groups.size() <= most ? " open" : "") +
           "><summary>Every display in figures</summary>\n" +
           factTable("The displays before and after", groups) + "</details>\n";
}

std::string displaysSection(const json& result) {
    constexpr double width = 420;
    constexpr double tallest = 380;
    const Side before = sideOf("before", result["before"]["mac"]);
    const Side after = sideOf("after", result["mac"]);
    const Canvas canvas = canvasFor(before, after, width, tallest);
    const std::string figures =
        figure(before, canvas, "Before", "at " + timeText(result["before"]["at"])) +
        figure(after, canvas, "After", "at the end, " + timeText(result["scenario"]["until"]));
    return section("displays", "Displays",
                   around("div", "pair", figures) + legend() +
                       displayDetails(result["before"]["mac"], result["mac"]));
}

std::string deskSection(const json& result) {
    return section("desk", "Corners, menu bar, Dock and cursor",
                   factTable("Hot corners, menu bar, Dock and cursor before and after",
                             deskFacts(result["before"]["mac"], result["mac"])));
}

// Timeline and log.

std::string entryMarkup(const Entry& entry) {
    const std::string what = entry.kind == Happening::event || entry.kind == Happening::call
                                 ? element("code", "what", entry.what)
                                 : element("span", "what", entry.what);
    std::string details;
    for (const std::string& line : entry.details) {
        details += element("span", "detail", line);
    }
    const std::string link =
        entry.logIndex
            ? " <a class=\"to-log\" href=\"#log-" + std::to_string(*entry.logIndex + 1) +
                  "\" aria-label=\"Line " + std::to_string(*entry.logIndex + 1) +
                  " of the log\">log&nbsp;" + std::to_string(*entry.logIndex + 1) + "</a>"
            : "";
    return around("li", nameOf(entry.kind),
                  element("span", "kind", nameOf(entry.kind)) + " <span>" + what + link + details +
                      "</span>");
}

/// Entries with the same time share one heading.
std::string moments(const std::vector<Entry>& entries) {
    std::string markup;
    for (std::size_t i = 0; i < entries.size();) {
        const std::string at = seconds(entries[i].at);
        std::string items;
        for (; i < entries.size() && seconds(entries[i].at) == at; ++i) {
            items += entryMarkup(entries[i]);
        }
        markup +=
            around("li", "", element("span", "at", at + " s") + "\n" + around("ul", "", items));
    }
    return "<ol class=\"moments\">\n" + markup + "</ol>\n";
}

/// One line for each kind, with a stroke at each time.
std::string lanes(const std::vector<Entry>& entries, double until) {
    std::string markup;
    for (const Happening kind :
         {Happening::event, Happening::trigger, Happening::step, Happening::call}) {
        std::string strokes;
        std::string last;
        for (const Entry& entry : entries) {
            const double share = until > 0 ? std::min(entry.at / until, 1.0) : 0;
            const std::string x = coordinate(2 + share * 994);
            if (entry.kind == kind && x != last) {
                strokes += "<rect x=\"" + x + "\" y=\"0\" width=\"4\" height=\"10\"/>";
                last = x;
            }
        }
        markup += "<div class=\"lane " + std::string(nameOf(kind)) + "\"><span>" + nameOf(kind) +
                  "s</span><svg viewBox=\"0 0 1000 10\" preserveAspectRatio=\"none\">" + strokes +
                  "</svg></div>\n";
    }
    return "<div class=\"lanes\" aria-hidden=\"true\">\n" + markup +
           "<div class=\"lane axis\"><span class=\"ends\"><span>0 s</span><span>" +
           escaped(number(until)) + " s</span></span></div>\n</div>\n";
}

constexpr std::array<const char*, 4> levels{"debug", "info", "warn", "error"};

/// The page's class for a log level; an unknown level is always shown.
std::string levelStyle(const std::string& level) {
    const bool isKnown = std::find(levels.begin(), levels.end(), level) != levels.end();
    return isKnown ? "level-" + level : "level-other";
}

/// The boxes come before the list that they filter, because the style sheet requires it.
std::string levelBoxes(const json& log) {
    std::map<std::string, std::size_t> counts;
    for (const json& line : log) {
        ++counts[line["level"].get<std::string>()];
    }
    std::string boxes;
    for (const char* const level : levels) {
        const std::string id = std::string("show-") + level;
        boxes += "<input type=\"checkbox\" id=\"" + id + "\" checked><label for=\"" + id + "\">" +
                 level + " <span class=\"count\">" + std::to_string(counts[level]) +
                 "</span></label>\n";
    }
    return boxes;
}

std::string logMarkup(const json& log) {
    std::string items;
    std::size_t count = 0;
    for (const json& line : log) {
        const auto level = line["level"].get<std::string>();
        items += "<li id=\"log-" + std::to_string(++count) + "\" class=\"" + levelStyle(level) +
                 "\">" + element("span", "at", seconds(line["at"].get<double>())) + " " +
                 element("span", "level", level) + " " +
                 element("span", "message", line["message"].get<std::string>()) + "</li>\n";
    }
    return "<div class=\"log\" role=\"group\" aria-label=\"Levels of the log to show\">\n" +
           levelBoxes(log) +
           scrolling("The helper's log", "<ol class=\"log-lines\">\n" + items + "</ol>\n") +
           "</div>\n";
}

std::string timeSection(const json& result) {
    const std::vector<Entry> entries = chronicleOf(result);
    const std::string left =
        "<h3>Time line</h3>\n" + lanes(entries, result["scenario"]["until"].get<double>()) +
        scrolling("Time line",
                  entries.empty() ? around("p", "muted", "Nothing happened.") : moments(entries));
    return section("time", "Time line and log",
                   around("div", "pair",
                          around("div", "column", left) +
                              around("div", "column",
                                     "<h3>The helper’s log</h3>\n" + logMarkup(result["log"]))));
}

// The user's log beside the helper's.

/// One line of either log, without what the user's log does not contain.
std::string comparedLine(const std::string& at, const json& line) {
    const auto level = line["level"].get<std::string>();
    return (at.empty() ? "" : element("span", "at", at) + " ") +
           (level.empty() ? "" : element("span", "level", level) + " ") +
           element("span", "message", line["message"].get<std::string>());
}

std::string comparedCell(const json& log, const std::optional<std::size_t>& line,
                         const char* timeKey) {
    if (!line) {
        return around("td", "nothing", "<span class=\"muted\">–</span>");
    }
    const json& told = log[*line];
    const json& at = told[timeKey];
    return around("td", levelStyle(told["level"].get<std::string>()),
                  comparedLine(at.is_number() ? seconds(at) : at.get<std::string>(), told));
}

std::string comparedRow(const json& result, const ComparedLine& row, bool parts) {
    const std::string mark =
        parts ? "<tr class=\"parting\" id=\"parting\"><th colspan=\"2\" scope=\"rowgroup\">"
                "Here the two logs diverge</th></tr>\n"
              : "";
    return mark + around("tr", row.isCommon ? "common" : "differs",
                         comparedCell(result["scenario"]["log"], row.theirs, "time") +
                             comparedCell(result["log"], row.ours, "at"));
}

std::string comparisonVerdict(const LogComparison& comparison) {
    const std::string what =
        comparison.isWhole ? "From the last start of the user’s helper on"
                           : "The last run in the user’s log and the first one of this replay";
    if (!comparison.parting) {
        return around("p", "", escaped(what + ": both logs say the same."));
    }
    return around("p", "",
                  escaped(what + ": ") + "<a href=\"#parting\">" +
                      escaped(*comparison.parting == 0
                                  ? "they differ from the first line on"
                                  : "they part after " + counted(*comparison.parting, "common line",
                                                                 "common lines")) +
                      "</a>.");
}

/// What the user's helper logged before the part that is compared.
std::string earlierLines(const json& log, std::size_t count) {
    if (count == 0) {
        return "";
    }
    std::string items;
    for (std::size_t i = 0; i < count; ++i) {
        items += around("li", levelStyle(log[i]["level"].get<std::string>()),
                        comparedLine(log[i]["time"].get<std::string>(), log[i]));
    }
    return "<details class=\"earlier\"><summary>" +
           escaped(counted(count, "earlier line", "earlier lines") + " of the user’s log") +
           "</summary>\n" +
           scrolling("Earlier lines of the user’s log",
                     "<ol class=\"log-lines\">\n" + items + "</ol>\n") +
           "</details>\n";
}

std::string logsSection(const json& result) {
    if (!result["scenario"].contains("log")) {
        return "";
    }
    const LogComparison comparison = compareLogs(result);
    std::string rows;
    for (std::size_t i = 0; i < comparison.rows.size(); ++i) {
        rows += comparedRow(result, comparison.rows[i], comparison.parting == i);
    }
    const std::string table =
        "<table class=\"two-logs\">\n" + element("caption", "", "The two logs, line by line") +
        "\n<thead><tr><th scope=\"col\">The user’s helper</th><th scope=\"col\">This replay</th>"
        "</tr></thead>\n<tbody>\n" +
        rows + "</tbody></table>\n";
    return section("logs", "The user’s log and this one",
                   comparisonVerdict(comparison) +
                       earlierLines(result["scenario"]["log"], comparison.theirsBegin) +
                       (rows.empty() ? around("p", "muted", "There is nothing to compare.")
                                     : scrolling("The two logs", table)));
}

std::string factValue(const json& value) {
    if (!value.is_array()) {
        return escaped(value.is_string() ? value.get<std::string>() : compact(value));
    }
    std::string items;
    for (const json& element : value) {
        items += around("li", "", factValue(element));
    }
    return around("ul", "", items);
}

/// What the scenario says about itself.
std::string aboutSection(const json& result) {
    if (!result["scenario"].contains("about")) {
        return "";
    }
    std::string rows;
    for (const auto& [name, value] : result["scenario"]["about"].items()) {
        rows += around(
            "tr", "",
            "<th scope=\"row\">" + escaped(name) + "</th>" + around("td", "", factValue(value)));
    }
    return section("about", "About this scenario",
                   "<table class=\"about\">\n" +
                       element("caption", "", "What it says about itself") +
                       around("tbody", "", rows) + "</table>\n");
}

// Files.

std::string lineMarkup(const DifferenceLine& line) {
    constexpr std::array<std::array<const char*, 2>, 3> forms{
        {{"span", "  "}, {"del", "− "}, {"ins", "+ "}}};
    const auto& [name, sign] = forms[static_cast<std::size_t>(line.fate)];
    return element(name, "line", sign + line.text);
}

std::string foldedLines(std::size_t count) {
    return element("span", "line fold", "⋯ " + counted(count, "line", "lines") + " the same");
}

/// The lines; those far from any difference are folded into one.
std::string differenceMarkup(const std::vector<DifferenceLine>& lines, bool folds) {
    constexpr std::size_t context = 3;
    std::vector<bool> isNear(lines.size(), !folds);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].fate != LineFate::kept) {
            const std::size_t last = std::min(i + context + 1, lines.size());
            std::fill(isNear.begin() + static_cast<std::ptrdiff_t>(i - std::min(i, context)),
                      isNear.begin() + static_cast<std::ptrdiff_t>(last), true);
        }
    }
    std::string markup;
    for (std::size_t i = 0; i < lines.size();) {
        std::size_t far = 0;
        while (i < lines.size() && !isNear[i]) {
            ++far;
            ++i;
        }
        markup += far > 0 ? foldedLines(far) : lineMarkup(lines[i++]);
    }
    return "<pre class=\"difference\">" + markup + "</pre>\n";
}

std::string fileMarkup(const FileChange& file) {
    const bool isUnchanged = file.fate == FileFate::unchanged;
    const std::string content = file.lines.empty()
                                    ? around("p", "muted", "The file is empty.")
                                    : differenceMarkup(file.lines, file.fate == FileFate::changed);
    return "<details" + std::string(isUnchanged ? "" : " open") + "><summary>" +
           element("code", "path", file.path) + " " +
           element("span", std::string("fate ") + nameOf(file.fate), nameOf(file.fate)) +
           "</summary>\n" + content + "</details>\n";
}

std::string filesSection(const json& result) {
    std::vector<FileChange> files = fileChanges(result["before"]["files"], result["files"]);
    std::stable_partition(files.begin(), files.end(),
                          [](const FileChange& file) { return file.fate != FileFate::unchanged; });
    std::string markup;
    for (const FileChange& file : files) {
        markup += fileMarkup(file);
    }
    return section("files", "Files",
                   markup.empty() ? around("p", "muted", "There are no files.") : markup);
}

std::string head(const std::string& title) {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta http-equiv=\"Content-Security-Policy\" "
           "content=\"default-src 'none'; style-src 'unsafe-inline'\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
           escaped(oneLine(title)) + "</title>\n<style>\n" + pageStyle() + pictureStyle() +
           "</style>\n</head>\n";
}

}  // namespace

std::string page(const json& result) {
    return head(result["scenario"]["name"].get<std::string>()) + "<body>\n" + header(result) +
           "<main>\n" + displaysSection(result) + deskSection(result) + timeSection(result) +
           logsSection(result) + filesSection(result) + aboutSection(result) +
           "</main>\n</body>\n</html>\n";
}

}  // namespace simulator::report
