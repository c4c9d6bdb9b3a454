#include "report/terminal.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>
#include <vector>

#include "report/arrangement.hpp"
#include "report/changes.hpp"
#include "report/text.hpp"

namespace simulator::report {
namespace {

using nlohmann::json;

constexpr int tallest = 16;    // lines of a picture
constexpr int narrowest = 60;  // columns that two pictures side by side need

enum class Ink { plain, main, text, touch };

/// The sequence that starts each ink; one sequence ends all of them.
constexpr std::array<const char*, 4> colours{"", "\x1b[36m", "\x1b[1m", "\x1b[1;33m"};
constexpr const char* colourEnd = "\x1b[0m";

/// The strokes of a frame: horizontal, vertical, and the corners in reading order.
struct Strokes {
    char32_t across, down, topLeft, topRight, bottomLeft, bottomRight;
};
constexpr Strokes single{U'─', U'│', U'┌', U'┐', U'└', U'┘'};
constexpr Strokes twofold{U'═', U'║', U'╔', U'╗', U'╚', U'╝'};
constexpr Strokes ascii{U'-', U'|', U'+', U'+', U'+', U'+'};
constexpr Strokes asciiMain{U'=', U'#', U'#', U'#', U'#', U'#'};

/// A rectangle of cells; the ends are the last ones inside.
struct Box {
    int left, top, right, bottom;
};

class Grid {
  public:
    Grid(int width, int height) : width_(width), cells_(static_cast<std::size_t>(width * height)) {}

    void set(int x, int y, char32_t character, Ink ink) {
        if (x >= 0 && x < width_ && y >= 0 && y < height()) {
            cells_[static_cast<std::size_t>(y * width_ + x)] = {character, ink};
        }
    }
    int height() const { return static_cast<int>(cells_.size()) / width_; }
    int width() const { return width_; }

    /// One line; trailing spaces are kept only if `fills`.
    std::string line(int y, bool hasColour, bool fills) const {
        std::string result;
        Ink last = Ink::plain;
        const int end = fills ? width_ : usedWidth(y);
        for (int x = 0; x < end; ++x) {
            const Cell& cell = cells_[static_cast<std::size_t>(y * width_ + x)];
            if (hasColour && cell.ink != last) {
                result += (last == Ink::plain ? "" : colourEnd) +
                          std::string(colours[static_cast<std::size_t>(cell.ink)]);
                last = cell.ink;
            }
            if (cell.character != 0) {
                result += utf8(std::u32string(1, cell.character));
            }
        }
        return result + (last == Ink::plain ? "" : colourEnd);
    }

  private:
    struct Cell {
        char32_t character = U' ';  // 0: the second half of a wide one
        Ink ink = Ink::plain;
    };
    int usedWidth(int y) const {
        int end = width_;
        while (end > 0 &&
               cells_[static_cast<std::size_t>(y * width_ + end - 1)].character == U' ') {
            --end;
        }
        return end;
    }

