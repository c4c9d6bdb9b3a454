// Pictures of arrangements as SVG: displays to scale with their menu bar, Dock and hot corners; the
// main one and corner touches are marked. Used by the page and by the gallery.
#pragma once

#include <array>
#include <nlohmann/json.hpp>
#include <string>

#include "report/arrangement.hpp"

namespace simulator::report {

/// The Dock, the hot corners and the cursor, which are drawn on the main display.
struct Desk {
    bool dockHides = false;
    bool cursorFollows = true;
    std::array<bool, 4> corners{};  // which hot corners do something, in the Dock's order
};

struct Side {
    std::string name;  // "before" or "after"
    Arrangement arrangement;
    Desk desk;
};

Side sideOf(const std::string& name, const nlohmann::json& mac);

/// Converts points to a picture's units. Both sides share one, so that they can be compared.
struct Canvas {
    double width = 0;   // units
    double height = 0;  // units
    double scale = 1;   // units per point
};

/// A canvas with room for both sides.
/// @param width its width, in units
/// @param tallest the greatest height that it may have, in units
Canvas canvasFor(const Side& before, const Side& after, double width, double tallest);

/// The place of a side's point on the canvas; the arrangement is centred.
Point placeOn(const Canvas& canvas, const Frame& bounds, const Point& point);

/// An <svg> element for a page that includes pictureStyle(). Every display's rectangle has the
/// attributes data-side and data-display, every mark of a corner touch data-corner; positions are
/// exact to a hundredth of a unit.
std::string arrangementSvg(const Side& side, const Canvas& canvas);

/// A whole SVG file that shows both sides next to each other.
std::string beforeAndAfterSvg(const std::string& title, const Side& before, const Side& after);

/// The style sheet of the pictures, for light and dark.
const char* pictureStyle();

}  // namespace simulator::report
