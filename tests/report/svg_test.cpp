#include "report/svg.hpp"

#include "tests/report/results.hpp"
#include "tests/support/patterns.hpp"

namespace tolvaran::tests {
namespace {

using namespace simulator;
using namespace simulator::report;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

Side zigzag() {
    return sideOf("before",
                  macWith({display(1, 0, 0, 1000, 500), display(2, 1000, 500, 600, 500)}));
}

TEST(SVG, DrawsEveryDisplayToScale) {
    const Side side = zigzag();
    const Canvas canvas = canvasFor(side, side, 424, 400);
    EXPECT_EQ(canvas.scale, 0.25);
    EXPECT_EQ(canvas.height, 274);
    const std::string picture = arrangementSvg(side, canvas);
    EXPECT_THAT(firstGroups(picture, R"(data-side="before" data-display="([^/]*)\/>)"),
                ElementsAre(R"(1" x="12" y="12" width="250" height="125")",
                            R"(2" x="262" y="137" width="150" height="125")"));
    EXPECT_THAT(firstGroups(picture, R"(data-corner="([^"]*)\")"), ElementsAre("1000 500"));
    EXPECT_THAT(picture, HasSubstr(R"(<circle class="ring" cx="262" cy="137")"));
    EXPECT_THAT(firstGroups(picture, R"(<g class="(display[^"]*))"),
                ElementsAre("display main", "display"));
}

TEST(SVG, BothSidesShareTheScale) {
    const Side wide = sideOf("after", macWith({display(1, 0, 0, 4000, 100)}));
    const Canvas canvas = canvasFor(zigzag(), wide, 424, 400);
    EXPECT_EQ(canvas.scale, 0.1);
    EXPECT_EQ(canvas.height, 124);
    EXPECT_EQ(placeOn(canvas, {0, 0, 1600, 1000}, {0, 0}), (Point{132, 12}));
}

TEST(SVG, OddArrangementsHaveACanvas) {
    const Side none = sideOf("before", macWith({}));
    const Side points = sideOf("before", macWith({display(1, 5, 5, 0, 0)}));
    const Side huge = sideOf("before", macWith({display(1, -1e308, -1e308, 1e308, 1e308),
                                                display(2, 1e308, 1e308, 1e308, 1e308)}));
    for (const Side* const side : {&none, &points, &huge}) {
        const Canvas canvas = canvasFor(*side, *side, 400, 300);
        EXPECT_GT(canvas.scale, 0);
        EXPECT_LT(canvas.scale, 1e308);
        EXPECT_GE(canvas.height, 80);
        EXPECT_LE(canvas.height, 300);
        EXPECT_THAT(arrangementSvg(*side, canvas), Not(HasSubstr("nan")));
    }
    EXPECT_THAT(arrangementSvg(none, canvasFor(none, none, 400, 300)),
                HasSubstr("no display is active"));
}

TEST(SVG, DescribesWhatItShows) {
    const Side side = zigzag();
    const std::string picture = arrangementSvg(side, canvasFor(side, side, 424, 400));
    EXPECT_THAT(picture, HasSubstr("role=\"img\""));
    EXPECT_THAT(picture, HasSubstr("<title>The displays before</title>"));
    EXPECT_THAT(picture, HasSubstr("<desc>Display 1 · 10/20, ID 1, the main display, 1000 by 500"));
    for (const char* const label :
         {">ID 1, main<", ">Display 2 · 10/20<", ">at 1000, 500<", ">no mode<"}) {
        EXPECT_THAT(picture, HasSubstr(label));
    }
}

TEST(SVG, SmallDisplaysShowTheirID) {
    const Side side =
        sideOf("before", macWith({display(1, 0, 0, 100, 100), display(23, 3000, 3000, 100, 100)}));
    const std::string picture = arrangementSvg(side, canvasFor(side, side, 424, 424));
    EXPECT_THAT(firstGroups(picture, "<text class=\"id\"[^>]*>([^<]*)<"), ElementsAre("1", "23"));
}

TEST(SVG, ShowsWhatIsOnTheMainDisplay) {
    const auto drawnWith = [](const char* mac) {
        const Side side = sideOf("before", completeMac(json::parse(mac)));
        return arrangementSvg(side, canvasFor(side, side, 424, 400));
    };
    const std::string plain = drawnWith("{}");
    EXPECT_EQ(firstGroups(plain, "(class=\"bar\")").size(), 2U) << "menu bar and Dock";
    EXPECT_THAT(plain, Not(HasSubstr("class=\"bar hides\"")));
    EXPECT_THAT(plain, Not(HasSubstr("class=\"hot\"")));
    EXPECT_THAT(plain, Not(HasSubstr("class=\"strike\"")));
    const std::string changed = drawnWith(R"({"dock": {"autoHide": true,
        "cornerActions": [2, 1, 0, 13]}, "menuBar": {"autoHide": true},
        "cursorAssociated": false})");
    EXPECT_EQ(firstGroups(changed, "(class=\"bar hides\")").size(), 2U);
    EXPECT_EQ(firstGroups(changed, "(class=\"hot\")").size(), 2U);
    EXPECT_THAT(changed, HasSubstr("class=\"strike\""));
}

TEST(SVG, MarkupInNamesIsText) {
    const std::string hostile = "<script>alert(\"1\")</script>";
    const json mac = completeMac(
        {{"displays", {display(1, 0, 0, 1000, 500)}},
         {"registry",
          {{{"DisplayVendorID", 10}, {"DisplayProductID", 20}, {"DisplayProductName", hostile}}}}});
    const Side side = sideOf("before", mac);
    for (const std::string& picture : {arrangementSvg(side, canvasFor(side, side, 424, 400)),
                                       beforeAndAfterSvg(hostile, side, side)}) {
        EXPECT_THAT(picture, Not(HasSubstr("<script")));
        EXPECT_THAT(picture, HasSubstr("&lt;script&gt;"));
    }
}

TEST(SVG, AFileStandsAlone) {
    const Side side = zigzag();
    const std::string file = beforeAndAfterSvg("A & B", side, side);
    EXPECT_THAT(file, testing::StartsWith("<svg xmlns=\"http://www.w3.org/2000/svg\""));
    EXPECT_THAT(file, HasSubstr("<title>A &amp; B</title>"));
    EXPECT_THAT(file, HasSubstr(pictureStyle()));
    EXPECT_THAT(pictureStyle(), HasSubstr("prefers-color-scheme: dark"));
    EXPECT_THAT(file, Not(HasSubstr("http://www.w3.org/1999/xlink")));
    EXPECT_LT(file.size(), 8000U);
}

}  // namespace
}  // namespace tolvaran::tests
