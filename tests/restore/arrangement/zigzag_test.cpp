#include "restore/arrangement/zigzag.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <limits>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "simulator/simulator.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/special_numbers.hpp"

namespace tolvaran::tests {
namespace {

using Frames = std::vector<CGRect>;

constexpr double justBelowOne = 0.99999999999999988898;  // the next double below 1.0
constexpr double justAboveOne = 1.00000000000000022204;  // the next double above 1.0
static_assert(justBelowOne < 1.0 && 1.0 < justAboveOne);

std::vector<DisplayFrame> displays(const Frames& frames) {
    std::vector<DisplayFrame> result;
    for (const CGRect& frame : frames) {
        result.push_back(
            {.displayID = static_cast<CGDirectDisplayID>(result.size() + 1), .frame = frame});
    }
    return result;
}

std::string describe(const Frames& frames) {
    std::string text;
    for (const CGRect& frame : frames) {
        text += "[" + std::to_string(frame.origin.x) + " " + std::to_string(frame.origin.y) + " " +
                std::to_string(frame.size.width) + "x" + std::to_string(frame.size.height) + "] ";
    }
    return text;
}

/// Checks both answers and the log, with the displays listed in every order.
void expectInEveryOrder(Frames frames, bool zigzag, bool full) {
    std::vector<std::size_t> order(frames.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        order[i] = i;
    }
    do {
        Frames listed;
        for (const std::size_t index : order) {
            listed.push_back(frames[index]);
        }
        SCOPED_TRACE(describe(listed));
        const std::size_t liveBefore = simulator::liveObjects();
        LogCapture log;
        EXPECT_EQ(Zigzag::isFullZigzag(displays(listed)), full);
        EXPECT_EQ(log.take(), Lines{});
        EXPECT_EQ(Zigzag::isZigzag(displays(listed)), zigzag);
        EXPECT_EQ(log.take(), zigzag ? Lines{"info: Detected zigzag/corner-touch "
                                             "arrangement"}
                                     : Lines{});
        EXPECT_EQ(simulator::liveObjects(), liveBefore);
    } while (std::next_permutation(order.begin(), order.end()));
}

struct Layout {
    std::string name;
    Frames frames;
    bool zigzag;
    bool full;
};

std::ostream& operator<<(std::ostream& out, const Layout& layout) {
    return out << layout.name;
}

class ZigzagLayout : public testing::TestWithParam<Layout> {};

TEST_P(ZigzagLayout, IsRecognisedInEveryOrder) {
    expectInEveryOrder(GetParam().frames, GetParam().zigzag, GetParam().full);
}

CGRect at(double x, double y, double width = 100, double height = 100) {
    return CGRectMake(x, y, width, height);
}

const std::vector<Layout> layouts{
    {"NoDisplay", {}, false, false},
    {"OneDisplay", {at(0, 0)}, false, false},
    {"CornersMeet", {at(0, 0), at(100, 100)}, true, true},
    {"CornersMeetTheOtherWay", {at(0, 100), at(100, 0)}, true, true},
    {"SizesDiffer", {at(0, 0, 1920, 1080), at(1920, 1080, 30, 70)}, true, true},
    {"GapOfOne", {at(0, 0), at(101, 101)}, true, true},
    {"OverlapOfOne", {at(0, 0), at(99, 99)}, true, true},
    {"GapOfOneAndAHalf", {at(0, 0), at(101.5, 101.5)}, false, false},
    {"GapOfOneAndAHalfAcross", {at(0, 0), at(101.5, 100)}, false, false},
    {"OverlapOfOneAndAHalf", {at(0, 0), at(98.5, 98.5)}, false, false},
    {"SideBySide", {at(0, 0), at(100, 0)}, false, false},
    {"OneAboveTheOther", {at(0, 0), at(0, 100)}, false, false},
    {"SharingTwoPoints", {at(0, 0), at(100, 98)}, false, false},
    {"SharingOnePoint", {at(0, 0), at(100, 99)}, true, true},
    {"SharingOnePointAcross", {at(0, 0), at(99, 100)}, true, true},
    {"Mirrored", {at(0, 0), at(0, 0)}, false, false},
    {"OneInsideTheOther", {at(0, 0), at(25, 25, 50, 50)}, false, false},
    {"NegativeSidesCoverTheSameArea", {at(100, 100, -100, -100), at(100, 100)}, true, true},
    {"L", {at(0, 0), at(0, 100), at(100, 100)}, false, false},
    {"LWithAnUnbridgedCorner", {at(0, 0), at(0, 100), at(100, 100), at(200, 200)}, true, false},
    {"FourInASquare", {at(0, 0), at(100, 0), at(0, 100), at(100, 100)}, false, false},
    {"SidesWithCornerOfOne", {at(0, 0), at(100, 0), at(200, 100)}, true, false},
    {"ThirdSharesASideWithOneOnly", {at(0, 0), at(100, 100), at(200, 100)}, true, false},
    {"SharedSidesAndALooseDisplay", {at(0, 0), at(100, 100), at(500, 500)}, true, false},
    {"Staircase", {at(0, 0), at(100, 100), at(200, 200)}, true, true},
    {"StaircaseOfFive",
     {at(0, 0), at(100, 100), at(200, 200), at(300, 300), at(400, 400)},
     true,
     true},
    {"ZigAndZag", {at(0, 100), at(100, 0), at(200, 100), at(300, 0)}, true, true},
    {"RingOfCorners", {at(100, 0), at(0, 100), at(200, 100), at(100, 200)}, true, true},
    {"TwoPairsApart", {at(0, 0), at(100, 100), at(1000, 0), at(1100, 100)}, true, false},
    {"FarApart", {at(0, 0), at(1000, 1000)}, false, false},

    // Values that are not finite. The third display of the first layout would bridge the other two
    // if its missing x were ignored.
    {"BridgeWithoutX", {at(0, 0), at(100, 100), at(notANumber, 100, 100, 1)}, true, false},
    {"BridgeWithoutY", {at(0, 0), at(100, 100), at(100, notANumber, 1, 100)}, true, false},
    {"NoX", {at(0, 0), at(notANumber, 100)}, false, false},
    {"NoY", {at(0, 0), at(100, notANumber)}, false, false},
    {"NoWidth", {at(0, 0), at(100, 100, notANumber, 100)}, false, false},
    {"NoHeight", {at(0, 0), at(100, 100, 100, notANumber)}, false, false},
    {"NoWidthButASharedEdge", {at(0, 0), at(100, 0, notANumber, 100)}, false, false},
    {"NoNumberAtAll",
     {at(notANumber, notANumber, notANumber, notANumber), at(0, 0), at(100, 100)},
     true,
     false},
    {"InfinitelyFar", {at(0, 0), at(infinity, 100)}, false, false},
    {"InfinitelyFarBackwards", {at(0, 0), at(100, -infinity)}, false, false},
    {"BothInfinitelyFar", {at(infinity, infinity), at(infinity, infinity)}, false, false},
    {"InfinitelyWideAtACorner", {at(0, 0), at(100, 100, infinity, 100)}, true, true},
    {"InfinitelyWideAtAnEdge", {at(0, 0), at(-50, 100, infinity, 100)}, false, false},
    {"BothInfinitelyWide", {at(0, 0, infinity, 100), at(0, 100, infinity, 100)}, false, false},
    {"GreatestCoordinates", {at(1e308, 1e308), at(-1e308, -1e308)}, false, false},
};

INSTANTIATE_TEST_SUITE_P(Zigzag, ZigzagLayout, testing::ValuesIn(layouts),
                         [](const auto& row) { return row.param.name; });

// Two displays whose neighbouring ends are dx and dy apart (negative: overlapping), at every
// distance that matters. The ends are at 0 and at the distance itself, so that no difference is
// rounded.
TEST(Zigzag, ToleranceIsOnePointAndIncludesIt) {
    const std::vector<double> distances{
        -50.0, -justAboveOne, -1.0, -justBelowOne, 0.0, justBelowOne, 1.0, justAboveOne, 50.0};
    for (const double dx : distances) {
        for (const double dy : distances) {
            const bool touchX = std::abs(dx) <= 1.0;
            const bool touchY = std::abs(dy) <= 1.0;
            const bool corner = touchX && touchY;
            expectInEveryOrder({at(-100, -100), at(dx, dy)}, corner, corner);

            // Whether they share a side shows in a layout that is otherwise a full zigzag: two more
            // displays lead from one to the other by corners, far from where these two meet.
            const bool side = (touchX && dy < -1.0) || (touchY && dx < -1.0);
            expectInEveryOrder({at(-100, -100), at(dx, dy), at(-200, 0, 100, 100 + dy),
                                at(-100, 100 + dy, 100 + dx, 100)},
                               true, !side);
        }
    }
}

// A third display bridges when it shares more than the tolerance with both displays of a corner.
TEST(Zigzag, BridgingBeginsAboveTheTolerance) {
    for (const double shared : {0.0, justBelowOne, 1.0, justAboveOne, 50.0}) {
        // The first two meet at (0, 0); the third lies below the first and ends `shared` above the
        // second's top, so that it shares that much of the second's left edge.
        const CGRect first = at(-100, -100);
        const CGRect second = at(0, 0);
        const CGRect third = at(-100, 0, 100, shared);
        const bool bridged = shared > 1.0;
        expectInEveryOrder({first, second, third}, !bridged, false);
    }
}

// Every placement of a few displays on a small grid, in every list order, against the definitions
// stated another way.
class Grid {
  public:
    struct Size {
        int width;
        int height;
    };

