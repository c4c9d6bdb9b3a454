#include "simulator/devices/configuration.hpp"

#include "platform/private_interfaces.hpp"
#include "simulator/devices/displays.hpp"
#include "tests/simulator/devices/device_test.hpp"

namespace tolvaran::tests {
namespace {

class Configuration : public DeviceTest {
  protected:
    void SetUp() override {
        nlohmann::json mac = twoDisplays();
        mac["displays"][1]["modes"] = {{{"number", 10}, {"width", 1280}, {"height", 1024}},
                                       {{"number", 11}, {"width", 640}, {"height", 480}},
                                       {{"number", 12}, {"width", 1280}, {"height", 1024}}};
        mac["displays"][1]["mode"] = 10;
        simulator::reset(mac);
        before_ = simulator::machine();
    }

    static CGDisplayConfigRef started() {
        CGDisplayConfigRef config = nullptr;
        EXPECT_EQ(CGBeginDisplayConfiguration(&config), kCGErrorSuccess);
        EXPECT_NE(config, nullptr);
        return config;
    }

    nlohmann::json before_;
};

TEST_F(Configuration, ShowsOnCompletionOnly) {
    CallbackRecorder callbacks;
    CGDisplayConfigRef config = started();
    EXPECT_EQ(CGConfigureDisplayOrigin(config, 2, 0, -1024), kCGErrorSuccess);
    EXPECT_EQ(callbacks.delivered(), Callbacks{});
    EXPECT_EQ(simulator::machine(), before_);
    EXPECT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession), kCGErrorSuccess);
    EXPECT_TRUE(CGRectEqualToRect(CGDisplayBounds(2), CGRectMake(0, -1024, 1280, 1024)));
    EXPECT_EQ(callbacks.soFar(), Callbacks{});
    EXPECT_EQ(callbacks.delivered(),
              (Callbacks{{1, begin}, {2, begin}, {1, shape}, {2, kCGDisplayMovedFlag | shape}}));
}

TEST_F(Configuration, IsRecordedCallByCall) {
    CGDisplayConfigRef config = started();
    CGConfigureDisplayOrigin(config, 2, 0, -1024);
    CGSConfigureDisplayMode(config, 2, 11);
    CGCompleteDisplayConfiguration(config, kCGConfigureForSession);
    config = started();
    CGCancelDisplayConfiguration(config);
    EXPECT_EQ(
        callLines(),
        (Lines{"CGBeginDisplayConfiguration [] = 0", "CGConfigureDisplayOrigin [2,0,-1024] = 0",
               "CGSConfigureDisplayMode [2,11] = 0", "CGCompleteDisplayConfiguration [1] = 0",
               "CGBeginDisplayConfiguration [] = 0", "CGCancelDisplayConfiguration [] = 0"}));
}

TEST_F(Configuration, TakesTheLastOriginGiven) {
    CGDisplayConfigRef config = started();
    CGConfigureDisplayOrigin(config, 2, 1, 2);
    CGConfigureDisplayOrigin(config, 2, 3, 4);
    CGCompleteDisplayConfiguration(config, kCGConfigureForSession);
    EXPECT_TRUE(CGRectEqualToRect(CGDisplayBounds(2), CGRectMake(3, 4, 1280, 1024)));
}

TEST_F(Configuration, ThatChangesNothingCallsNothingBack) {
    CallbackRecorder callbacks;
    CGDisplayConfigRef config = started();
    CGConfigureDisplayOrigin(config, 2, 1920, 0);
    CGSConfigureDisplayMode(config, 2, 10);
    EXPECT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession), kCGErrorSuccess);
    EXPECT_EQ(callbacks.delivered(), Callbacks{});
    EXPECT_EQ(simulator::machine(), before_);
}

TEST_F(Configuration, CancelledLeavesNoTrace) {
    CallbackRecorder callbacks;
    CGDisplayConfigRef config = started();
    CGConfigureDisplayOrigin(config, 2, 0, -1024);
    EXPECT_EQ(CGCancelDisplayConfiguration(config), kCGErrorSuccess);
    EXPECT_EQ(callbacks.delivered(), Callbacks{});
    EXPECT_EQ(simulator::machine(), before_);
}

TEST_F(Configuration, NeverCompletedIsCountedAsOpen) {
    CGDisplayConfigRef first = started();
    CGDisplayConfigRef second = started();
    EXPECT_NE(first, second);
    CGConfigureDisplayOrigin(first, 2, 0, -1024);
    EXPECT_EQ(simulator::openConfigurations(), 2U);
    EXPECT_EQ(simulator::machine(), before_);
    CGCancelDisplayConfiguration(first);
    EXPECT_EQ(simulator::openConfigurations(), 1U);
    CGCompleteDisplayConfiguration(second, kCGConfigureForSession);
    EXPECT_EQ(simulator::openConfigurations(), 0U);
    started();
    simulator::reset();
    EXPECT_EQ(simulator::openConfigurations(), 0U);
}

