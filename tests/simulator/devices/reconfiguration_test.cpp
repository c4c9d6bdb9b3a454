#include "simulator/devices/reconfiguration.hpp"

#include "simulator/devices/displays.hpp"
#include "tests/simulator/devices/device_test.hpp"

namespace tolvaran::tests {
namespace {

using simulator::Display;
using simulator::devices::arrange;
using simulator::devices::connect;
using simulator::devices::disconnect;
using simulator::devices::reconfigure;

class Reconfiguration : public DeviceTest {
  protected:
    void SetUp() override { simulator::reset(twoDisplays()); }
};

TEST_F(Reconfiguration, BeginsForEveryDisplayBeforeItEndsForAny) {
    CallbackRecorder callbacks;
    arrange({{2, CGPointMake(-1280, 0)}});
    EXPECT_EQ(callbacks.delivered(), changeOfTwo({{1, shape}, {2, kCGDisplayMovedFlag | shape}}));
}

TEST_F(Reconfiguration, IsReportedFromTheMainQueueOnly) {
    CallbackRecorder callbacks;
    arrange({{2, CGPointMake(-1280, 0)}});
    EXPECT_EQ(callbacks.soFar(), Callbacks{});
    EXPECT_EQ(callbacks.delivered().size(), 4U);
}

TEST_F(Reconfiguration, WithoutAChangeIsNotReported) {
    CallbackRecorder callbacks;
    arrange({{2, CGPointMake(1920, 0)}, {1, CGPointMake(0, 0)}});
    arrange({});
    EXPECT_EQ(callbacks.delivered(), Callbacks{});
}

TEST_F(Reconfiguration, OfDisplaysThatSwapPlacesLeavesTheDesktopsShape) {
    simulator::reset({{"displays",
                       {{{"id", 1}, {"frame", {0, 0, 100, 100}}},
                        {{"id", 2}, {"frame", {100, 0, 100, 100}}},
                        {{"id", 3}, {"frame", {200, 0, 100, 100}}}}}});
    CallbackRecorder callbacks;
    arrange({{2, CGPointMake(200, 0)}, {3, CGPointMake(100, 0)}});
    EXPECT_EQ(callbacks.delivered(), (Callbacks{{1, begin},
                                                {2, begin},
                                                {3, begin},
                                                {1, 0},
                                                {2, kCGDisplayMovedFlag},
                                                {3, kCGDisplayMovedFlag}}));
}

TEST_F(Reconfiguration, ConnectingEndsWithTheAddedDisplay) {
    CallbackRecorder callbacks;
    connect(displayAt(9, CGRectMake(0, 1080, 640, 480)));
    EXPECT_EQ(callbacks.delivered(),
              changeOfTwo({{1, shape}, {2, shape}, {9, kCGDisplayAddFlag | shape}}));
}

TEST_F(Reconfiguration, DisconnectingReportsTheRemovedDisplay) {
    CallbackRecorder callbacks;
    disconnect(2);
    EXPECT_EQ(callbacks.delivered(), changeOfTwo({{1, shape}, {2, kCGDisplayRemoveFlag | shape}}));
}

TEST_F(Reconfiguration, OfANamedDisplayCallsBackOnceWithTheGivenFlags) {
    CallbackRecorder callbacks;
    reconfigure(77, kCGDisplayMovedFlag | kCGDisplayMirrorFlag);
    reconfigure(2, kCGDisplayBeginConfigurationFlag);
    EXPECT_EQ(callbacks.delivered(),
              (Callbacks{{77, kCGDisplayMovedFlag | kCGDisplayMirrorFlag}, {2, begin}}));
    EXPECT_EQ(displayValues("id"), nlohmann::json({1, 2}));
}

TEST_F(Reconfiguration, MovingTheMainDisplayShiftsAllSoThatItStaysAtTheOrigin) {
    CallbackRecorder callbacks;
    arrange({{1, CGPointMake(100, 50)}});
    EXPECT_EQ(displayValues("frame"),
              nlohmann::json({{0, 0, 1920, 1080}, {1820, -50, 1280, 1024}}));
    EXPECT_EQ(CGMainDisplayID(), 1U);
    EXPECT_EQ(callbacks.delivered(), changeOfTwo({{1, shape}, {2, kCGDisplayMovedFlag | shape}}));
}

TEST_F(Reconfiguration, TheDisplayThatTakesTheOriginIsTheMainOne) {
    CallbackRecorder callbacks;
    arrange({{1, CGPointMake(-1920, 0)}, {2, CGPointMake(0, 0)}});
    EXPECT_EQ(CGMainDisplayID(), 2U);
    EXPECT_EQ(displayValues("frame"), nlohmann::json({{-1920, 0, 1920, 1080}, {0, 0, 1280, 1024}}));
    EXPECT_EQ(callbacks.delivered(),
              changeOfTwo({{1, kCGDisplayMovedFlag | shape},
                           {2, kCGDisplayMovedFlag | kCGDisplaySetMainFlag | shape}}));
}

TEST_F(Reconfiguration, TheActiveMenuBarLeavesADisplayThatGoes) {
    const auto activeDisplay = [] { return simulator::machine()["menuBar"]["activeDisplay"]; };
    const nlohmann::json mac = simulator::machine();
    const nlohmann::json uuid1 = mac["displays"][0]["portUUID"];
    const nlohmann::json uuid2 = mac["displays"][1]["portUUID"];
    simulator::set({{"menuBar", {{"activeDisplay", uuid2}}}});
    arrange({{2, CGPointMake(-1280, 0)}});
    EXPECT_EQ(activeDisplay(), uuid2) << "it is still there";
    disconnect(2);
    EXPECT_EQ(activeDisplay(), uuid1) << "the main display has it";
    disconnect(1);
    EXPECT_EQ(activeDisplay(), nullptr);
    Display display = displayAt(9, CGRectZero);
    display.portUUID = uuid2;
    connect(display);
    EXPECT_EQ(activeDisplay(), uuid2) << "the first display is the main one";
    const std::string unknown = "37D8832A-2D66-02CA-B9F7-8F30A301B230";
    simulator::set({{"menuBar", {{"activeDisplay", unknown}}}});
    display.id = 10;
    connect(display);
    disconnect(9);
    EXPECT_EQ(activeDisplay(), unknown) << "as described, whatever becomes of other displays";
}

TEST_F(Reconfiguration, ADisplayLaidOverTheMainOneDoesNotReplaceIt) {
    arrange({{2, CGPointMake(0, 0)}});
    EXPECT_EQ(CGMainDisplayID(), 1U);
    EXPECT_EQ(displayValues("frame"), nlohmann::json({{0, 0, 1920, 1080}, {0, 0, 1280, 1024}}));
}

TEST_F(Reconfiguration, LosingTheMainDisplayMakesTheFirstOneMain) {
    CallbackRecorder callbacks;
    disconnect(1);
    EXPECT_EQ(CGMainDisplayID(), 2U);
    EXPECT_EQ(displayValues("frame"), nlohmann::json({{0, 0, 1280, 1024}}));
    EXPECT_EQ(callbacks.delivered(),
              changeOfTwo({{1, kCGDisplayRemoveFlag | shape},
                           {2, kCGDisplayMovedFlag | kCGDisplaySetMainFlag | shape}}));
}

TEST_F(Reconfiguration, LosingTheLastDisplayLeavesNoMainOneUntilTheNextComes) {
    disconnect(2);
    simulator::advance(0);
    CallbackRecorder callbacks;
    disconnect(1);
    EXPECT_EQ(CGMainDisplayID(), kCGNullDirectDisplay);
    connect(displayAt(4, CGRectMake(300, 0, 640, 480)));
    EXPECT_EQ(callbacks.delivered(),
              (Callbacks{{1, begin},
                         {1, kCGDisplayRemoveFlag | shape},
                         {4, kCGDisplayAddFlag | kCGDisplaySetMainFlag | shape}}));
    EXPECT_EQ(CGMainDisplayID(), 4U);
    EXPECT_EQ(displayValues("frame"), nlohmann::json({{0, 0, 640, 480}}));
}

TEST_F(Reconfiguration, AMachineDescribedWithItsMainDisplayElsewhereStaysSo) {
    for (const CGDirectDisplayID main : {2U, 99U}) {  // the second display, and none
        SCOPED_TRACE(main);
        nlohmann::json mac = twoDisplays();
        mac["mainDisplay"] = main;
        simulator::reset(mac);
        arrange({{1, CGPointMake(100, 100)}});
        EXPECT_EQ(CGMainDisplayID(), main);
        EXPECT_EQ(displayValues("frame"),
                  nlohmann::json({{100, 100, 1920, 1080}, {1920, 0, 1280, 1024}}));
    }
}

TEST_F(Reconfiguration, CallsEveryCallbackThatIsStillRegistered) {
    CallbackRecorder staying;
    {
        CallbackRecorder leaving;
        reconfigure(1, 0);
        EXPECT_EQ(leaving.delivered(), (Callbacks{{1, 0}}));
        reconfigure(2, 0);
    }
    EXPECT_EQ(staying.delivered(), (Callbacks{{1, 0}, {2, 0}}));
}

/// A callback that keeps what it is called with in its Callbacks.
void collect(CGDirectDisplayID display, CGDisplayChangeSummaryFlags flags, void* received) {
    static_cast<Callbacks*>(received)->emplace_back(display, flags);
}

void registerAnother(CGDirectDisplayID /*display*/, CGDisplayChangeSummaryFlags /*flags*/,
                     void* userInfo) {
    CGDisplayRegisterReconfigurationCallback(collect, userInfo);
}

TEST_F(Reconfiguration, ACallbackMayRegisterAnother) {
    Callbacks received;
    ASSERT_EQ(CGDisplayRegisterReconfigurationCallback(registerAnother, &received), 0);
    reconfigure(1, 0);
    simulator::advance(0);
    EXPECT_EQ(received, Callbacks{});
    ASSERT_EQ(CGDisplayRemoveReconfigurationCallback(registerAnother, &received), 0);
    reconfigure(2, 0);
    simulator::advance(0);
    EXPECT_EQ(received, (Callbacks{{2, 0}}));
}

TEST_F(Reconfiguration, RefusesANullCallback) {
    EXPECT_EQ(CGDisplayRegisterReconfigurationCallback(nullptr, nullptr), kCGErrorIllegalArgument);
    EXPECT_EQ(CGDisplayRemoveReconfigurationCallback(registerAnother, nullptr),
              kCGErrorIllegalArgument);
}

TEST_F(Reconfiguration, RegistrationMeetsFaults) {
    simulator::addFault(
        {{"call", "CGDisplayRegisterReconfigurationCallback"}, {"result", 1002}, {"times", 1}});
    Callbacks received;
    EXPECT_EQ(CGDisplayRegisterReconfigurationCallback(registerAnother, &received),
              kCGErrorInvalidConnection);
    EXPECT_EQ(CGDisplayRemoveReconfigurationCallback(registerAnother, &received),
              kCGErrorIllegalArgument);
}

TEST_F(Reconfiguration, ResetForgetsCallbacksAndWhatIsQueued) {
    Callbacks received;
    ASSERT_EQ(CGDisplayRegisterReconfigurationCallback(collect, &received), 0);
    reconfigure(1, 0);
    simulator::reset(twoDisplays());
    reconfigure(2, 0);
    simulator::advance(0);
    EXPECT_EQ(received, Callbacks{});
}

}  // namespace
}  // namespace tolvaran::tests
