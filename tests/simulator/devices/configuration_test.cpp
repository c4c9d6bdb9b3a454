#include "simulator/devices/configuration.hpp"

#include <cstdint>
#include <vector>

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

    /// An origin for a display.
    struct Origin {
        CGDirectDisplayID display;
        std::int32_t x, y;
    };

    /// Completes a configuration, which must show on completion only.
    /// @param mode   for the second display; 0: none
    /// @param frame  of the second display afterwards
    /// @param flags  the second display's change is reported with these; 0: none is reported
    /// @param result of the completion
    void expectCompletion(const std::vector<Origin>& origins, std::int32_t mode,
                          const nlohmann::json& frame, CGDisplayChangeSummaryFlags flags,
                          CGError result = kCGErrorSuccess) const {
        CallbackRecorder callbacks;
        CGDisplayConfigRef config = started();
        for (const auto& [display, x, y] : origins) {
            EXPECT_EQ(CGConfigureDisplayOrigin(config, display, x, y), kCGErrorSuccess);
        }
        if (mode != 0) {
            EXPECT_EQ(CGSConfigureDisplayMode(config, 2, mode), kCGErrorSuccess);
        }
        EXPECT_EQ(callbacks.delivered(), Callbacks{});
        EXPECT_EQ(simulator::machine(), before_);
        EXPECT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession), result);
        EXPECT_EQ(callLines().back(), callLine("CGCompleteDisplayConfiguration", {1}, result));
        EXPECT_EQ(simulator::openConfigurations(), 0U);
        nlohmann::json after = before_;
        after["displays"][1]["frame"] = frame;
        if (mode != 0 && result == kCGErrorSuccess) {
            after["displays"][1]["mode"] = mode;
        }
        EXPECT_EQ(simulator::machine(), after);
        EXPECT_EQ(callbacks.soFar(), Callbacks{});
        EXPECT_EQ(callbacks.delivered(),
                  flags == 0 ? Callbacks{} : changeOfTwo({{1, flags & shape}, {2, flags}}));
    }

    static constexpr CGDisplayChangeSummaryFlags moved = kCGDisplayMovedFlag | shape;
    const nlohmann::json unchanged_ = {1920, 0, 1280, 1024};
    nlohmann::json before_;
};

TEST_F(Configuration, ShowsOnCompletionOnly) {
    constexpr auto newMode = kCGDisplaySetModeFlag;
    const struct {
        const char* what;
        std::vector<Origin> origins;
        nlohmann::json frame;
        CGDisplayChangeSummaryFlags flags;
        std::int32_t mode = 0;
    } rows[] = {
        {"a display moves", {{2, 0, -1024}}, {0, -1024, 1280, 1024}, moved},
        {"the last origin given counts", {{2, 1, 2}, {2, 3, 4}}, {3, 4, 1280, 1024}, moved},
        {"no change is not reported", {{2, 1920, 0}}, unchanged_, 0, 10},
        {"an overlap is accepted as given", {{2, 100, 100}}, {100, 100, 1280, 1024}, moved},
        {"a gap is accepted as given", {{2, 9000, -9000}}, {9000, -9000, 1280, 1024}, moved},
        {"the main display stays", {{1, 1000, 1}, {2, 3000, 1}}, {2000, 0, 1280, 1024}, moved},
        {"the frame follows the mode", {}, {1920, 0, 640, 480}, newMode | shape, 11},
        {"a mode of the same size is reported too", {}, unchanged_, newMode, 12},
    };
    for (const auto& [what, origins, frame, flags, mode] : rows) {
        SCOPED_TRACE(what);
        SetUp();
        expectCompletion(origins, mode, frame, flags);
    }
}

TEST_F(Configuration, WithAModeThatTheDisplayLacksFailsAsAWhole) {
    expectCompletion({{2, 0, -1024}}, 99, unchanged_, 0, kCGErrorIllegalArgument);
}

TEST_F(Configuration, CompletionThatFailsEndsItWithoutEffect) {
    simulator::addFault({{"call", "CGCompleteDisplayConfiguration"}, {"result", 1004}});
    expectCompletion({{2, 0, -1024}}, 0, unchanged_, 0, kCGErrorCannotComplete);
}

TEST_F(Configuration, CompletionMayClaimToFailAndYetWork) {
    simulator::addFault(
        {{"call", "CGCompleteDisplayConfiguration"}, {"result", 1004}, {"effect", true}});
    expectCompletion({{2, 0, -1024}}, 0, {0, -1024, 1280, 1024}, moved, kCGErrorCannotComplete);
}

TEST_F(Configuration, OriginThatIsLostLeavesTheDisplay) {
    simulator::addFault(
        {{"call", "CGConfigureDisplayOrigin"}, {"effect", false}, {"skip", 1}, {"times", 1}});
    expectCompletion({{1, 0, 0}, {2, 5, 5}}, 0, unchanged_, 0);
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

}  // namespace
}  // namespace tolvaran::tests