    int width_;
    std::vector<Cell> cells_;
};

/// Converts points to cells, equally for both sides.
struct Measure {
    double column = 1;  // points per column
    double line = 2;    // points per line
};

Measure measureFor(const Frame& before, const Frame& after, int columns) {
    const double width = std::max(before.width, after.width);
    const double height = std::max(before.height, after.height);
    const double column = std::max({width / columns, height / (2.0 * tallest), 1e-9});
    return {column, 2 * column};
}

int cellOf(double points, double unit) {
    return static_cast<int>(std::lround(std::clamp(points / unit, 0.0, 1000.0)));
}

/// A display's cells, at least one; neighbours do not share any.
Box boxOf(const Frame& frame, const Frame& bounds, const Measure& measure) {
    const int left = cellOf(frame.x - bounds.x, measure.column);
    const int top = cellOf(frame.y - bounds.y, measure.line);
    return {left, top, std::max(cellOf(frame.right() - bounds.x, measure.column) - 1, left),
            std::max(cellOf(frame.bottom() - bounds.y, measure.line) - 1, top)};
}

void drawFrame(Grid& grid, const Box& box, const Strokes& strokes, Ink ink) {
    for (int y = box.top; y <= box.bottom; ++y) {
        for (int x = box.left; x <= box.right; ++x) {
            grid.set(x, y, U' ', Ink::plain);
        }
    }
    for (int x = box.left; x <= box.right; ++x) {
        grid.set(x, box.top, strokes.across, ink);
        grid.set(x, box.bottom, strokes.across, ink);
    }
    for (int y = box.top; y <= box.bottom; ++y) {
        grid.set(box.left, y, strokes.down, ink);
        grid.set(box.right, y, strokes.down, ink);
    }
    grid.set(box.left, box.top, strokes.topLeft, ink);
    grid.set(box.right, box.top, strokes.topRight, ink);
    grid.set(box.left, box.bottom, strokes.bottomLeft, ink);
    grid.set(box.right, box.bottom, strokes.bottomRight, ink);
}

void write(Grid& grid, int x, int y, const std::u32string& text, Ink ink) {
    for (const char32_t c : text) {
        const int width = columns(std::u32string(1, c));
        if (width > 0) {
            grid.set(x, y, c, ink);
        }
        if (width == 2) {
            grid.set(x + 1, y, 0, ink);
        }
        x += width;
    }
}

/// The labels in a display's box, the most important first.
std::vector<std::u32string> labelsOf(const ShownDisplay& display, bool isASCII) {
    const Frame& frame = display.frame;
    return {codePoints(std::to_string(display.id) + (display.isMain ? " main" : "")),
            codePoints(number(frame.width) + (isASCII ? "x" : "×") + number(frame.height)),
            codePoints("at " + number(frame.x) + "," + number(frame.y))};
}

/// The labels that fit, centred in the box; if none does, the ID goes on the frame.
void drawLabels(Grid& grid, const Box& box, const ShownDisplay& display, bool isASCII) {
    const int width = box.right - box.left - 1;
    const int height = box.bottom - box.top - 1;
    std::vector<std::u32string> labels = labelsOf(display, isASCII);
    if (columns(labels[0]) > width) {
        labels[0] = codePoints(std::to_string(display.id));
    }
    if (height < 1 || columns(labels[0]) > width) {
        write(grid, std::min(box.left + 1, box.right), box.top,
              codePoints(std::to_string(display.id)), Ink::text);
        return;
    }
    std::erase_if(labels, [&](const std::u32string& label) { return columns(label) > width; });
    labels.resize(std::min(labels.size(), static_cast<std::size_t>(height)));
    int y = box.top + 1 + (height - static_cast<int>(labels.size())) / 2;
    Ink ink = Ink::text;
    for (const std::u32string& label : labels) {
        write(grid, box.left + 1 + (width - columns(label)) / 2, y++, label, ink);
        ink = Ink::plain;
    }
}

/// Marks both displays' cells at the corner where they touch.
void markTouch(Grid& grid, const CornerTouch& touch, const Arrangement& arrangement,
               const std::vector<Box>& boxes, bool isASCII) {
    for (const std::size_t place : {touch.first, touch.second}) {
        const Frame& frame = arrangement.displays[place].frame;
        const Box& box = boxes[place];
        const bool isRight = std::abs(frame.right() - touch.at.x) < std::abs(frame.x - touch.at.x);
        const bool isBottom =
            std::abs(frame.bottom() - touch.at.y) < std::abs(frame.y - touch.at.y);
        grid.set(isRight ? box.right : box.left, isBottom ? box.bottom : box.top,
                 isASCII ? U'X' : U'╳', Ink::touch);
    }
}

Grid drawn(const Arrangement& arrangement, const Measure& measure, bool isASCII, int width) {
    const Frame bounds = boundsOf(arrangement.displays);
    std::vector<Box> boxes;
    int height = 1;
    for (const ShownDisplay& display : arrangement.displays) {
        boxes.push_back(boxOf(display.frame, bounds, measure));
        height = std::max(height, boxes.back().bottom + 1);
    }
    Grid grid(width, height);
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        const ShownDisplay& display = arrangement.displays[i];
        const Strokes& strokes =
            display.isMain ? (isASCII ? asciiMain : twofold) : (isASCII ? ascii : single);
        drawFrame(grid, boxes[i], strokes, display.isMain ? Ink::main : Ink::plain);
        drawLabels(grid, boxes[i], display, isASCII);
    }
    for (const CornerTouch& touch : arrangement.touches) {
        if (!touch.bridge) {
            markTouch(grid, touch, arrangement, boxes, isASCII);
        }
    }
    if (boxes.empty()) {
        write(grid, 0, 0, U"no display is active", Ink::plain);
    }
    return grid;
}

std::string padded(const std::string& text, int width) {
    const int room = width - columns(codePoints(text));
    return text + std::string(static_cast<std::size_t>(std::max(room, 0)), ' ');
}

std::string lineOf(const Grid& grid, int y, bool hasColour, bool fills) {
    if (y < grid.height()) {
        return grid.line(y, hasColour, fills);
    }
    return fills ? std::string(static_cast<std::size_t>(grid.width()), ' ') : "";
}

std::string besideEachOther(const std::array<std::string, 2>& titles,
                            const std::array<Grid, 2>& grids, const Terminal& terminal) {
    const int height = std::max(grids[0].height(), grids[1].height());
    const std::string gap = "     ";
    const std::string arrow = terminal.hasBoxDrawing ? "  →  " : "  >  ";
    std::string result = padded(titles[0], grids[0].width()) + gap + titles[1] + "\n";
    for (int y = 0; y < height; ++y) {
        const std::string right = lineOf(grids[1], y, terminal.hasColour, false);
        const bool isMiddle = y == (height - 1) / 2;
        result += lineOf(grids[0], y, terminal.hasColour, isMiddle || !right.empty());
        if (isMiddle || !right.empty()) {
            result += isMiddle ? arrow : gap;
        }
        result += right + "\n";
    }
    return result;
}

std::string aboveEachOther(const std::array<std::string, 2>& titles,
                           const std::array<Grid, 2>& grids, const Terminal& terminal) {
    std::string result;
    for (std::size_t i = 0; i < grids.size(); ++i) {
        result += titles[i] + "\n";
        for (int y = 0; y < grids[i].height(); ++y) {
            result += grids[i].line(y, terminal.hasColour, false) + "\n";
        }
    }
    return result;
}

std::string asciiOnly(std::string text) {
    for (std::size_t at = text.find("×"); at != std::string::npos; at = text.find("×")) {
        text.replace(at, std::string("×").size(), "x");
    }
    return text;
}

/// One side of a display as a cell of the table.
std::string tableCell(const FactGroup& group, std::string Fact::*side) {
    std::map<std::string, std::string> facts;
    for (const Fact& fact : group.facts) {
        facts[fact.name] = fact.*side;
    }
    if (facts["Origin"].empty()) {
        return "not connected";
    }
    return asciiOnly("at " + facts["Origin"] + "; " + facts["Mode"] + "; menu bar " +
                     facts["Menu bar"] + (facts["Main display"] == "yes" ? "; main" : ""));
}

}  // namespace