TEST_F(Configuration, KeepsTwoOfThemApart) {
    CGDisplayConfigRef first = started();
    CGDisplayConfigRef second = started();
    CGConfigureDisplayOrigin(first, 2, 1, 1);
    CGConfigureDisplayOrigin(second, 2, 2, 2);
    CGCompleteDisplayConfiguration(first, kCGConfigureForSession);
    EXPECT_TRUE(CGRectEqualToRect(CGDisplayBounds(2), CGRectMake(1, 1, 1280, 1024)));
    CGCompleteDisplayConfiguration(second, kCGConfigureForSession);
    EXPECT_TRUE(CGRectEqualToRect(CGDisplayBounds(2), CGRectMake(2, 2, 1280, 1024)));
}

TEST_F(Configuration, RefusesAHandleThatIsNotOpen) {
    CGDisplayConfigRef ended = started();
    CGCompleteDisplayConfiguration(ended, kCGConfigureForSession);
    for (CGDisplayConfigRef config : {ended, CGDisplayConfigRef{nullptr}}) {
        EXPECT_EQ(CGConfigureDisplayOrigin(config, 2, 0, 0), kCGErrorIllegalArgument);
        EXPECT_EQ(CGSConfigureDisplayMode(config, 2, 11), kCGErrorIllegalArgument);
        EXPECT_EQ(CGCancelDisplayConfiguration(config), kCGErrorIllegalArgument);
        EXPECT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession),
                  kCGErrorIllegalArgument);
    }
    EXPECT_EQ(simulator::machine(), before_);
    EXPECT_EQ(CGBeginDisplayConfiguration(nullptr), kCGErrorIllegalArgument);
}

TEST_F(Configuration, RefusesADisplayThatIsNotActive) {
    CGDisplayConfigRef config = started();
    EXPECT_EQ(CGConfigureDisplayOrigin(config, 9, 0, 0), kCGErrorIllegalArgument);
    EXPECT_EQ(CGSConfigureDisplayMode(config, 9, 10), kCGErrorIllegalArgument);
    EXPECT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession), kCGErrorSuccess);
    EXPECT_EQ(simulator::machine(), before_);
}

TEST_F(Configuration, PassesOverADisplayThatHasLeft) {
    CGDisplayConfigRef config = started();
    CGConfigureDisplayOrigin(config, 2, 0, -1024);
    CGSConfigureDisplayMode(config, 2, 11);
    simulator::devices::disconnect(2);
    EXPECT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession), kCGErrorSuccess);
    EXPECT_EQ(displayValues("frame"), nlohmann::json({{0, 0, 1920, 1080}}));
}

TEST_F(Configuration, AcceptsEveryOption) {
    EXPECT_EQ(CGCompleteDisplayConfiguration(started(), kCGConfigureForAppOnly), kCGErrorSuccess);
    EXPECT_EQ(CGCompleteDisplayConfiguration(started(), kCGConfigurePermanently), kCGErrorSuccess);
    EXPECT_EQ(CGCompleteDisplayConfiguration(started(), 3), kCGErrorIllegalArgument);
}

TEST_F(Configuration, AcceptsOverlapsAndGapsAsGiven) {
    CGDisplayConfigRef config = started();
    CGConfigureDisplayOrigin(config, 2, 100, 100);
    CGCompleteDisplayConfiguration(config, kCGConfigureForSession);
    EXPECT_TRUE(CGRectEqualToRect(CGDisplayBounds(2), CGRectMake(100, 100, 1280, 1024)));
    config = started();
    CGConfigureDisplayOrigin(config, 2, 9000, -9000);
    CGCompleteDisplayConfiguration(config, kCGConfigureForSession);
    EXPECT_TRUE(CGRectEqualToRect(CGDisplayBounds(2), CGRectMake(9000, -9000, 1280, 1024)));
}

TEST_F(Configuration, KeepsTheMainDisplayAtTheOrigin) {
    CGDisplayConfigRef config = started();
    CGConfigureDisplayOrigin(config, 1, 1000, 100);
    CGConfigureDisplayOrigin(config, 2, 3000, 100);
    CGCompleteDisplayConfiguration(config, kCGConfigureForSession);
    EXPECT_EQ(displayValues("frame"), nlohmann::json({{0, 0, 1920, 1080}, {2000, 0, 1280, 1024}}));
}