    /// All placements of displays of these sizes within `bounds`, both counted in cells.
    Grid(const std::vector<Size>& sizes, Size bounds, double pointsPerCell) {
        for (const Size& size : sizes) {
            for (int x = 0; x + size.width <= bounds.width; ++x) {
                for (int y = 0; y + size.height <= bounds.height; ++y) {
                    places_.push_back(CGRectMake(x * pointsPerCell, y * pointsPerCell,
                                                 size.width * pointsPerCell,
                                                 size.height * pointsPerCell));
                }
            }
        }
        for (const CGRect& a : places_) {
            for (const CGRect& b : places_) {
                meetings_.push_back(meeting(a, b));
            }
        }
    }

    /// Compares the product with the definitions for every list of `count` displays; stops at the
    /// first difference. Since a meeting of two displays is the same whichever comes first, equal
    /// answers for all lists also mean that the order of a list does not matter.
    void compareAll(std::size_t count) {
        for (std::size_t i = 0; i < places_.size(); ++i) {
            for (std::size_t j = 0; j < places_.size(); ++j) {
                ASSERT_EQ(meets(i, j), meets(j, i));
            }
        }
        std::vector<std::size_t> chosen(count, 0);
        std::vector<DisplayFrame> frames(count);
        do {
            for (std::size_t i = 0; i < count; ++i) {
                frames[i] = {.displayID = static_cast<CGDirectDisplayID>(i + 1),
                             .frame = places_[chosen[i]]};
            }
            const Answer expected = answer(chosen);
            const Answer found{.zigzag = Zigzag::isZigzag(frames),
                               .full = Zigzag::isFullZigzag(frames)};
            ASSERT_TRUE(found == expected)
                << describe(chosen) << "zigzag " << found.zigzag << ", full " << found.full;
            ++seen_[expected.zigzag][expected.full];
        } while (next(chosen));
        // The grid must have had room for each kind of layout.
        EXPECT_GT(seen_[false][false], 0);
        EXPECT_GT(seen_[true][true], 0);
        EXPECT_EQ(seen_[true][false] > 0, count > 2);
        EXPECT_EQ(seen_[false][true], 0);
    }

