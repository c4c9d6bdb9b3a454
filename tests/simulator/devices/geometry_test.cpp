#include <CoreGraphics/CoreGraphics.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace {

TEST(Geometry, MakesWhatItIsGiven) {
    const CGRect rect = CGRectMake(1, 2, 3, 4);
    EXPECT_TRUE(CGPointEqualToPoint(rect.origin, CGPointMake(1, 2)));
    EXPECT_TRUE(CGSizeEqualToSize(rect.size, CGSizeMake(3, 4)));
    EXPECT_FALSE(CGPointEqualToPoint(rect.origin, CGPointMake(1, 3)));
    EXPECT_FALSE(CGPointEqualToPoint(rect.origin, CGPointMake(2, 2)));
    EXPECT_FALSE(CGSizeEqualToSize(rect.size, CGSizeMake(3, 5)));
    EXPECT_FALSE(CGSizeEqualToSize(rect.size, CGSizeMake(4, 4)));
}

TEST(Geometry, EdgesAreThoseOfTheStandardRectangle) {
    struct Row {
        CGRect rect;
        // minX, maxX, width, minY, maxY, height
        std::array<CGFloat, 6> expected;
    };
    const Row rows[] = {
        {CGRectMake(10, 20, 30, 50), {10, 40, 30, 20, 70, 50}},
        {CGRectMake(10, 20, -30, 50), {-20, 10, 30, 20, 70, 50}},
        {CGRectMake(10, 20, 30, -50), {10, 40, 30, -30, 20, 50}},
        {CGRectMake(-1.5, 0, 3, 0), {-1.5, 1.5, 3, 0, 0, 0}},
    };
    for (const auto& [rect, expected] : rows) {
        SCOPED_TRACE(testing::Message() << "x " << rect.origin.x << " width " << rect.size.width
                                        << " height " << rect.size.height);
        const std::array<CGFloat, 6> found{
            CGRectGetMinX(rect), CGRectGetMaxX(rect), CGRectGetWidth(rect),
            CGRectGetMinY(rect), CGRectGetMaxY(rect), CGRectGetHeight(rect),
        };
        EXPECT_EQ(found, expected);
    }
}

TEST(Geometry, RectanglesOfTheSameAreaAreEqual) {
    EXPECT_TRUE(CGRectEqualToRect(CGRectMake(10, 20, -30, -50), CGRectMake(-20, -30, 30, 50)));
    EXPECT_FALSE(CGRectEqualToRect(CGRectMake(0, 0, 1, 1), CGRectMake(0, 0, 1, 2)));
    EXPECT_FALSE(CGRectEqualToRect(CGRectMake(0, 0, 1, 1), CGRectMake(0, 1, 1, 1)));
    EXPECT_TRUE(CGRectEqualToRect(CGRectNull, CGRectNull));
    EXPECT_FALSE(CGRectEqualToRect(CGRectNull, CGRectZero));
}

TEST(Geometry, TheNullRectangleIsEmptyAndInfinitelyFar) {
    EXPECT_TRUE(std::isinf(CGRectNull.origin.x));
    EXPECT_TRUE(CGRectIsEmpty(CGRectNull));
    EXPECT_TRUE(CGRectIsEmpty(CGRectZero));
    EXPECT_TRUE(CGRectIsEmpty(CGRectMake(1, 1, 0, 5)));
    EXPECT_TRUE(CGRectIsEmpty(CGRectMake(1, 1, 5, 0)));
    EXPECT_FALSE(CGRectIsEmpty(CGRectMake(1, 1, -5, 5)));
}

}  // namespace
