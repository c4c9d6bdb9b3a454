// The displays of a Mac for pictures, taken from the `mac` object of a result. Used by the page,
// the terminal's picture and the gallery.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace simulator::report {

struct Point {
    double x = 0;
    double y = 0;

    bool operator==(const Point&) const = default;
};

/// In points; y grows downwards, as in the window server.
struct Frame {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double right() const { return x + width; }
    double bottom() const { return y + height; }
    bool operator==(const Frame&) const = default;
};

struct ShownDisplay {
    std::int64_t id = 0;
    std::string name;  // from the Mac, else "Display 2 · 4268/16609"
    Frame frame;
    std::string mode;  // "1920 × 1080, 60 Hz"
    bool isMain = false;
    bool showsMenuBar = true;
};

/// Two displays that meet at a corner and share no side.
struct CornerTouch {
    std::size_t first = 0;  // indices in the list of displays
    std::size_t second = 0;
    Point at;
    /// A third display that shares a side with both. Such touches occur in ordinary layouts; the
    /// others come from Tolvaran.
    std::optional<std::size_t> bridge;

    bool operator==(const CornerTouch&) const = default;
};

struct Arrangement {
    std::vector<ShownDisplay> displays;  // in the window server's order
    std::vector<CornerTouch> touches;
};

Arrangement arrangementOf(const nlohmann::json& mac);

/// Every pair of displays that touches at a corner, within 1 point in either direction.
std::vector<CornerTouch> cornerTouches(const std::vector<Frame>& frames);

/// The smallest frame around all of them; empty if there are none.
Frame boundsOf(const std::vector<ShownDisplay>& displays);

/// What the Mac calls a display: the product name of the display-connect service with its vendor
/// and model, or "Display ID · vendor/model" if there is none.
std::string displayName(const nlohmann::json& mac, const nlohmann::json& display);

/// A display's current mode in words; "no mode" if it has none.
std::string modeText(const nlohmann::json& display);

/// An arrangement in one sentence, for readers who cannot see the picture.
std::string described(const Arrangement& arrangement);
/// A touch in words: "displays 1 and 2 touch at a corner (100, 200)".
std::string described(const CornerTouch& touch, const Arrangement& arrangement);

}  // namespace simulator::report
