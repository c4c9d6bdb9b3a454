#include "report/arrangement.hpp"

#include <algorithm>
#include <cmath>

#include "report/text.hpp"

namespace simulator::report {
namespace {

using nlohmann::json;

constexpr double tolerance = 1.0;  // points within which edges count as touching

struct Span {
    double min;
    double max;
};

Span horizontal(const Frame& frame) {
    return {frame.x, frame.right()};
}

Span vertical(const Frame& frame) {
    return {frame.y, frame.bottom()};
}

double overlap(const Span& a, const Span& b) {
    return std::min(a.max, b.max) - std::max(a.min, b.min);
}

/// Where an end of one touches the opposite end of the other: the middle between the two.
std::optional<double> meeting(const Span& a, const Span& b) {
    if (std::abs(a.max - b.min) <= tolerance) {
        return (a.max + b.min) / 2;
    }
    if (std::abs(b.max - a.min) <= tolerance) {
        return (b.max + a.min) / 2;
    }
    return std::nullopt;
}

bool shareSide(const Frame& a, const Frame& b) {
    return (meeting(horizontal(a), horizontal(b)) &&
            overlap(vertical(a), vertical(b)) > tolerance) ||
           (meeting(vertical(a), vertical(b)) && overlap(horizontal(a), horizontal(b)) > tolerance);
}

std::optional<Point> cornerBetween(const Frame& a, const Frame& b) {
    const std::optional<double> x = meeting(horizontal(a), horizontal(b));
    const std::optional<double> y = meeting(vertical(a), vertical(b));
    if (!x || !y || shareSide(a, b) || overlap(horizontal(a), horizontal(b)) > tolerance ||
        overlap(vertical(a), vertical(b)) > tolerance) {
        return std::nullopt;
    }
    return Point{*x, *y};
}

std::optional<std::size_t> bridgeBetween(const std::vector<Frame>& frames, std::size_t i,
                                         std::size_t j) {
    for (std::size_t k = 0; k < frames.size(); ++k) {
        if (k != i && k != j && shareSide(frames[k], frames[i]) &&
            shareSide(frames[k], frames[j])) {
            return k;
        }
    }
    return std::nullopt;
}

/// A product name is a text, or one text for each language.
std::string productName(const json& service) {
    const json name = service.value("DisplayProductName", json());
    if (name.is_string()) {
        return name.get<std::string>();
    }
    if (!name.is_object() || name.empty()) {
        return "";
    }
    const json& text = name.contains("en_US") ? name["en_US"] : *name.begin();
    return text.is_string() ? text.get<std::string>() : "";
}

bool isServiceOf(const json& service, const json& display) {
    return service.is_object() && service.value("DisplayVendorID", json()) == display["vendor"] &&
           service.value("DisplayProductID", json()) == display["model"];
}

Frame frameOf(const json& frame) {
    return {frame[0].get<double>(), frame[1].get<double>(), frame[2].get<double>(),
            frame[3].get<double>()};
}

}  // namespace

std::string displayName(const json& mac, const json& display) {
    for (const json& service : mac["registry"]) {
        if (isServiceOf(service, display)) {
            if (std::string name = productName(service); !name.empty()) {
                return name;
            }
        }
    }
    return "Display " + compact(display["id"]) + " · " + compact(display["vendor"]) + "/" +
           compact(display["model"]);
}

std::string modeText(const json& display) {
    for (const json& mode : display["modes"]) {
        if (mode["number"] == display["mode"]) {
            const auto density = mode["density"].get<double>();
            return compact(mode["width"]) + " × " + compact(mode["height"]) + ", " +
                   number(mode["hz"].get<double>()) + " Hz" +
                   (density == 1 ? "" : ", " + number(density) + "×");
        }
    }
    return display["mode"].is_null() ? "no mode"
                                     : "mode " + compact(display["mode"]) + ", not in its list";
}

Arrangement arrangementOf(const json& mac) {
    Arrangement arrangement;
    std::vector<Frame> frames;
    const bool hides = mac["menuBar"]["autoHide"].get<bool>();
    for (const json& display : mac["displays"]) {
        frames.push_back(frameOf(display["frame"]));
        arrangement.displays.push_back({display["id"].get<std::int64_t>(),
                                        displayName(mac, display), frames.back(), modeText(display),
                                        display["id"] == mac["mainDisplay"],
                                        !hides && display["menuBarOverride"].get<bool>()});
    }
    arrangement.touches = cornerTouches(frames);
    return arrangement;
}

std::vector<CornerTouch> cornerTouches(const std::vector<Frame>& frames) {
    std::vector<CornerTouch> touches;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        for (std::size_t j = i + 1; j < frames.size(); ++j) {
            if (const auto at = cornerBetween(frames[i], frames[j])) {
                touches.push_back({i, j, *at, bridgeBetween(frames, i, j)});
            }
        }
    }
    return touches;
}

Frame boundsOf(const std::vector<ShownDisplay>& displays) {
    if (displays.empty()) {
        return {};
    }
    Point least{displays[0].frame.x, displays[0].frame.y};
    Point most{displays[0].frame.right(), displays[0].frame.bottom()};
    for (const ShownDisplay& display : displays) {
        least = {std::min(least.x, display.frame.x), std::min(least.y, display.frame.y)};
        most = {std::max(most.x, display.frame.right()), std::max(most.y, display.frame.bottom())};
    }
    return {least.x, least.y, most.x - least.x, most.y - least.y};
}

std::string described(const CornerTouch& touch, const Arrangement& arrangement) {
    const auto id = [&](std::size_t place) {
        return std::to_string(arrangement.displays[place].id);
    };
    return "displays " + id(touch.first) + " and " + id(touch.second) + " touch at a corner (" +
           number(touch.at.x) + ", " + number(touch.at.y) + ")" +
           (touch.bridge ? ", beside display " + id(*touch.bridge) : "");
}

std::string described(const Arrangement& arrangement) {
    if (arrangement.displays.empty()) {
        return "No display is active.";
    }
    std::vector<std::string> parts;
    for (const ShownDisplay& display : arrangement.displays) {
        const Frame& frame = display.frame;
        parts.push_back(display.name + ", ID " + std::to_string(display.id) +
                        (display.isMain ? ", the main display" : "") + ", " + number(frame.width) +
                        " by " + number(frame.height) + " points at (" + number(frame.x) + ", " +
                        number(frame.y) + "), " + display.mode);
    }
    for (const CornerTouch& touch : arrangement.touches) {
        parts.push_back(described(touch, arrangement));
    }
    return joined(parts, "; ") + ".";
}

}  // namespace simulator::report
