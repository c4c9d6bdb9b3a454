// The workspace and the shared application on a Mac. Compiled with automatic reference counting.
#include "platform/workspace.hpp"

#import <AppKit/AppKit.h>

namespace tolvaran::workspace {
namespace {

RunningApplication described(NSRunningApplication* application) {
    RunningApplication result;
    if (const char* const identifier = application.bundleIdentifier.UTF8String) {
        result.bundleIdentifier = identifier;
    }
    result.processIdentifier = application.processIdentifier;
    result.terminated = application.terminated;
    return result;
}

/// Keeps the notification center's token and removes the observer with it.
class Token {
  public:
    explicit Token(id<NSObject> observer) : observer_(observer) {}
    Token(const Token&) = delete;
    Token& operator=(const Token&) = delete;
    ~Token() { [NSWorkspace.sharedWorkspace.notificationCenter removeObserver:observer_]; }

  private:
    id<NSObject> observer_;
};

Observation observe(NSNotificationName name, void (^handler)(NSNotification* notification)) {
    NSNotificationCenter* const center = NSWorkspace.sharedWorkspace.notificationCenter;
    return Observation(std::make_shared<Token>([center addObserverForName:name
                                                                   object:nil
                                                                    queue:NSOperationQueue.mainQueue
                                                               usingBlock:handler]));
}

Observation observeApplications(NSNotificationName name, ApplicationHandler handler) {
    return observe(name, ^(NSNotification* notification) {
      @autoreleasepool {
          id const subject = notification.userInfo[NSWorkspaceApplicationKey];
          if ([subject isKindOfClass:NSRunningApplication.class]) {
              handler(described(subject));
          } else {
              handler(std::nullopt);
          }
      }
    });
}

}  // namespace

std::vector<RunningApplication> runningApplications() {
    std::vector<RunningApplication> applications;
    for (NSRunningApplication* application in NSWorkspace.sharedWorkspace.runningApplications) {
        applications.push_back(described(application));
    }
    return applications;
}

Observation observeLaunches(ApplicationHandler handler) {
    return observeApplications(NSWorkspaceDidLaunchApplicationNotification, std::move(handler));
}

Observation observeTerminations(ApplicationHandler handler) {
    return observeApplications(NSWorkspaceDidTerminateApplicationNotification, std::move(handler));
}

Observation observeWakes(std::function<void()> handler) {
    return observe(NSWorkspaceDidWakeNotification, ^(NSNotification*) {
      withAutoreleasePool(handler);
    });
}

void prohibitActivation() {
    @autoreleasepool {
        NSApplication* const application = NSApplication.sharedApplication;
        [application setActivationPolicy:NSApplicationActivationPolicyProhibited];
    }
}

void withAutoreleasePool(const std::function<void()>& work) {
    @autoreleasepool {
        work();
    }
}

void runEventLoop() {
    [NSApplication.sharedApplication run];
}

}  // namespace tolvaran::workspace
