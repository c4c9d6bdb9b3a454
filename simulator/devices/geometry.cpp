// Rectangles and points, as Core Graphics computes them.
#include <CoreGraphics/CoreGraphics.h>

#include <limits>

namespace {

constexpr CGFloat infinity = std::numeric_limits<CGFloat>::infinity();

/// The same area with sides that are not negative.
CGRect standardized(CGRect rect) {
    if (rect.size.width < 0) {
        rect.origin.x += rect.size.width;
        rect.size.width = -rect.size.width;
    }
    if (rect.size.height < 0) {
        rect.origin.y += rect.size.height;
        rect.size.height = -rect.size.height;
    }
    return rect;
}

bool isNull(CGRect rect) {
    return rect.origin.x == infinity || rect.origin.y == infinity;
}

}  // namespace

extern "C" {

const CGPoint CGPointZero{0, 0};
const CGRect CGRectZero{{0, 0}, {0, 0}};
const CGRect CGRectNull{{infinity, infinity}, {0, 0}};

CGFloat CGRectGetMinX(CGRect rect) {
    return standardized(rect).origin.x;
}

CGFloat CGRectGetMaxX(CGRect rect) {
    return CGRectGetMinX(rect) + CGRectGetWidth(rect);
}

CGFloat CGRectGetMinY(CGRect rect) {
    return standardized(rect).origin.y;
}

CGFloat CGRectGetMaxY(CGRect rect) {
    return CGRectGetMinY(rect) + CGRectGetHeight(rect);
}

CGFloat CGRectGetWidth(CGRect rect) {
    return standardized(rect).size.width;
}

CGFloat CGRectGetHeight(CGRect rect) {
    return standardized(rect).size.height;
}

bool CGPointEqualToPoint(CGPoint point1, CGPoint point2) {
    return point1.x == point2.x && point1.y == point2.y;
}

bool CGSizeEqualToSize(CGSize size1, CGSize size2) {
    return size1.width == size2.width && size1.height == size2.height;
}

bool CGRectEqualToRect(CGRect rect1, CGRect rect2) {
    const CGRect a = standardized(rect1);
    const CGRect b = standardized(rect2);
    return CGPointEqualToPoint(a.origin, b.origin) && CGSizeEqualToSize(a.size, b.size);
}

bool CGRectIsEmpty(CGRect rect) {
    return isNull(rect) || rect.size.width == 0 || rect.size.height == 0;
}

}  // extern "C"