Terminal terminalOf(bool isTerminal, int columns,
                    const std::function<std::optional<std::string>(const char*)>& variable) {
    const auto value = [&](const char* name) { return variable(name).value_or(""); };
    std::string locale;
    for (const char* const name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        locale = locale.empty() ? value(name) : locale;
    }
    std::transform(locale.begin(), locale.end(), locale.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    Terminal terminal{isTerminal, false, false, columns};
    terminal.hasColour = isTerminal && value("NO_COLOR").empty() && value("TERM") != "dumb" &&
                         !value("TERM").empty();
    terminal.hasBoxDrawing = isTerminal && (locale.find("utf-8") != std::string::npos ||
                                            locale.find("utf8") != std::string::npos);
    const std::string told = value("COLUMNS");
    const bool isNumber = !told.empty() && told.size() <= 4 &&
                          told.find_first_not_of("0123456789") == std::string::npos;
    if (isNumber && std::stoi(told) > 0) {
        terminal.columns = std::stoi(told);
    } else if (columns <= 0) {
        terminal.columns = 80;
    }
    return terminal;
}

Terminal terminalOfStandardOutput() {
    winsize size{};
    const int columns = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
    return terminalOf(isatty(STDOUT_FILENO) == 1, columns, [](const char* name) {
        const char* const value = std::getenv(name);
        return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
    });
}

std::string characterPicture(const json& result, const Terminal& terminal) {
    const Arrangement before = arrangementOf(result["before"]["mac"]);
    const Arrangement after = arrangementOf(result["mac"]);
    const bool isWide = terminal.columns >= narrowest;
    const int room = std::clamp(terminal.columns, 24, 160);
    const int width = isWide ? (room - 6) / 2 : room - 1;
    const Frame bounds = boundsOf(before.displays);
    const Measure measure = measureFor(bounds, boundsOf(after.displays), width);
    // No wider than what is drawn, so that the other side is close to it.
    const int used = std::max(cellOf(bounds.width, measure.column), 22);
    const bool isASCII = !terminal.hasBoxDrawing;
    const std::array<std::string, 2> titles{
        "Before, at " + seconds(result["before"]["at"].get<double>()) + " s", "After"};
    const std::array<Grid, 2> grids{drawn(before, measure, isASCII, std::min(used, width)),
                                    drawn(after, measure, isASCII, width)};
    return isWide ? besideEachOther(titles, grids, terminal)
                  : aboveEachOther(titles, grids, terminal);
}

std::string displayTable(const json& result) {
    std::string table;
    for (const FactGroup& group : displayFacts(result["before"]["mac"], result["mac"])) {
        const std::string before = tableCell(group, &Fact::before);
        const std::string after = tableCell(group, &Fact::after);
        table += oneLine(asciiOnly(group.title)) + "\n    before  " + before + "\n    after   " +
                 (after == before ? "the same" : after) + "\n";
    }
    return table;
}

}  // namespace simulator::report
