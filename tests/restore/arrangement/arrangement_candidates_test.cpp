#include "restore/arrangement/arrangement_candidates.hpp"

#include <nlohmann/json.hpp>

#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;

const Hardware activePair{
    .displays = {1, 2}, .displayIDByCanonicalID = {{"A", 1}, {"B", 2}}, .signature = "A,B"};

HardwarePosition positionAt(CGDirectDisplayID display, double x, double y) {
    return {.displayID = display, .origin = CGPointMake(x, y)};
}

/// Two displays side by side; the main one is on the left.
DisplayPlaces leftAndRight() {
    return {.frames = {{1, CGRectMake(0, 0, 100, 100)}, {2, CGRectMake(100, 0, 100, 100)}},
            .mainDisplay = 1};
}

class ArrangementCandidates : public ProcessTest {};

TEST_F(ArrangementCandidates, PlacesAreTheGivenFramesAndTheCurrentMainDisplay) {
    start({{"displays",
            {{{"id", 7}, {"frame", {100, 0, 50, 50}}}, {{"id", 8}, {"frame", {0, 0, 100, 100}}}}}});
    const DisplayPlaces places = placesOf({{.displayID = 7, .frame = CGRectMake(100, 0, 50, 50)}});
    ASSERT_EQ(places.frames.size(), 1U);
    EXPECT_EQ(places.frames.at(7).origin.x, 100);
    EXPECT_EQ(places.frames.at(7).size.width, 50);
    EXPECT_EQ(places.mainDisplay, 8U);
}

TEST_F(ArrangementCandidates, OnlyActiveDisplaysArePlaced) {
    EXPECT_EQ(activePositions(activePair, {{.uuid = "B", .x = 5, .y = 6}, {.uuid = "C"}}),
              Positions{positionAt(2, 5, 6)});
    EXPECT_EQ(activePositions(activePair, {{.uuid = "C"}}), Positions());
}

TEST_F(ArrangementCandidates, DamagedPositionsHaveAFlaw) {
    const double reach = 1 << 30;
    const struct {
        Positions positions;
        std::optional<std::string> flaw;
    } rows[] = {
        {{positionAt(1, 0, 0), positionAt(2, 100, 0)}, std::nullopt},
        {{positionAt(1, 0, 0), positionAt(2, 100, 100)}, "is itself zigzag"},
        {Positions(16, positionAt(1, 0, 0)), std::nullopt},
        {Positions(17, positionAt(1, 0, 0)), "has 17 positions"},
        {{positionAt(1, 0, 0), positionAt(2, reach, 0)}, "has out-of-range coordinates"},
        {{positionAt(1, 0, -reach), positionAt(2, 0, 0)}, "has out-of-range coordinates"},
        {{positionAt(1, 0, 0), positionAt(2, reach - 1, 1 - reach)}, std::nullopt},
    };
    for (const auto& [positions, flaw] : rows) {
        EXPECT_EQ(flawOf(positions, leftAndRight()), flaw) << flaw.value_or("none");
    }
}

TEST_F(ArrangementCandidates, ADisplayWithoutAreaMakesNoZigzag) {
    DisplayPlaces places = leftAndRight();
    places.frames[2] = CGRectMake(100, 0, 0, 0);
    EXPECT_EQ(flawOf({positionAt(1, 0, 0), positionAt(2, 100, 100)}, places), std::nullopt);
    places.frames.erase(2);
    EXPECT_EQ(flawOf({positionAt(1, 0, 0), positionAt(2, 100, 100)}, places), std::nullopt);
}

TEST_F(ArrangementCandidates, AreInForceAroundTheMainDisplay) {
    const struct {
        Positions positions;
        bool isInForce;
    } rows[] = {
        {{positionAt(1, 0, 0), positionAt(2, 100, 0)}, true},
        {{positionAt(1, 40, 50), positionAt(2, 140, 50)}, true},
        {{positionAt(1, 0, 0), positionAt(2, 100.5, 0.5)}, true},
        {{positionAt(1, 0, 0), positionAt(2, 101, 0)}, false},
        {{positionAt(1, 0, 0), positionAt(2, 7, 7), positionAt(2, 100, 0)}, true},
        {{positionAt(1, 0, 0), positionAt(2, 100, 0), positionAt(2, 7, 7)}, false},
        {{positionAt(1, 0, 0), positionAt(3, 100, 0)}, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(isInForce(row.positions, leftAndRight()), row.isInForce) << &row - rows;
    }
}

TEST_F(ArrangementCandidates, SubsetsAreOfActiveDisplaysOnlyAndTheLargestComesFirst) {
    const SavedArrangements saved{
        {"A,B", {{.uuid = "A"}, {.uuid = "B"}}},  // the exact one
        {"1", {{.uuid = "A"}, {.uuid = "A"}}},
        {"2", {{.uuid = "B"}, {.uuid = "A"}}},
        {"3", {{.uuid = "A"}, {.uuid = "C"}}},
        {"4", {}},
        {"5", {{.uuid = "B"}}},
    };
    std::vector<std::pair<std::size_t, const SavedArrangement*>> found;
    for (const Subset& subset : subsetArrangements(activePair, saved)) {
        found.emplace_back(subset.size, subset.entries);
    }
    EXPECT_EQ(found, (std::vector<std::pair<std::size_t, const SavedArrangement*>>{
                         {2, &saved.at("2")}, {1, &saved.at("1")}, {1, &saved.at("5")}}));
}

TEST_F(ArrangementCandidates, ProjectionsAreOfArrangementsOfMoreDisplays) {
    const OriginalsEntry a{.uuid = "A", .x = 0, .y = 0};
    const OriginalsEntry b{.uuid = "B", .x = 100, .y = 0};
    const SavedArrangements saved{{"A,B", {a, b}},
                                  {"A,B,C", {a, b, {.uuid = "C", .x = 200, .y = 0}}}};
    EXPECT_EQ(projectedArrangements(activePair, saved), std::vector<SavedArrangement>({{a, b}}));
}

}  // namespace
}  // namespace tolvaran::tests