  private:
    enum class Meeting { none, corner, side };

    struct Answer {
        bool zigzag;
        bool full;

        bool operator==(const Answer&) const = default;
    };

    /// The overlap of two intervals, both longer than the tolerance: the sum of their lengths less
    /// the length of their hull.
    static double common(double a, double lengthOfA, double b, double lengthOfB) {
        return lengthOfA + lengthOfB - (std::max(a + lengthOfA, b + lengthOfB) - std::min(a, b));
    }

    static Meeting meeting(const CGRect& a, const CGRect& b) {
        const double x = common(a.origin.x, a.size.width, b.origin.x, b.size.width);
        const double y = common(a.origin.y, a.size.height, b.origin.y, b.size.height);
        if (std::min(x, y) < -1 || std::min(x, y) > 1) {
            return Meeting::none;  // apart in one direction, or overlapping
        }
        return std::max(x, y) > 1 ? Meeting::side : Meeting::corner;
    }

    Meeting meets(std::size_t i, std::size_t j) const { return meetings_[i * places_.size() + j]; }

    /// A set of displays, one bit each.
    using Set = unsigned;

    Answer answer(const std::vector<std::size_t>& chosen) const {
        const std::size_t count = chosen.size();
        std::array<Set, 4> sides{};
        std::array<Set, 4> corners{};
        for (std::size_t i = 0; i < count; ++i) {
            for (std::size_t j = 0; j < count; ++j) {
                if (i != j) {
                    const Meeting how = meets(chosen[i], chosen[j]);
                    sides[i] |= how == Meeting::side ? 1U << j : 0U;
                    corners[i] |= how == Meeting::corner ? 1U << j : 0U;
                }
            }
        }
        Answer result{.zigzag = false, .full = true};
        std::array<Set, 4> reached{};  // by ever longer paths
        for (std::size_t i = 0; i < count; ++i) {
            reached[i] = corners[i] | 1U << i;
        }
        for (std::size_t k = 0; k < count; ++k) {
            for (std::size_t i = 0; i < count; ++i) {
                reached[i] |= (reached[i] >> k & 1U) != 0 ? reached[k] : 0U;
            }
        }
        for (std::size_t i = 0; i < count; ++i) {
            result.full = result.full && sides[i] == 0 &&
                          std::popcount(reached[i]) == static_cast<int>(count);
            for (std::size_t j = 0; j < count; ++j) {
                const bool corner = (corners[i] >> j & 1U) != 0;
                result.zigzag = result.zigzag || (corner && (sides[i] & sides[j]) == 0);
            }
        }
        return result;
    }

