#include "report/arrangement.hpp"

#include "restore/arrangement/zigzag.hpp"
#include "tests/report/results.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::report;

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ReportArrangement, CornerTouches) {
    const Frame first{0, 0, 100, 100};
    const struct {
        const char* what;
        Frame second;
        std::optional<Point> at;
    } rows[] = {
        {"bottom right", {100, 100, 50, 50}, Point{100, 100}},
        {"top right", {100, -50, 50, 50}, Point{100, 0}},
        {"bottom left", {-50, 100, 50, 50}, Point{0, 100}},
        {"top left", {-50, -50, 50, 50}, Point{0, 0}},
        {"a gap of one point", {101, 101, 50, 50}, Point{100.5, 100.5}},
        {"an overlap of one point", {99, 99, 50, 50}, Point{99.5, 99.5}},
        {"one point of side", {100, 99, 50, 50}, Point{100, 99.5}},
        {"a gap too wide", {101.5, 100, 50, 50}, std::nullopt},
        {"two points of side", {100, 98, 50, 50}, std::nullopt},
        {"beside each other", {100, 0, 50, 50}, std::nullopt},
        {"apart", {300, 300, 50, 50}, std::nullopt},
        {"the same place", {0, 0, 100, 100}, std::nullopt},
    };
    for (const auto& row : rows) {
        const std::vector<CornerTouch> touches = cornerTouches({first, row.second});
        ASSERT_EQ(touches.size(), row.at ? 1U : 0U) << row.what;
        if (row.at) {
            EXPECT_EQ(touches[0], (CornerTouch{0, 1, *row.at, std::nullopt})) << row.what;
        }
    }
    EXPECT_THAT(cornerTouches({}), IsEmpty());
}

TEST(ReportArrangement, AThirdDisplayMayJoinTwo) {
    EXPECT_THAT(cornerTouches({{0, 0, 100, 100}, {100, 100, 100, 100}, {100, 0, 100, 100}}),
                ElementsAre(CornerTouch{0, 1, {100, 100}, 2}));
}

// The pictures must mark what the system acts on, in every layout of three displays on a grid.
TEST(ReportArrangement, MarksATouchExactlyWhereTheSystemSeesAZigzag) {
    const double places[] = {0, 1, 2, 10, 11, 11.5, 20};
    std::vector<Frame> frames;
    for (const double x : places) {
        for (const double y : places) {
            frames.push_back({x, y, 10, 10});
        }
    }
    int zigzags = 0;
    for (const Frame& second : frames) {
        for (const Frame& third : frames) {
            const std::vector<Frame> layout{{0, 0, 10, 10}, second, third};
            std::vector<tolvaran::DisplayFrame> displays;
            for (const Frame& frame : layout) {
                displays.push_back({1, {{frame.x, frame.y}, {frame.width, frame.height}}});
            }
            const std::vector<CornerTouch> touches = cornerTouches(layout);
            const bool isMarked = std::any_of(touches.begin(), touches.end(),
                                              [](const CornerTouch& t) { return !t.bridge; });
            const bool isZigzag = tolvaran::Zigzag::isZigzag(displays);
            ASSERT_EQ(isMarked, isZigzag)
                << second.x << "," << second.y << " " << third.x << "," << third.y;
            zigzags += isZigzag ? 1 : 0;
        }
    }
    EXPECT_GT(zigzags, 100);
}

TEST(ReportArrangement, NamesAreThoseThatTheMacGives) {
    const json service = {{"DisplayVendorID", 10}, {"DisplayProductID", 20}};
    const auto nameWith = [&](const json& name) {
        json named = service;
        if (!name.is_null()) {
            named["DisplayProductName"] = name;
        }
        const json other = {
            {"DisplayVendorID", 10}, {"DisplayProductID", 21}, {"DisplayProductName", "another"}};
        const json mac = completeMac({{"displays", {display(7, 0, 0, 10, 10)}},
                                      {"registry", {other, json::object(), named}}});
        return displayName(mac, mac["displays"][0]);
    };
    EXPECT_EQ(nameWith("Panel"), "Panel");
    EXPECT_EQ(nameWith({{"de_DE", "Tafel"}, {"en_US", "Panel"}}), "Panel");
    EXPECT_EQ(nameWith({{"de_DE", "Tafel"}}), "Tafel");
    const std::string ownName = "Display 7 · 10/20";
    for (const json& none : {json(), json(""), json(5), json::object(), json{{"en_US", 5}}}) {
        EXPECT_EQ(nameWith(none), ownName) << none;
    }
}

TEST(ReportArrangement, Modes) {
    const auto textOf = [](const json& mode, const json& modes) {
        json one = display(1, 0, 0, 10, 10);
        one["mode"] = mode;
        one["modes"] = modes;
        return modeText(macWith({one})["displays"][0]);
    };
    const json modes = {{{"number", 3}, {"width", 1920}, {"height", 1080}, {"hz", 59.94}},
                        {{"number", 4}, {"width", 640}, {"height", 480}, {"density", 2}}};
    EXPECT_EQ(textOf(3, modes), "1920 × 1080, 59.94 Hz");
    EXPECT_EQ(textOf(4, modes), "640 × 480, 60 Hz, 2×");
    EXPECT_EQ(textOf(5, modes), "mode 5, not in its list");
    EXPECT_EQ(textOf(nullptr, modes), "no mode");
}

TEST(ReportArrangement, IsReadFromTheMac) {
    json first = display(1, 0, 0, 100, 100);
    first["menuBarOverride"] = false;
    const json mac = macWith({first, display(2, 100, 100, 50.5, 50)});
    const Arrangement arrangement = arrangementOf(mac);
    ASSERT_EQ(arrangement.displays.size(), 2U);
    EXPECT_TRUE(arrangement.displays[0].isMain);
    EXPECT_FALSE(arrangement.displays[1].isMain);
    EXPECT_FALSE(arrangement.displays[0].showsMenuBar);
    EXPECT_TRUE(arrangement.displays[1].showsMenuBar);
    EXPECT_EQ(boundsOf(arrangement.displays), (Frame{0, 0, 150.5, 150}));
    EXPECT_EQ(described(arrangement),
              "Display 1 · 10/20, ID 1, the main display, 100 by 100 points at (0, 0), no mode; "
              "Display 2 · 10/20, ID 2, 50.5 by 50 points at (100, 100), no mode; "
              "displays 1 and 2 touch at a corner (100, 100).");
    EXPECT_EQ(described(arrangementOf(macWith({}))), "No display is active.");
    EXPECT_EQ(boundsOf({}), Frame{});
}

TEST(ReportArrangement, AHiddenMenuBarIsShownNowhere) {
    const json mac = completeMac({{"menuBar", {{"autoHide", true}}}});
    EXPECT_FALSE(arrangementOf(mac).displays[0].showsMenuBar);
}

}  // namespace
}  // namespace tolvaran::tests
