#include "player/gallery.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>

#include "player/player.hpp"
#include "report/changes.hpp"
#include "report/svg.hpp"
#include "report/text.hpp"

namespace simulator {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using Files = std::map<std::string, std::string>;

constexpr const char* pictures = "pictures";

struct Group {
    const char* prefix;  // of the scenarios' file names
    const char* title;
};
// In the order of the page. The last group takes all other scenarios.
constexpr std::array<Group, 10> groups{{
    {"crash", "Everything at once"},
    {"start", "The helper starts, and what sets it off"},
    {"watch", "Tolvaran's process is watched"},
    {"sequence", "The steps of a restore run"},
    {"arrangement", "The arrangement of the displays"},
    {"modes", "Display modes"},
    {"menubar", "The menu bar"},
    {"corners", "The hot corners"},
    {"dock", "The Dock"},
    {"", "More"},
}};

constexpr const char* introduction = R"(# The scenarios

What happens to the displays in each: on the left just before the helper's first change, on the
right at the end. The main display has a thicker edge; rings mark displays that touch only at a
corner; bars are the menu bar and the Dock, dashed if hidden; filled corners are active hot corners;
the cursor is struck out if it does not follow the mouse. A scenario whose two sides would look
alike has no picture. A report (`tolvaran_simulator --report PAGE.html SCENARIO.json`) tells the
whole story of one; [docs/scenarios.md](../docs/scenarios.md) says how to write one.

`make gallery` writes this page and its pictures.
)";

/// The text, escaped for Markdown.
std::string plainText(const std::string& text) {
    std::string result;
    for (const char c : report::oneLine(text)) {
        if (std::string_view("\\`*_{}[]()<>#|!&~").find(c) != std::string_view::npos) {
            result += '\\';
        }
        result += c;
    }
    return result;
}

struct Exhibit {
    std::string file;     // NAME of NAME.json
    std::string line;     // of the page
    std::string picture;  // empty if its two sides would look alike
};

/// Whether a picture shows no difference.
bool lookAlike(const json& before, const json& after) {
    constexpr double size = 100000;  // units, so that no small difference is rounded away
    const report::Side first = report::sideOf("", before);
    const report::Side second = report::sideOf("", after);
    const report::Canvas canvas = report::canvasFor(first, second, size, size);
    return report::arrangementSvg(first, canvas) == report::arrangementSvg(second, canvas);
}

Exhibit exhibitOf(const fs::path& path) {
    const Scenario scenario = loadScenario(path.string());
    const json result = play(scenario, {.quiet = true, .observes = true}).result;
    const std::string file = path.stem().string();
    const std::vector<std::string> changes = report::headlines(result);
    const std::string change = plainText(
        changes.empty() ? "Nothing changes" : "Changed: " + report::joined(changes, ", "));
    const std::string line =
        "[" + file + "](" + file + ".json): " + plainText(scenario.name) + "\\\n";
    const json& before = result["before"]["mac"];
    const json& after = result["mac"];
    if (lookAlike(before, after)) {
        return {file, line + change + "\n", ""};
    }
    return {file, line + "![" + change + "](" + pictures + "/" + file + ".svg)\n",
            report::beforeAndAfterSvg(scenario.name, report::sideOf("before", before),
                                      report::sideOf("after", after))};
}

std::size_t groupOf(const Exhibit& exhibit) {
    const auto found = std::find_if(groups.begin(), groups.end(), [&](const Group& group) {
        return exhibit.file.starts_with(group.prefix);
    });
    return static_cast<std::size_t>(found - groups.begin());
}

std::string pageOf(const std::vector<Exhibit>& exhibits) {
    std::array<std::string, groups.size()> lines;
    for (const Exhibit& exhibit : exhibits) {
        lines[groupOf(exhibit)] += "\n" + exhibit.line;
    }
    std::string page = introduction;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (!lines[i].empty()) {
            page += std::string("\n## ") + groups[i].title + "\n" + lines[i];
        }
    }
    return page;
}

std::vector<fs::path> filesIn(const fs::path& directory, const std::string& extension) {
    std::vector<fs::path> found;
    if (fs::is_directory(directory)) {
        for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
            if (entry.path().extension() == extension) {
                found.push_back(entry.path());
            }
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::optional<std::string> textOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open()) {
        return std::nullopt;
    }
    return std::string{std::istreambuf_iterator<char>(file), {}};
}

/// Pictures that belong to no scenario, or to one that needs none.
std::vector<fs::path> leftOvers(const fs::path& directory, const Files& gallery) {
    std::vector<fs::path> found = filesIn(directory / pictures, ".svg");
    std::erase_if(found, [&](const fs::path& path) {
        return gallery.contains(std::string(pictures) + "/" + path.filename().string());
    });
    return found;
}

int check(const fs::path& directory, const Files& gallery, std::ostream& errors) {
    int status = 0;
    const auto complain = [&](const fs::path& path, const char* what) {
        errors << path.string() << ": " << what << "; `make gallery` fixes it\n";
        status = 1;
    };
    for (const auto& [path, content] : gallery) {
        if (textOf(directory / path) != content) {
            complain(directory / path, "is not current");
        }
    }
    for (const fs::path& path : leftOvers(directory, gallery)) {
        complain(path, "is not needed");
    }
    return status;
}

int write(const fs::path& directory, const Files& gallery, std::ostream& errors) {
    fs::create_directories(directory / pictures);
    for (const fs::path& path : leftOvers(directory, gallery)) {
        fs::remove(path);
    }
    int status = 0;
    for (const auto& [path, content] : gallery) {
        std::ofstream file(directory / path, std::ios::binary | std::ios::trunc);
        file << content;
        file.close();
        if (!file) {
            errors << (directory / path).string() << ": cannot be written\n";
            status = 1;
        }
    }
    return status;
}

}  // namespace

Files galleryOf(const std::string& directory) {
    std::vector<Exhibit> exhibits;
    for (const fs::path& path : filesIn(directory, ".json")) {
        try {
            exhibits.push_back(exhibitOf(path));
        } catch (const ScenarioError& error) {
            throw ScenarioError(path.string() + ": " + error.what());
        }
    }
    Files gallery{{"README.md", pageOf(exhibits)}};
    for (const Exhibit& exhibit : exhibits) {
        if (!exhibit.picture.empty()) {
            gallery[std::string(pictures) + "/" + exhibit.file + ".svg"] = exhibit.picture;
        }
    }
    return gallery;
}

int runGallery(const std::vector<std::string>& arguments, std::ostream& errors) {
    const bool checks = !arguments.empty() && arguments[0] == "--check";
    if (arguments.size() != (checks ? 2U : 1U) || !fs::is_directory(arguments.back())) {
        errors << "usage: tolvaran_gallery [--check] DIRECTORY\n";
        return 2;
    }
    try {
        const Files gallery = galleryOf(arguments.back());
        return checks ? check(arguments.back(), gallery, errors)
                      : write(arguments.back(), gallery, errors);
    } catch (const ScenarioError& error) {
        errors << report::oneLine(error.what()) << "\n";
        return 2;
    } catch (const std::exception& error) {
        errors << report::oneLine(error.what()) << "\n";
        return 1;
    }
}

}  // namespace simulator
