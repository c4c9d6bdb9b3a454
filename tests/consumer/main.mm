// An application in Objective-C++ that uses the installed library, as the main application does. It
// is compiled and linked with the Mac product and run by hand only: it changes the Dock for a
// moment.
#import <AppKit/AppKit.h>

#include <restore/tolvaran_restore.hpp>

/// Sends what the library logs to the system's log.
static void useSystemLog() {
    const auto log = [](const std::string& message) { NSLog(@"%s", message.c_str()); };
    tolvaran::RestoreLog::warn = log;
    tolvaran::RestoreLog::info = log;
}

/// The name of the screen's display in records.
static NSString* canonicalName(NSScreen* screen) {
    NSNumber* const number = screen.deviceDescription[@"NSScreenNumber"];
    return @(tolvaran::displayUUID(number.unsignedIntValue).c_str());
}

/// Holds the Dock's value while something else may be shown.
@interface DockHold : NSObject
- (void)begin;
- (BOOL)end;
@end

@implementation DockHold {
    std::string _path;
}

- (instancetype)init {
    if (self = [super init]) {
        _path = tolvaran::DockAutoHideOverride::defaultSnapshotPath();
    }
    return self;
}

- (void)begin {
    tolvaran::DockAutoHideOverride::markPending(true, _path);
}

- (BOOL)end {
    return tolvaran::DockAutoHideOverride::restoreIfPending(_path);
}

@end

int main() {
    @autoreleasepool {
        useSystemLog();
        for (NSScreen* screen in NSScreen.screens) {
            NSLog(@"%@ is %@", screen.localizedName, canonicalName(screen));
        }
        DockHold* const hold = [DockHold new];
        [hold begin];
        return [hold end] ? 0 : 1;
    }
}
