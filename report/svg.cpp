#include "report/svg.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "report/text.hpp"

namespace simulator::report {
namespace {

using nlohmann::json;

constexpr double margin = 12;         // units around the displays
constexpr double padding = 4;         // units between a display's edge and its text
constexpr double largestText = 12;    // units
constexpr double smallestText = 6;    // units
constexpr double lineHeight = 1.3;    // of the size of text
constexpr double averageWidth = .58;  // of a character, of the size of text

/// An attribute list: name="value" with numbers as coordinates.
std::string attributes(const std::vector<std::pair<const char*, double>>& list) {
    std::string result;
    for (const auto& [name, value] : list) {
        result += std::string(" ") + name + "=\"" + coordinate(value) + "\"";
    }
    return result;
}

std::string shape(const char* element, const std::string& style,
                  const std::vector<std::pair<const char*, double>>& list) {
    return std::string("<") + element + " class=\"" + style + "\"" + attributes(list) + "/>";
}

std::string rectangle(const std::string& style, const Frame& frame, double rounding) {
    return shape("rect", style,
                 {{"x", frame.x},
                  {"y", frame.y},
                  {"width", std::max(frame.width, 0.0)},
                  {"height", std::max(frame.height, 0.0)},
                  {"rx", rounding}});
}

Frame inset(const Frame& frame, double by) {
    return {frame.x + by, frame.y + by, frame.width - 2 * by, frame.height - 2 * by};
}

struct Label {
    std::string text;
    bool isStrong = false;
};

/// As much of the text as fits, with a mark where it is cut.
std::string fitted(const std::string& text, double width, double size) {
    const auto room = static_cast<int>(width / (size * averageWidth));
    std::u32string characters = codePoints(oneLine(text));
    if (columns(characters) <= room) {
        return utf8(characters);
    }
    while (!characters.empty() && columns(characters) > room - 1) {
        characters.pop_back();
    }
    return characters.empty() ? "" : utf8(characters) + "…";
}

/// The lines of a display's label, the most important first.
std::vector<Label> labelsOf(const ShownDisplay& display) {
    const std::string id = "ID " + std::to_string(display.id);
    return {{id + (display.isMain ? ", main" : ""), true},
            {display.name, false},
            {"at " + number(display.frame.x) + ", " + number(display.frame.y), false},
            {display.mode, false}};
}

/// The greatest size at which all labels fit; the smallest if none does.
double textSize(const std::vector<Label>& labels, const Frame& room) {
    int longest = 1;
    for (const Label& label : labels) {
        longest = std::max(longest, columns(codePoints(label.text)));
    }
    const double byWidth = room.width / (longest * averageWidth);
    const double byHeight = room.height / (static_cast<double>(labels.size()) * lineHeight);
    return std::clamp(std::floor(std::min(byWidth, byHeight) * 2) / 2, smallestText, largestText);
}

std::string textAt(const std::string& style, double x, double y, double size,
                   const std::string& text) {
    return "<text class=\"" + style + "\"" + attributes({{"x", x}, {"y", y}, {"font-size", size}}) +
           ">" + escaped(text) + "</text>";
}

/// The labels, centred; those at the end are left out if there is too little room. Empty if not
/// even the first fits, since that is the ID, which is meaningless if cut.
std::string labelText(std::vector<Label> labels, const Frame& room) {
    const double size = textSize(labels, room);
    const auto fits = static_cast<std::size_t>(std::max(room.height / (size * lineHeight), 0.0));
    labels.resize(std::min(labels.size(), fits));
    if (labels.empty() || fitted(labels[0].text, room.width, size) != labels[0].text) {
        return "";
    }
    double y = room.y + room.height / 2 +
               size * (0.35 - lineHeight * (static_cast<double>(labels.size()) - 1) / 2);
    std::string result;
    for (const Label& label : labels) {
        const std::string text = fitted(label.text, room.width, size);
        result +=
            textAt(label.isStrong ? "id detail" : "detail", room.x + room.width / 2, y, size, text);
        y += size * lineHeight;
    }
    return result;
}

/// The ID alone, as large as possible, for pictures so small that labels are unreadable.
std::string shortLabel(const ShownDisplay& display, const Frame& frame, const std::string& style) {
    const std::string id = std::to_string(display.id);
    const double size =
        std::min({frame.height * .6, frame.width / (static_cast<double>(id.size()) * .7), 26.0});
    return textAt(style, frame.x + frame.width / 2, frame.y + frame.height / 2 + size * .35, size,
                  id);
}

/// The thickness of bars on a display.
double barHeight(const Frame& frame) {
    return std::clamp(frame.height * .07, 1.5, 6.0);
}

std::string menuBar(const ShownDisplay& display, const Frame& frame) {
    const double height = barHeight(frame);
    const Frame bar{frame.x + 1.5, frame.y + 1.5, frame.width - 3, height};
    return rectangle(display.showsMenuBar ? "bar" : "bar hides", bar, 1);
}

std::string dock(const Desk& desk, const Frame& frame) {
    const double height = barHeight(frame);
    const Frame bar{frame.x + frame.width * .3, frame.bottom() - height - 3, frame.width * .4,
                    height};
    return rectangle(desk.dockHides ? "bar hides" : "bar", bar, height / 2);
}

/// The four corners' sectors, in the Dock's order.
std::string hotCorners(const Desk& desk, const Frame& frame) {
    const double radius = std::min({frame.width * .15, frame.height * .15, 9.0});
    std::string result;
    for (std::size_t i = 0; i < desk.corners.size(); ++i) {
        if (!desk.corners[i]) {
            continue;
        }
        const bool isRight = i % 2 == 1;
        const bool isBottom = i >= 2;
        const double x = isRight ? frame.right() : frame.x;
        const double y = isBottom ? frame.bottom() : frame.y;
        result += "<path class=\"hot\" d=\"M" + coordinate(x) + " " + coordinate(y) + "h" +
                  coordinate(isRight ? -radius : radius) + "A" + coordinate(radius) + " " +
                  coordinate(radius) + " 0 0 " + (isRight == isBottom ? "1 " : "0 ") +
                  coordinate(x) + " " + coordinate(isBottom ? y - radius : y + radius) + "z\"/>";
    }
    return result;
}

/// A pointer, struck out if the mouse does not move it.
std::string cursor(const Desk& desk, const Frame& frame) {
    const double size = std::clamp(frame.height * .14, 3.0, 10.0);
    const double x = frame.right() - size * 1.6;
    const double y = frame.y + barHeight(frame) + size * .5;
    const auto at = [&](double dx, double dy) {
        return coordinate(x + size * dx) + " " + coordinate(y + size * dy);
    };
    std::string result = "<path class=\"cursor\" d=\"M" + at(0, 0) + "L" + at(0, 1) + "L" +
                         at(.28, .75) + "L" + at(.7, .7) + "z\"/>";
    if (!desk.cursorFollows) {
        result += "<path class=\"strike\" d=\"M" + at(-.3, 1.1) + "L" + at(.95, -.1) + "\"/>";
    }
    return result;
}

std::string displayGroup(const Side& side, const ShownDisplay& display, const Frame& frame) {
    const std::string style = display.isMain ? "display main" : "display";
    std::string result =
        "<g class=\"" + style + "\"><rect class=\"face\" data-side=\"" + side.name +
        "\" data-display=\"" + std::to_string(display.id) + "\"" +
        attributes(
            {{"x", frame.x}, {"y", frame.y}, {"width", frame.width}, {"height", frame.height}}) +
        "/>";
    const double edge = display.isMain ? 1.25 : .75;
    result += menuBar(display, frame);
    if (display.isMain) {
        result += dock(side.desk, frame) + hotCorners(side.desk, frame) + cursor(side.desk, frame);
    }
    result += rectangle("edge", inset(frame, edge / 2), 0);
    const double bars = barHeight(frame) + 4;
    const Frame room{frame.x + padding, frame.y + bars, frame.width - 2 * padding,
                     frame.height - 2 * bars};
    const std::string labels = labelText(labelsOf(display), room);
    return result + labels + shortLabel(display, frame, labels.empty() ? "id" : "id brief") +
           "</g>\n";
}

/// A ring around the point, filled only if Tolvaran may have caused the touch.
std::string touchMark(const CornerTouch& touch, const Point& at, double largest) {
    const std::string style = touch.bridge ? "touch beside" : "touch";
    const double radius = std::clamp(largest, 2.0, touch.bridge ? 3.5 : 7.0);
    std::string result = "<g data-corner=\"" + coordinate(touch.at.x) + " " +
                         coordinate(touch.at.y) + "\" class=\"" + style + "\">";
    result += shape("circle", "ring", {{"cx", at.x}, {"cy", at.y}, {"r", radius}});
    if (!touch.bridge) {
        result += shape("circle", "heart", {{"cx", at.x}, {"cy", at.y}, {"r", radius * .36}});
    }
    return result + "</g>\n";
}

/// A quarter of the shortest side, so that marks do not hide the displays.
double largestMark(const Arrangement& arrangement, const Canvas& canvas) {
    double side = canvas.width;
    for (const ShownDisplay& display : arrangement.displays) {
        side = std::min(
            {side, display.frame.width * canvas.scale, display.frame.height * canvas.scale});
    }
    return side / 4;
}

/// The displays and the marks, without the element around them.
std::string drawn(const Side& side, const Canvas& canvas) {
    const Frame bounds = boundsOf(side.arrangement.displays);
    std::string result;
    for (const ShownDisplay& display : side.arrangement.displays) {
        const Point corner = placeOn(canvas, bounds, {display.frame.x, display.frame.y});
        result += displayGroup(side, display,
                               {corner.x, corner.y, display.frame.width * canvas.scale,
                                display.frame.height * canvas.scale});
    }
    for (const CornerTouch& touch : side.arrangement.touches) {
        result += touchMark(touch, placeOn(canvas, bounds, touch.at),
                            largestMark(side.arrangement, canvas));
    }
    if (side.arrangement.displays.empty()) {
        result += textAt("none", canvas.width / 2, canvas.height / 2, largestText,
                         "no display is active");
    }
    return result;
}

bool hasAction(const json& code) {
    return code != 0 && code != 1;
}

}  // namespace

Side sideOf(const std::string& name, const json& mac) {
    Side side{name, arrangementOf(mac), {}};
    side.desk.dockHides = mac["dock"]["autoHide"];
    side.desk.cursorFollows = mac["cursorAssociated"];
    for (std::size_t i = 0; i < side.desk.corners.size(); ++i) {
        side.desk.corners[i] = hasAction(mac["dock"]["cornerActions"][i]);
    }
    return side;
}

Canvas canvasFor(const Side& before, const Side& after, double width, double tallest) {
    const Frame first = boundsOf(before.arrangement.displays);
    const Frame second = boundsOf(after.arrangement.displays);
    const double widest = std::max(first.width, second.width);
    const double highest = std::max(first.height, second.height);
    const auto fit = [](double room, double needed) {
        const double scale = (room - 2 * margin) / needed;
        return std::isfinite(scale) && scale > 0 ? scale : 1;
    };
    const double scale = std::min(fit(width, widest), fit(tallest, highest));
    const double height = std::isfinite(highest * scale) ? highest * scale : 0;
    return {width, std::clamp(std::ceil(height) + 2 * margin, 80.0, tallest), scale};
}

Point placeOn(const Canvas& canvas, const Frame& bounds, const Point& point) {
    return {
        (canvas.width - bounds.width * canvas.scale) / 2 + (point.x - bounds.x) * canvas.scale,
        (canvas.height - bounds.height * canvas.scale) / 2 + (point.y - bounds.y) * canvas.scale};
}

std::string arrangementSvg(const Side& side, const Canvas& canvas) {
    return "<svg class=\"picture\" role=\"img\" viewBox=\"0 0 " + coordinate(canvas.width) + " " +
           coordinate(canvas.height) + "\">\n<title>The displays " + side.name +
           "</title>\n<desc>" + escaped(described(side.arrangement)) + "</desc>\n" +
           drawn(side, canvas) + "</svg>\n";
}

std::string beforeAndAfterSvg(const std::string& title, const Side& before, const Side& after) {
    constexpr double width = 380;
    constexpr double gap = 40;
    const Canvas canvas = canvasFor(before, after, width, 240);
    const std::string size = coordinate(2 * width + gap) + " " + coordinate(canvas.height);
    const auto shifted = [&](const Side& side, double x) {
        return "<g transform=\"translate(" + coordinate(x) + ")\">\n" + drawn(side, canvas) +
               "</g>\n";
    };
    const double middle = canvas.height / 2;
    const std::string arrow = "<path class=\"arrow\" d=\"M" + coordinate(width + 6) + " " +
                              coordinate(middle) + "h26m-8 -7l8 7l-8 7\"/>\n";
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" class=\"picture\" role=\"img\" "
           "viewBox=\"0 0 " +
           size + "\" width=\"" + coordinate(2 * width + gap) + "\" height=\"" +
           coordinate(canvas.height) + "\">\n<title>" + escaped(title) +
           "</title>\n<desc>Before: " + escaped(described(before.arrangement)) +
           " After: " + escaped(described(after.arrangement)) + "</desc>\n<style>\n" +
           pictureStyle() + "</style>\n" + shifted(before, 0) + arrow +
           shifted(after, width + gap) + "</svg>\n";
}

}  // namespace simulator::report