    /// The next list of places, like an odometer; false after the last.
    bool next(std::vector<std::size_t>& chosen) const {
        for (std::size_t& place : chosen) {
            if (++place < places_.size()) {
                return true;
            }
            place = 0;
        }
        return false;
    }

    std::string describe(const std::vector<std::size_t>& chosen) const {
        Frames frames;
        for (const std::size_t place : chosen) {
            frames.push_back(places_[place]);
        }
        return tests::describe(frames);
    }

    Frames places_;
    std::vector<Meeting> meetings_;
    std::array<std::array<int, 2>, 2> seen_{};  // by zigzag, then by full
};

// With one point per cell, displays one cell apart still touch; with two points they do not.
TEST(ZigzagOnAGrid, TwoDisplays) {
    Grid({{2, 3}, {3, 2}}, {9, 9}, 1.0).compareAll(2);
    Grid({{1, 1}, {2, 1}}, {8, 8}, 2.0).compareAll(2);
}

TEST(ZigzagOnAGrid, ThreeDisplays) {
    Grid({{2, 3}, {3, 2}}, {7, 7}, 1.0).compareAll(3);
    Grid({{1, 1}, {2, 1}}, {5, 5}, 2.0).compareAll(3);
}

TEST(ZigzagOnAGrid, FourDisplays) {
    Grid({{2, 2}, {3, 2}}, {5, 4}, 1.0).compareAll(4);
    Grid({{1, 1}, {2, 1}}, {4, 4}, 2.0).compareAll(4);
}

struct SignatureCase {
    std::vector<std::string> canonicalIDs;
    std::string signature;
};

TEST(Signature, IsTheSortedIDsJoinedWithCommas) {
    const SignatureCase cases[] = {
        {{}, ""},
        {{"a"}, "a"},
        {{"b", "a", "c"}, "a,b,c"},
        {{"a", "b", "c"}, "a,b,c"},
        {{"b", "a", "b"}, "a,b,b"},
        {{"", "a"}, ",a"},
        {{"a", "B", "_", "2", "10"}, "10,2,B,_,a"},
        {{"HW-2-1-1", "HW-10-1-1"}, "HW-10-1-1,HW-2-1-1"},
        {{"\xc3\xa9", "z"}, "z,\xc3\xa9"},
    };
    for (const SignatureCase& c : cases) {
        EXPECT_EQ(Zigzag::signature(c.canonicalIDs), c.signature);
    }
}

TEST(Signature, DoesNotDependOnTheOrderOfListing) {
    std::vector<std::string> ids = {"HW-1-1-1", "HW-1-1-2", "HW-1-1-2", "Display-7"};
    std::sort(ids.begin(), ids.end());
    do {
        EXPECT_EQ(Zigzag::signature(ids), "Display-7,HW-1-1-1,HW-1-1-2,HW-1-1-2");
    } while (std::next_permutation(ids.begin(), ids.end()));
}

}  // namespace
}  // namespace tolvaran::tests