TEST_F(Configuration, ChangesAModeAndWithItTheFrame) {
    CallbackRecorder callbacks;
    CGDisplayConfigRef config = started();
    EXPECT_EQ(CGSConfigureDisplayMode(config, 2, 11), kCGErrorSuccess);
    EXPECT_EQ(simulator::machine(), before_);
    EXPECT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession), kCGErrorSuccess);
    EXPECT_TRUE(CGRectEqualToRect(CGDisplayBounds(2), CGRectMake(1920, 0, 640, 480)));
    EXPECT_EQ(displayValues("mode").at(1), 11);
    EXPECT_EQ(callbacks.delivered(),
              (Callbacks{{1, begin}, {2, begin}, {1, shape}, {2, kCGDisplaySetModeFlag | shape}}));
}

TEST_F(Configuration, ReportsAModeOfTheSameSizeToo) {
    CallbackRecorder callbacks;
    CGDisplayConfigRef config = started();
    CGSConfigureDisplayMode(config, 2, 12);
    CGCompleteDisplayConfiguration(config, kCGConfigureForSession);
    EXPECT_EQ(callbacks.delivered(),
              (Callbacks{{1, begin}, {2, begin}, {1, 0}, {2, kCGDisplaySetModeFlag}}));
}

TEST_F(Configuration, WithAModeThatTheDisplayLacksFailsAsAWhole) {
    CallbackRecorder callbacks;
    CGDisplayConfigRef config = started();
    CGConfigureDisplayOrigin(config, 2, 0, -1024);
    EXPECT_EQ(CGSConfigureDisplayMode(config, 2, 99), kCGErrorSuccess);
    EXPECT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession),
              kCGErrorIllegalArgument);
    EXPECT_EQ(callbacks.delivered(), Callbacks{});
    EXPECT_EQ(simulator::machine(), before_);
}

TEST_F(Configuration, BeginThatFailsGivesNoHandle) {
    simulator::addFault({{"call", "CGBeginDisplayConfiguration"}, {"result", 1000}, {"times", 1}});
    CGDisplayConfigRef config = nullptr;
    EXPECT_EQ(CGBeginDisplayConfiguration(&config), kCGErrorFailure);
    EXPECT_EQ(config, nullptr);
    simulator::clearFaults();
    simulator::addFault({{"call", "CGBeginDisplayConfiguration"}, {"effect", false}});
    EXPECT_EQ(CGBeginDisplayConfiguration(&config), kCGErrorSuccess);
    EXPECT_EQ(config, nullptr);
    EXPECT_EQ(callLines(), (Lines{"CGBeginDisplayConfiguration [] = 1000",
                                  "CGBeginDisplayConfiguration [] = 0"}));
}

TEST_F(Configuration, CompletionThatFailsEndsItWithoutEffect) {
    simulator::addFault({{"call", "CGCompleteDisplayConfiguration"}, {"result", 1004}});
    CallbackRecorder callbacks;
    CGDisplayConfigRef config = started();
    CGConfigureDisplayOrigin(config, 2, 0, -1024);
    EXPECT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession),
              kCGErrorCannotComplete);
    EXPECT_EQ(simulator::openConfigurations(), 0U);
    EXPECT_EQ(callbacks.delivered(), Callbacks{});
    EXPECT_EQ(simulator::machine(), before_);
    EXPECT_EQ(callLines().back(), "CGCompleteDisplayConfiguration [1] = 1004");
}

TEST_F(Configuration, CompletionMayClaimToFailAndYetWork) {
    simulator::addFault(
        {{"call", "CGCompleteDisplayConfiguration"}, {"result", 1004}, {"effect", true}});
    CGDisplayConfigRef config = started();
    CGConfigureDisplayOrigin(config, 2, 0, -1024);
    EXPECT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession),
              kCGErrorCannotComplete);
    EXPECT_TRUE(CGRectEqualToRect(CGDisplayBounds(2), CGRectMake(0, -1024, 1280, 1024)));
}

TEST_F(Configuration, OriginThatIsLostLeavesTheDisplay) {
    simulator::addFault(
        {{"call", "CGConfigureDisplayOrigin"}, {"effect", false}, {"skip", 1}, {"times", 1}});
    CGDisplayConfigRef config = started();
    EXPECT_EQ(CGConfigureDisplayOrigin(config, 1, 0, 0), kCGErrorSuccess);
    EXPECT_EQ(CGConfigureDisplayOrigin(config, 2, 5, 5), kCGErrorSuccess);
    CGCompleteDisplayConfiguration(config, kCGConfigureForSession);
    EXPECT_EQ(simulator::machine(), before_);
}

}  // namespace
}  // namespace tolvaran::tests
