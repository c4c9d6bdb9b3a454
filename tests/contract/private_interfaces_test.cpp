// The private functions of the window server and the Dock. None of them is documented: each test
// checks what the product relies on. Functions that a Mac may lack are tested if it has them.
#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/private_interfaces.hpp"
#include "restore/dock/dock_hot_corner_snapshot.hpp"
#include "restore/dock/native_hot_corners.hpp"
#include "restore/menubar/per_display_menu_bar_api.hpp"
#include "restore/modes/display_mode_descriptor.hpp"
#include "restore/support/cf_ref.hpp"
#include "restore/support/cf_values.hpp"
#include "restore/support/dynamic_library.hpp"
#include "restore/support/preferences.hpp"
#include "tests/contract/the_mac.hpp"

namespace {

using namespace tolvaran;

class PrivateInterfaces : public Contract {};

TEST_F(PrivateInterfaces, TheConnectionToTheWindowServerStaysTheSame) {
    EXPECT_NE(CGSMainConnectionID(), 0);
    EXPECT_EQ(CGSMainConnectionID(), CGSMainConnectionID());
}

TEST_F(PrivateInterfaces, EveryModeCanBeReadAndTheCurrentOneIsAmongThem) {
    const CGDirectDisplayID display = CGMainDisplayID();
    std::int32_t count = 0;
    ASSERT_EQ(CGSGetNumberOfDisplayModes(display, &count), kCGErrorSuccess);
    ASSERT_GT(count, 0);
    std::vector<std::int32_t> numbers;
    for (std::int32_t index = 0; index < count; ++index) {
        // Longer than the window server is told, like the product's.
        alignas(std::uint32_t) std::array<std::byte, 220> buffer{};
        ASSERT_EQ(CGSGetDisplayModeDescriptionOfLength(display, index, buffer.data(),
                                                       std::int32_t{displayModeRecordLength}),
                  kCGErrorSuccess);
        const auto mode = DisplayModeDescriptor::fromRecord(
            DisplayModeRecord(buffer.data(), displayModeRecordLength));
        EXPECT_GT(mode.width, 0);
        EXPECT_GT(mode.height, 0);
        EXPECT_GT(mode.density, 0);
        EXPECT_EQ(std::ranges::count(numbers, mode.modeNum), 0);
        numbers.push_back(mode.modeNum);
    }
    std::int32_t current = -1;
    ASSERT_EQ(CGSGetCurrentDisplayMode(display, &current), kCGErrorSuccess);
    EXPECT_EQ(std::ranges::count(numbers, current), 1);
}

TEST_F(PrivateInterfaces, AModeCanBeRecordedInAConfigurationThatIsThenCancelled) {
    const CGDirectDisplayID display = CGMainDisplayID();
    std::int32_t before = -1;
    ASSERT_EQ(CGSGetCurrentDisplayMode(display, &before), kCGErrorSuccess);
    CGDisplayConfigRef configuration = nullptr;
    ASSERT_EQ(CGBeginDisplayConfiguration(&configuration), kCGErrorSuccess);
    EXPECT_EQ(CGSConfigureDisplayMode(configuration, display, before), kCGErrorSuccess);
    EXPECT_EQ(CGCancelDisplayConfiguration(configuration), kCGErrorSuccess);
    std::int32_t after = -1;
    ASSERT_EQ(CGSGetCurrentDisplayMode(display, &after), kCGErrorSuccess);
    EXPECT_EQ(after, before);
}

TEST_F(PrivateInterfaces, TheMenuBarOfEachDisplayCanBeRead) {
    const PerDisplayMenuBarAPI api;
    if (!api.isComplete()) {
        GTEST_SKIP() << "this Mac lacks the functions for single displays";
    }
    const CGSConnectionID connection = api.mainConnection();
    EXPECT_EQ(connection, CGSMainConnectionID());
    Boolean hides = 17;
    EXPECT_EQ(api.getAutohide(connection, &hides), 0);
    EXPECT_LE(hides, 1);
    const Boolean shown = api.getOverride(connection, CGMainDisplayID());
    EXPECT_LE(shown, 1);
    const auto spaces = CFRef<CFArrayRef>::assume(api.copyManagedDisplaySpaces(connection));
    ASSERT_NE(cf::array(spaces.get()), nullptr);
    ASSERT_GT(CFArrayGetCount(spaces.get()), 0);
    EXPECT_NE(cf::dictionary(CFArrayGetValueAtIndex(spaces.get(), 0)), nullptr);
}

TEST_F(PrivateInterfaces, AMenuBarOverrideCanBeSetAndPutBack) {
    const PerDisplayMenuBarAPI api;
    if (!api.isComplete() || !the_mac::mayBeDisturbed()) {
        GTEST_SKIP()
            << "hides and shows a menu bar: needs the functions, and permission to disturb";
    }
    const CGSConnectionID connection = api.mainConnection();
    const CGDirectDisplayID display = CGMainDisplayID();
    const Boolean before = api.getOverride(connection, display);
    const Boolean changed = before == 0 ? 1 : 0;
    for (const Boolean value : {changed, before}) {
        EXPECT_EQ(api.setOverride(connection, display, value), 0);
        EXPECT_TRUE(
            the_mac::waitUntil([&] { return api.getOverride(connection, display) == value; }));
    }
}

// Setting what is set already must leave everything as it is.
TEST_F(PrivateInterfaces, TheDocksAutoHideIsReadAsItWasSet) {
    const Boolean before = CoreDockGetAutoHideEnabled();
    EXPECT_LE(before, 1);
    CoreDockSetAutoHideEnabled(before);
    the_mac::letPass(0.2);
    EXPECT_EQ(CoreDockGetAutoHideEnabled(), before);
}

// The restore does not read back what it has set, so it must take effect.
TEST_F(PrivateInterfaces, TheDocksAutoHideTakesEffect) {
    if (!the_mac::mayBeDisturbed()) {
        GTEST_SKIP() << "hides or shows the Dock: needs permission to disturb";
    }
    const Boolean before = CoreDockGetAutoHideEnabled();
    const Boolean changed = before == 0 ? 1 : 0;
    for (const Boolean value : {changed, before}) {
        CoreDockSetAutoHideEnabled(value);
        EXPECT_TRUE(the_mac::waitUntil([&] { return CoreDockGetAutoHideEnabled() == value; }));
    }
}

/// The Dock's preferences of the corners, in the order of hotCornerFields.
std::vector<std::optional<std::int64_t>> cornerPreferences() {
    const PreferenceDomain dock("com.apple.dock");
    dock.synchronizeApplication();
    std::vector<std::optional<std::int64_t>> values;
    for (const HotCornerField& field : hotCornerFields) {
        values.push_back(dock.integer(field.preference));
    }
    return values;
}

// A corner takes effect and shows as soon as it is set. Its preferences are left to the caller:
// restoring writes and verifies them separately.
TEST_F(PrivateInterfaces, TheDocksHotCornersAreReadAsTheyWereSet) {
    if (!NativeHotCorners::areAvailable() || !the_mac::mayBeDisturbed()) {
        GTEST_SKIP() << "switches a hot corner: needs the functions, and permission to disturb";
    }
    const auto before = NativeHotCorners::read();
    ASSERT_TRUE(before);
    ASSERT_EQ(before->actions.size(), 4U);
    const auto preferencesBefore = cornerPreferences();
    NativeHotCorners::State changed = *before;
    changed.actions[0] = before->actions[0] == 1 ? 4 : 1;  // the desktop, or nothing
    for (const NativeHotCorners::State& state : {changed, *before}) {
        NativeHotCorners::set(static_cast<std::int32_t>(state.actions[0]), 0,
                              static_cast<std::int32_t>(state.modifiers[0]));
        EXPECT_EQ(NativeHotCorners::read(), state);
        EXPECT_EQ(cornerPreferences(), preferencesBefore);
    }
}

// Documented: null for what cannot be opened, and for a name that is not there.
TEST_F(PrivateInterfaces, WhatIsNotThereIsNotFound) {
    const DynamicLibrary missing("/System/Library/PrivateFrameworks/TolvaranHasNoSuch.framework");
    EXPECT_FALSE(missing.isOpen());
    EXPECT_EQ(missing.function(sky_light::mainConnection), nullptr);
    constexpr RunTimeFunction<void()> noSuchFunction{"TolvaranHasNoSuchFunction"};
    const DynamicLibrary skyLight(sky_light::path);
    if (skyLight.isOpen()) {
        EXPECT_EQ(skyLight.function(noSuchFunction), nullptr);
    }
    EXPECT_EQ(DynamicLibrary::functionOfProcess(noSuchFunction), nullptr);
}

}  // namespace
