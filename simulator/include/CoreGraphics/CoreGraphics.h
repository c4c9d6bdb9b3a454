// The part of Core Graphics that the restore library and the helper use, for hosts that lack it:
// geometry, the active displays, display configurations and their callbacks, and the cursor's
// association with the mouse. Declared as on a Mac; the simulator supplies the functions. Comments
// say only what the simulated Mac defines and Apple leaves open.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstddef>
#include <cstdint>

extern "C" {

typedef int boolean_t;

// Geometry.

typedef double CGFloat;

struct CGPoint {
    CGFloat x;
    CGFloat y;
};

struct CGSize {
    CGFloat width;
    CGFloat height;
};

struct CGRect {
    CGPoint origin;
    CGSize size;
};

extern const CGPoint CGPointZero;
extern const CGRect CGRectZero;
extern const CGRect CGRectNull;

static inline CGPoint CGPointMake(CGFloat x, CGFloat y) {
    return {x, y};
}
static inline CGSize CGSizeMake(CGFloat width, CGFloat height) {
    return {width, height};
}
static inline CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
    return {{x, y}, {width, height}};
}

// All of these treat a rectangle with negative sides as the standard one for the same area.
CGFloat CGRectGetMinX(CGRect rect);
CGFloat CGRectGetMaxX(CGRect rect);
CGFloat CGRectGetMinY(CGRect rect);
CGFloat CGRectGetMaxY(CGRect rect);
CGFloat CGRectGetWidth(CGRect rect);
CGFloat CGRectGetHeight(CGRect rect);
bool CGPointEqualToPoint(CGPoint point1, CGPoint point2);
bool CGSizeEqualToSize(CGSize size1, CGSize size2);
bool CGRectEqualToRect(CGRect rect1, CGRect rect2);
bool CGRectIsEmpty(CGRect rect);

// Errors.

enum CGError : std::int32_t {
    kCGErrorSuccess = 0,
    kCGErrorFailure = 1000,
    kCGErrorIllegalArgument = 1001,
    kCGErrorInvalidConnection = 1002,
    kCGErrorInvalidContext = 1003,
    kCGErrorCannotComplete = 1004,
    kCGErrorNotImplemented = 1006,
    kCGErrorRangeCheck = 1007,
    kCGErrorTypeCheck = 1008,
    kCGErrorInvalidOperation = 1010,
    kCGErrorNoneAvailable = 1011,
};

// Displays.

typedef std::uint32_t CGDirectDisplayID;

#define kCGNullDirectDisplay ((CGDirectDisplayID)0)

CGDirectDisplayID CGMainDisplayID(void);
// In the listing order of the simulated window server, which need not begin with the main display.
CGError CGGetActiveDisplayList(std::uint32_t maxDisplays, CGDirectDisplayID* activeDisplays,
                               std::uint32_t* displayCount);
CGRect CGDisplayBounds(CGDirectDisplayID display);
boolean_t CGDisplayIsActive(CGDirectDisplayID display);
std::uint32_t CGDisplayVendorNumber(CGDirectDisplayID display);
std::uint32_t CGDisplayModelNumber(CGDirectDisplayID display);
std::uint32_t CGDisplaySerialNumber(CGDirectDisplayID display);

// Display configurations.

typedef struct _CGDisplayConfigRef* CGDisplayConfigRef;

typedef std::uint32_t CGConfigureOption;
enum : CGConfigureOption {
    kCGConfigureForAppOnly = 0,
    kCGConfigureForSession = 1,
    kCGConfigurePermanently = 2,
};

CGError CGBeginDisplayConfiguration(CGDisplayConfigRef* config);
// The displays get exactly these origins; a Mac would remove gaps and overlaps.
CGError CGConfigureDisplayOrigin(CGDisplayConfigRef config, CGDirectDisplayID display,
                                 std::int32_t x, std::int32_t y);
CGError CGCancelDisplayConfiguration(CGDisplayConfigRef config);
CGError CGCompleteDisplayConfiguration(CGDisplayConfigRef config, CGConfigureOption option);

typedef std::uint32_t CGDisplayChangeSummaryFlags;
enum : CGDisplayChangeSummaryFlags {
    kCGDisplayBeginConfigurationFlag = 1U << 0,
    kCGDisplayMovedFlag = 1U << 1,
    kCGDisplaySetMainFlag = 1U << 2,
    kCGDisplaySetModeFlag = 1U << 3,
    kCGDisplayAddFlag = 1U << 4,
    kCGDisplayRemoveFlag = 1U << 5,
    kCGDisplayEnabledFlag = 1U << 8,
    kCGDisplayDisabledFlag = 1U << 9,
    kCGDisplayMirrorFlag = 1U << 10,
    kCGDisplayUnMirrorFlag = 1U << 11,
    kCGDisplayDesktopShapeChangedFlag = 1U << 12,
};

typedef void (*CGDisplayReconfigurationCallBack)(CGDirectDisplayID display,
                                                 CGDisplayChangeSummaryFlags flags, void* userInfo);

CGError CGDisplayRegisterReconfigurationCallback(CGDisplayReconfigurationCallBack callback,
                                                 void* userInfo);
CGError CGDisplayRemoveReconfigurationCallback(CGDisplayReconfigurationCallBack callback,
                                               void* userInfo);

// The cursor.

CGError CGAssociateMouseAndMouseCursorPosition(boolean_t connected);

}  // extern "C"
