#include "restore/menubar/menu_bar_snapshot.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "restore/menubar/formats.hpp"

namespace tolvaran::tests {
namespace {

using Record = MenuBarDisplayVisibilityOverride;
using Snapshot = MenuBarAutohideSnapshot;

const Record desk{
    .canonicalID = "HW-1-2-3", .hardwareID = "HW-1-2-3", .portUUID = "P-1", .enabled = true};
const Record projector{.canonicalID = "P-2", .portUUID = "P-2", .enabled = false};

const Snapshot full{.hideMenuBar = 1,
                    .visibleInFullscreen = 0,
                    .displayVisibilityOverrides = {{desk, projector}},
                    .globalRestored = true,
                    .pendingOnly = false};

const std::string fullText =
    R"({"displayVisibilityOverrides":[)"
    R"({"canonicalID":"HW-1-2-3","enabled":true,"hardwareID":"HW-1-2-3","portUUID":"P-1"},)"
    R"({"canonicalID":"P-2","enabled":false,"portUUID":"P-2"}],)"
    R"("globalRestored":true,"hideMenuBar":1,"pendingOnly":false,"visibleInFullscreen":0})";

TEST(MenuBarSnapshot, IsWrittenWithSortedKeysAndWithoutAbsentFields) {
    EXPECT_EQ(tolvaran::json::write(full), fullText);
    EXPECT_EQ(tolvaran::json::write(Snapshot{}), "{}");
    EXPECT_EQ(tolvaran::json::write(Snapshot{.displayVisibilityOverrides = std::vector<Record>{}}),
              R"({"displayVisibilityOverrides":[]})");
}

TEST(MenuBarSnapshot, IsReadAsItWasWritten) {
    EXPECT_EQ(tolvaran::json::read<Snapshot>(fullText), full);
    EXPECT_EQ(tolvaran::json::read<Snapshot>("{}"), Snapshot{});
    EXPECT_EQ(tolvaran::json::read<Snapshot>(R"({"displayVisibilityOverrides":[]})"),
              (Snapshot{.displayVisibilityOverrides = std::vector<Record>{}}));
}

TEST(MenuBarSnapshot, EveryFieldMayBeNullAndOtherKeysAreIgnored) {
    EXPECT_EQ(tolvaran::json::read<Snapshot>(R"({"hideMenuBar":null,"visibleInFullscreen":null,
        "displayVisibilityOverrides":null,"globalRestored":null,"pendingOnly":null,"other":[1]})"),
              Snapshot{});
}

TEST(MenuBarSnapshot, ARecordsHardwareIDMayBeMissingOrNull) {
    const std::string beginning =
        R"({"displayVisibilityOverrides":[{"canonicalID":"P-2","portUUID":"P-2","enabled":false)";
    const Snapshot expected{.displayVisibilityOverrides = {{projector}}};
    EXPECT_EQ(tolvaran::json::read<Snapshot>(beginning + "}]}"), expected);
    EXPECT_EQ(tolvaran::json::read<Snapshot>(beginning + R"(,"hardwareID":null}]})"), expected);
}

TEST(MenuBarSnapshot, WhatIsNotASnapshotIsRefused) {
    const std::vector<std::string> texts = {
        "",
        "null",
        "[]",
        "1",
        R"("text")",
        "{} {}",
        R"({"hideMenuBar":true})",
        R"({"hideMenuBar":1.5})",
        R"({"hideMenuBar":"1"})",
        R"({"hideMenuBar":9223372036854775808})",
        R"({"visibleInFullscreen":false})",
        R"({"visibleInFullscreen":[]})",
        R"({"globalRestored":1})",
        R"({"globalRestored":"true"})",
        R"({"pendingOnly":0})",
        R"({"displayVisibilityOverrides":{}})",
        R"({"displayVisibilityOverrides":[null]})",
        R"({"displayVisibilityOverrides":[[]]})",
        R"({"displayVisibilityOverrides":[{}]})",
    };
    for (const std::string& text : texts) {
        EXPECT_THROW(tolvaran::json::read<Snapshot>(text), tolvaran::json::DecodingError) << text;
    }
}

TEST(MenuBarSnapshot, ARecordNeedsEveryOtherFieldInItsType) {
    const nlohmann::json complete{{"canonicalID", "c"}, {"portUUID", "p"}, {"enabled", true}};
    const auto read = [](const nlohmann::json& record) {
        tolvaran::json::read<Record>(record.dump());
    };
    EXPECT_NO_THROW(read(complete));
    for (const auto& [key, value] : complete.items()) {
        nlohmann::json broken = complete;
        broken.erase(key);
        EXPECT_THROW(read(broken), tolvaran::json::DecodingError) << key << " missing";
        broken[key] = nullptr;
        EXPECT_THROW(read(broken), tolvaran::json::DecodingError) << key << " null";
        broken[key] = 1;
        EXPECT_THROW(read(broken), tolvaran::json::DecodingError) << key << " a number";
    }
    nlohmann::json broken = complete;
    broken["hardwareID"] = 1;
    EXPECT_THROW(read(broken), tolvaran::json::DecodingError);
}

TEST(MenuBarSnapshot, AnIntegerMayHaveAnyValue) {
    const auto snapshot = tolvaran::json::read<Snapshot>(
        R"({"hideMenuBar":-9223372036854775808,"visibleInFullscreen":2.0})");
    EXPECT_EQ(snapshot, (Snapshot{.hideMenuBar = INT64_MIN, .visibleInFullscreen = 2}));
}

TEST(MenuBarIdentity, UsesItsCanonicalIDIfItHasNoHardwareID) {
    const MenuBarDisplayIdentity without(3, "P-2", std::nullopt, "P-1");
    EXPECT_EQ(without.displayID, 3U);
    EXPECT_EQ(without.canonicalID, "P-2");
    EXPECT_EQ(without.hardwareID, "P-2");
    EXPECT_EQ(without.portUUID, "P-1");
    EXPECT_EQ(MenuBarDisplayIdentity(3, "P-2", "HW-1-2-3", "P-1").hardwareID, "HW-1-2-3");
    EXPECT_EQ(without, MenuBarDisplayIdentity(3, "P-2", "P-2", "P-1"));
}

TEST(MenuBarOutcome, SucceedsWhenOnlyAbsentDisplaysAreLeft) {
    for (const bool globalRestored : {false, true}) {
        for (const bool onlyAbsent : {false, true}) {
            for (const auto& unsettled : {std::vector<Record>{}, std::vector<Record>{desk}}) {
                EXPECT_EQ(
                    (MenuBarRestoreOutcome{globalRestored, unsettled, onlyAbsent}).succeeded(),
                    globalRestored && onlyAbsent);
            }
        }
    }
}

struct Flags {
    std::optional<bool> globalRestored;
    std::optional<bool> pendingOnly;
    bool hasRestoredGlobal;
    bool isPendingOnly;
};

TEST(MenuBarSnapshot, FlagsCountOnlyWhenTrue) {
    const std::vector<Flags> rows = {
        {{}, {}, false, false},    {{}, false, false, false},    {{}, true, true, true},
        {false, {}, false, false}, {false, false, false, false}, {false, true, true, true},
        {true, {}, true, false},   {true, false, true, false},   {true, true, true, true},
    };
    for (const Flags& row : rows) {
        const Snapshot snapshot{.globalRestored = row.globalRestored,
                                .pendingOnly = row.pendingOnly};
        EXPECT_EQ(snapshot.hasRestoredGlobal(), row.hasRestoredGlobal)
            << tolvaran::json::write(snapshot);
        EXPECT_EQ(snapshot.isPendingOnly(), row.isPendingOnly) << tolvaran::json::write(snapshot);
    }
}

TEST(MenuBarSnapshot, ReplacingTheGlobalPreferenceKeepsRecordsAndFlags) {
    const Snapshot other{.visibleInFullscreen = 1,
                         .displayVisibilityOverrides = std::vector<Record>{},
                         .pendingOnly = true};
    Snapshot expected = full;
    expected.hideMenuBar.reset();
    expected.visibleInFullscreen = 1;
    EXPECT_EQ(full.replacingGlobalPreference(other), expected);
}

TEST(MenuBarSnapshot, ReopeningTheLeaseKeepsOnlyTheRecords) {
    const Snapshot other{.hideMenuBar = 0, .globalRestored = true, .pendingOnly = true};
    EXPECT_EQ(full.reopeningLease(other),
              (Snapshot{.hideMenuBar = 0,
                        .displayVisibilityOverrides = full.displayVisibilityOverrides}));
}

struct Wish {
    std::optional<std::int64_t> value;
    bool visibleOnDesktop;     // when the value is hideMenuBar
    bool visibleInFullscreen;  // when the value is visibleInFullscreen
};

TEST(MenuBarSnapshot, KnowsWhetherTheUserWantsToSeeTheMenuBar) {
    const std::vector<Wish> rows = {
        {{}, true, false}, {0, true, false}, {1, false, true}, {2, false, true}, {-1, false, true}};
    for (const Wish& row : rows) {
        // The other preference must not matter.
        for (const std::optional<std::int64_t> other :
             {std::optional<std::int64_t>(), std::optional<std::int64_t>(0),
              std::optional<std::int64_t>(1)}) {
            const Snapshot desktop{.hideMenuBar = row.value, .visibleInFullscreen = other};
            EXPECT_EQ(desktop.wantsMenuBarVisible(false), row.visibleOnDesktop)
                << tolvaran::json::write(desktop);
            const Snapshot fullscreen{.hideMenuBar = other, .visibleInFullscreen = row.value};
            EXPECT_EQ(fullscreen.wantsMenuBarVisible(true), row.visibleInFullscreen)
                << tolvaran::json::write(fullscreen);
        }
    }
}

struct Settling {
    MenuBarRestoreOutcome outcome;
    bool kept;
    std::optional<bool> globalRestored;
    std::optional<bool> pendingOnly;
};

TEST(MenuBarSnapshot, SettlingKeepsEverythingWhileAnythingIsPending) {
    const std::vector<Settling> rows = {
        {{true, {}, true}, false, {}, {}},
        {{true, {}, false}, false, {}, {}},
        {{false, {}, true}, true, {}, {}},
        {{false, {}, false}, true, {}, {}},
        {{true, {desk}, true}, true, true, true},
        {{true, {desk}, false}, true, true, {}},
        {{false, {desk}, true}, true, {}, {}},
        {{false, {desk}, false}, true, {}, {}},
        {{true, {desk, projector}, true}, true, true, true},
    };
    const std::vector<Snapshot> loaded = {
        {.hideMenuBar = 1, .displayVisibilityOverrides = {{desk, projector}}},
        {.visibleInFullscreen = 1,
         .displayVisibilityOverrides = {{desk, projector}},
         .globalRestored = true,
         .pendingOnly = true},
        {.displayVisibilityOverrides = {{desk, projector}},
         .globalRestored = false,
         .pendingOnly = false},
    };
    for (const Snapshot& snapshot : loaded) {
        for (const Settling& row : rows) {
            Snapshot expected = snapshot;
            expected.globalRestored = row.globalRestored;
            expected.pendingOnly = row.pendingOnly;
            EXPECT_EQ(snapshot.settled(row.outcome),
                      row.kept ? std::optional(expected) : std::nullopt)
                << tolvaran::json::write(snapshot) << " " << row.outcome.globalRestored << " "
                << row.outcome.unsettled.size() << " " << row.outcome.onlyAbsent;
        }
    }
}

}  // namespace
}  // namespace tolvaran::tests
