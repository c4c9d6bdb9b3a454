#include "restore/dock/dock_hot_corner_snapshot.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "restore/dock/formats.hpp"

namespace tolvaran::tests {
namespace {

using Snapshot = DockHotCornerSnapshot;
using Values = std::optional<HotCornerValues>;

constexpr std::int64_t greatest = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t least = std::numeric_limits<std::int32_t>::min();
constexpr auto none = std::nullopt;

constexpr const char* outOfRange = "hot-corner snapshot contains a value outside the Int32 range";
constexpr const char* notPaired =
    "live hot-corner actions and modifiers must be paired four-element Int32 arrays";

Snapshot full() {
    return {5, 0, 2, 131072, 13, greatest, 4, least, Values({5, 2, 13, 4}), Values({0, 1, 2, 3})};
}

const std::string fullText =
    R"({"blCorner":13,"blModifier":2147483647,"brCorner":4,"brModifier":-2147483648,)"
    R"("liveActions":[5,2,13,4],"liveModifiers":[0,1,2,3],"tlCorner":5,"tlModifier":0,)"
    R"("trCorner":2,"trModifier":131072})";

std::string decodingError(const std::string& text) {
    try {
        tolvaran::json::read<Snapshot>(text);
    } catch (const tolvaran::json::DecodingError& error) {
        return error.what();
    }
    return "decoded";
}

std::string encodingError(const Snapshot& snapshot) {
    try {
        tolvaran::json::write(snapshot);
    } catch (const tolvaran::json::EncodingError& error) {
        return error.what();
    }
    return "encoded";
}

TEST(DockHotCornerSnapshot, WritesSortedKeysAndReadsThemBack) {
    EXPECT_EQ(tolvaran::json::write(full()), fullText);
    EXPECT_EQ(tolvaran::json::read<Snapshot>(fullText), full());
}

TEST(DockHotCornerSnapshot, IsAnEmptyObjectWhenNothingWasEverSet) {
    EXPECT_EQ(tolvaran::json::write(Snapshot()), "{}");
    EXPECT_EQ(tolvaran::json::read<Snapshot>("{}"), Snapshot());
    EXPECT_EQ(Snapshot().effectiveActions(), (HotCornerValues{1, 1, 1, 1}));
    EXPECT_EQ(Snapshot().effectiveModifiers(), (HotCornerValues{0, 0, 0, 0}));
    EXPECT_FALSE(Snapshot().hasUnsupportedAction());
}

// Each field alone, so that no two can be mixed up.
TEST(DockHotCornerSnapshot, KeepsEveryFieldUnderItsOwnKey) {
    using Field = std::pair<std::string, std::optional<std::int64_t> Snapshot::*>;
    const std::vector<Field> fields = {
        {"tlCorner", &Snapshot::tlCorner}, {"tlModifier", &Snapshot::tlModifier},
        {"trCorner", &Snapshot::trCorner}, {"trModifier", &Snapshot::trModifier},
        {"blCorner", &Snapshot::blCorner}, {"blModifier", &Snapshot::blModifier},
        {"brCorner", &Snapshot::brCorner}, {"brModifier", &Snapshot::brModifier},
    };
    for (std::size_t i = 0; i < fields.size(); ++i) {
        SCOPED_TRACE(fields[i].first);
        Snapshot snapshot;
        snapshot.*fields[i].second = 7;
        EXPECT_EQ(tolvaran::json::write(snapshot), "{\"" + fields[i].first + "\":7}");
        EXPECT_EQ(tolvaran::json::read<Snapshot>("{\"" + fields[i].first + "\":7}"), snapshot);
        EXPECT_EQ(tolvaran::json::read<Snapshot>("{\"" + fields[i].first + "\":null}"), Snapshot());
        HotCornerValues actions = {1, 1, 1, 1};
        HotCornerValues modifiers = {0, 0, 0, 0};
        (i % 2 == 0 ? actions : modifiers)[i / 2] = 7;
        EXPECT_EQ(snapshot.effectiveActions(), actions);
        EXPECT_EQ(snapshot.effectiveModifiers(), modifiers);
    }
    const Snapshot ordered(1, 2, 3, 4, 5, 6, 7, 8, none, none);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        EXPECT_EQ(ordered.*fields[i].second, static_cast<std::int64_t>(i) + 1) << fields[i].first;
    }
}

TEST(DockHotCornerSnapshot, UsesTheLiveStateIfThereIsOne) {
    const Snapshot snapshot(5, 6, 5, 6, 5, 6, 5, 6, Values({10, 11, 12, 13}), Values({1, 2, 3, 4}));
    EXPECT_EQ(snapshot.effectiveActions(), (HotCornerValues{10, 11, 12, 13}));
    EXPECT_EQ(snapshot.effectiveModifiers(), (HotCornerValues{1, 2, 3, 4}));
    EXPECT_EQ(snapshot.cornerActions(),
              (std::vector<HotCornerAction>{{"tl", 10}, {"tr", 11}, {"bl", 12}, {"br", 13}}));
    Snapshot broken = snapshot;
    broken.liveActions->pop_back();
    EXPECT_EQ(broken.effectiveActions(), (HotCornerValues{5, 5, 5, 5}));
    EXPECT_EQ(broken.effectiveModifiers(), (HotCornerValues{1, 2, 3, 4}));
}

TEST(DockHotCornerSnapshot, KnowsWhichActionsTheApplicationSupports) {
    const std::vector<std::int64_t> supported = {0, 1, 2, 3, 4, 5, 6, 10, 11, 12, 13, 14};
    for (std::int64_t action = -3; action < 20; ++action) {
        const bool isSupported =
            std::find(supported.begin(), supported.end(), action) != supported.end();
        for (std::size_t corner = 0; corner < 4; ++corner) {
            HotCornerValues actions = {0, 1, 14, 6};
            actions[corner] = action;
            const Snapshot live(none, none, none, none, none, none, none, none, actions,
                                Values({0, 0, 0, 0}));
            EXPECT_EQ(live.hasUnsupportedAction(), !isSupported) << action << " at " << corner;
        }
        const Snapshot stored(none, none, none, none, action, none, none, none, none, none);
        EXPECT_EQ(stored.hasUnsupportedAction(), !isSupported) << action;
    }
}

/// Live lists that are not a pair.
const std::vector<std::pair<Values, Values>> badPairs = {
    {Values({1, 1, 1, 1}), none},
    {none, Values({0, 0, 0, 0})},
    {Values({1, 1, 1}), Values({0, 0, 0})},
    {Values({1, 1, 1}), Values({0, 0, 0, 0})},
    {Values({1, 1, 1, 1}), Values({0, 0, 0, 0, 0})},
    {Values(HotCornerValues{}), Values(HotCornerValues{})},
    {Values(HotCornerValues{}), none},
    {Values({1, 1, greatest + 1, 1}), Values({0, 0, 0, 0})},
    {Values({1, 1, 1, 1}), Values({0, 0, 0, least - 1})},
};

TEST(DockHotCornerSnapshot, ConstructorDropsLiveListsThatAreNotAPair) {
    const Snapshot preferencesOnly(1, 2, 3, 4, 5, 6, 7, 8, none, none);
    for (const auto& [actions, modifiers] : badPairs) {
        EXPECT_EQ(Snapshot(1, 2, 3, 4, 5, 6, 7, 8, actions, modifiers), preferencesOnly);
    }
    const Values extremes({least, greatest, 0, -1});
    const Snapshot kept(1, 2, 3, 4, 5, 6, 7, 8, extremes, extremes);
    EXPECT_EQ(kept.liveActions, extremes);
    EXPECT_EQ(kept.liveModifiers, extremes);
}

TEST(DockHotCornerSnapshot, ConstructorKeepsPreferencesThatDoNotFit) {
    const Snapshot snapshot(greatest + 1, none, none, none, none, none, none, least - 1, none,
                            none);
    EXPECT_EQ(snapshot.tlCorner, greatest + 1);
    EXPECT_EQ(snapshot.brModifier, least - 1);
    EXPECT_FALSE(snapshot.isValid());
}

TEST(DockHotCornerSnapshot, RefusesToWriteWhatItWouldNotRead) {
    for (const HotCornerField& field : hotCornerFields) {
        for (const std::int64_t value :
             {greatest + 1, least - 1, std::numeric_limits<std::int64_t>::max(),
              std::numeric_limits<std::int64_t>::min()}) {
            Snapshot snapshot = full();
            snapshot.*field.member = value;
            EXPECT_EQ(encodingError(snapshot), outOfRange) << field.key;
        }
    }
    for (const auto& [actions, modifiers] : badPairs) {
        Snapshot snapshot = full();
        snapshot.liveActions = actions;
        snapshot.liveModifiers = modifiers;
        EXPECT_EQ(encodingError(snapshot), outOfRange);
    }
    EXPECT_EQ(encodingError(full()), "encoded");
}

TEST(DockHotCornerSnapshot, SaysWhyItCannotBeRead) {
    const std::string range = std::string("\"tlCorner\": ") + outOfRange;
    const std::string pairing = std::string("\"liveActions\": ") + notPaired;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {R"({"trCorner":4294967296})", range},
        {R"({"brModifier":-2147483649})", range},
        {R"({"tlCorner":2147483648,"liveActions":[1]})", range},
        {R"({"liveActions":[1,1,1,1]})", pairing},
        {R"({"liveModifiers":[0,0,0,0]})", pairing},
        {R"({"liveActions":[1,1,1,1],"liveModifiers":null})", pairing},
        {R"({"liveActions":[1,1,1],"liveModifiers":[0,0,0]})", pairing},
        {R"({"liveActions":[1,1,1],"liveModifiers":[0,0,0,0]})", pairing},
        {R"({"liveActions":[1,1,1,1],"liveModifiers":[0,0,0,0,0]})", pairing},
        {R"({"liveActions":[],"liveModifiers":[]})", pairing},
        {R"({"liveActions":[1,1,1,2147483648],"liveModifiers":[0,0,0,0]})", pairing},
        {R"({"tlCorner":true})", "\"tlCorner\": is not an integer"},
        {R"({"tlModifier":"1"})", "\"tlModifier\": is not an integer"},
        {R"({"blCorner":1.5})", "\"blCorner\": is not an integer"},
        {R"({"brCorner":[1]})", "\"brCorner\": is not an integer"},
        {R"({"brCorner":1e300})", "\"brCorner\": does not fit in 64 bits"},
        {R"({"brCorner":18446744073709551616})", "\"brCorner\": does not fit in 64 bits"},
        {R"({"liveActions":4})", "\"liveActions\": is not an array"},
        {R"({"liveActions":{"0":1}})", "\"liveActions\": is not an array"},
        {R"({"liveActions":[1,1,true,1],"liveModifiers":[0,0,0,0]})",
         "\"liveActions\": is not an integer"},
        {R"({"liveActions":[1,1,null,1],"liveModifiers":[0,0,0,0]})",
         "\"liveActions\": is not an integer"},
        {R"({"liveActions":[1,1,1,1],"liveModifiers":[0,0.5,0,0]})",
         "\"liveModifiers\": is not an integer"},
        // Every field's type is checked before any value.
        {R"({"tlCorner":4294967296,"liveModifiers":false})", "\"liveModifiers\": is not an array"},
        {"[]", "is not an object"},
        {"null", "is not an object"},
        {"4", "is not an object"},
        {"", "invalid JSON at byte 1"},
    };
    for (const auto& [text, error] : cases) {
        EXPECT_EQ(decodingError(text), error) << text;
    }
}

TEST(DockHotCornerSnapshot, ReadsEquivalentForms) {
    EXPECT_EQ(tolvaran::json::read<Snapshot>(
                  R"({"tlCorner":5.0,"trCorner":1,"trCorner":2,"liveActions":null,"more":[{}]})"),
              Snapshot(5, none, 2, none, none, none, none, none, none, none));
}

TEST(DockHotCornerSnapshot, IsUnreadableWhenCutOffAnywhere) {
    for (std::size_t length = 0; length < fullText.size(); ++length) {
        EXPECT_NE(decodingError(fullText.substr(0, length)), "decoded") << length;
    }
}

}  // namespace
}  // namespace tolvaran::tests
