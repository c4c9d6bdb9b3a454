#include "restore/dock/native_hot_corners.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "restore/dock/hot_corner_control.hpp"
#include "simulator/simulator.hpp"
#include "tests/restore/dock/hot_corner_mac.hpp"

namespace tolvaran::tests {
namespace {

using NativeHotCorners::State;
using nlohmann::json;

const std::string getter = "CoreDockGetExposeCornerActionsWithModifiers";
const std::string setter = "CoreDockSetExposeCornerActionWithModifier";

class NativeHotCornersTest : public ProcessTest {
  protected:
    /// A new process on the user's Mac, without these functions or libraries.
    void startWithout(const json& unavailable) {
        json mac = usersMac();
        mac["unavailable"] = unavailable;
        start(mac);
    }
};

const State usersState = {.actions = {5, 2, 1, 13}, .modifiers = {1048576, 0, 131072, 524288}};

TEST_F(NativeHotCornersTest, ReadsActionsThenModifiers) {
    startWithout(json::array());
    EXPECT_TRUE(NativeHotCorners::areAvailable());
    EXPECT_TRUE(DockHotCornerOverride::nativeAPIAvailable());
    EXPECT_EQ(NativeHotCorners::read(), usersState);
    EXPECT_EQ(callLines(), Lines{readsCorners});
}

TEST_F(NativeHotCornersTest, SetsOneCorner) {
    startWithout(json::array());
    NativeHotCorners::set(-7, 2, 9);
    EXPECT_EQ(callLines(), Lines{setsCorner(-7, 2, 9)});
    EXPECT_EQ(liveCorners(), json({{5, 2, -7, 13}, {1048576, 0, 9, 524288}}));
}

TEST_F(NativeHotCornersTest, NeedsBothFunctions) {
    struct Case {
        json unavailable;
        bool readable;
    };
    for (const Case& missing : {Case{{getter}, false}, Case{{setter}, true},
                                Case{{getter, setter}, false}, Case{{"HIServices"}, false}}) {
        SCOPED_TRACE(missing.unavailable.dump());
        startWithout(missing.unavailable);
        EXPECT_FALSE(NativeHotCorners::areAvailable());
        EXPECT_FALSE(DockHotCornerOverride::nativeAPIAvailable());
        EXPECT_EQ(NativeHotCorners::read().has_value(), missing.readable);
    }
    startWithout({"SkyLight"});
    EXPECT_TRUE(NativeHotCorners::areAvailable());
}

// The process is searched only if the library cannot be opened, not for a function that the library
// lacks.
TEST_F(NativeHotCornersTest, FallsBackToTheProcessOnlyWithoutTheLibrary) {
    startWithout(json::array());
    simulator::addFault({{"call", "dlopen"}, {"effect", false}});
    ASSERT_TRUE(NativeHotCorners::areAvailable());
    EXPECT_EQ(NativeHotCorners::read(), usersState);
    NativeHotCorners::set(3, 0, 0);
    EXPECT_EQ(NativeHotCorners::read()->actions[0], 3);

    startWithout(json::array());
    simulator::addFault({{"call", "dlsym"}, {"effect", false}, {"times", 1}});
    EXPECT_FALSE(NativeHotCorners::areAvailable());
    EXPECT_EQ(NativeHotCorners::read(), std::nullopt);
}

TEST_F(NativeHotCornersTest, LooksUpOnceInAProcess) {
    startWithout(json::array());
    EXPECT_TRUE(NativeHotCorners::areAvailable());
    simulator::set({{"unavailable", {"HIServices"}}});
    EXPECT_TRUE(NativeHotCorners::areAvailable());
    EXPECT_EQ(NativeHotCorners::read(), usersState);
    restart();
    EXPECT_FALSE(NativeHotCorners::areAvailable());
    simulator::set({{"unavailable", json::array()}});
    EXPECT_FALSE(NativeHotCorners::areAvailable());
    EXPECT_EQ(NativeHotCorners::read(), std::nullopt);
}

TEST_F(NativeHotCornersTest, NamesWhatIsMissing) {
    const std::pair<json, Lines> cases[] = {
        {json::array(), {}},
        {{getter}, {getter}},
        {{setter}, {setter}},
        {{setter, getter}, {getter, setter}},
        {{"HIServices"}, {"HIServices"}},
        {{"HIServices", setter}, {"HIServices"}},
        {{"SkyLight"}, {}},
    };
    for (const auto& [unavailable, names] : cases) {
        startWithout(unavailable);
        EXPECT_EQ(NativeHotCorners::missing(), names) << unavailable;
    }
    startWithout({setter});
    failCalls("dlopen", 0);
    EXPECT_EQ(NativeHotCorners::missing(), Lines{setter}) << "the process has the other one anyway";
    startWithout({getter});
    failCalls("dlopen", 0);
    EXPECT_EQ(NativeHotCorners::missing(), Lines{getter});
}

TEST_F(NativeHotCornersTest, CannotReadWhatTheDockLeavesUnfilled) {
    constexpr std::int32_t unfilled = std::numeric_limits<std::int32_t>::min();
    for (const char* list : {"cornerActions", "cornerModifiers"}) {
        for (std::size_t corner = 0; corner < 4; ++corner) {
            startWithout(json::array());
            json values = json::array({3, 3, 3, 3});
            values[corner] = unfilled;
            simulator::set({{"dock", {{list, values}}}});
            EXPECT_EQ(NativeHotCorners::read(), std::nullopt) << list << corner;
            values[corner] = unfilled + 1;
            simulator::set({{"dock", {{list, values}}}});
            EXPECT_TRUE(NativeHotCorners::read().has_value()) << list << corner;
        }
    }
    startWithout(json::array());
    simulator::addFault({{"call", getter}, {"effect", false}});
    EXPECT_EQ(NativeHotCorners::read(), std::nullopt);
}

}  // namespace
}  // namespace tolvaran::tests
