// The user's four hot corners as they were before suppression, so that they can be put back
// exactly: the Dock's preferences, and the Dock's own live state where it can be read. Taken, saved
// and restored by DockHotCornerOverride.
//
// Only the Dock knows what the action and modifier codes mean; this system stores, compares and
// restores them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tolvaran {

inline constexpr std::size_t hotCornerCount = 4;

/// One number for each corner: top-left, top-right, bottom-left, bottom-right.
using HotCornerValues = std::vector<std::int64_t>;

/// The action of one corner.
struct HotCornerAction {
    std::string corner;  // "tl", "tr", "bl" or "br"
    std::int64_t action = 0;

    bool operator==(const HotCornerAction&) const = default;
};

/// Numbers are held in 64 bits, but must fit in 32, like the Dock's own.
struct DockHotCornerSnapshot {
    // The Dock's preferences, such as "wvous-tl-corner"; none if a preference is not set or not a
    // number.
    std::optional<std::int64_t> tlCorner;
    std::optional<std::int64_t> tlModifier;
    std::optional<std::int64_t> trCorner;
    std::optional<std::int64_t> trModifier;
    std::optional<std::int64_t> blCorner;
    std::optional<std::int64_t> blModifier;
    std::optional<std::int64_t> brCorner;
    std::optional<std::int64_t> brModifier;
    // What the running Dock uses: both or neither, with four elements each.
    std::optional<HotCornerValues> liveActions;
    std::optional<HotCornerValues> liveModifiers;

    /// A snapshot with every field absent.
    DockHotCornerSnapshot() = default;

    /// Every field in order. Live lists that are not a pair (see liveListsArePaired()) are dropped
    /// silently: the preferences alone can still be put back.
    DockHotCornerSnapshot(
        std::optional<std::int64_t> tlCorner, std::optional<std::int64_t> tlModifier,
        std::optional<std::int64_t> trCorner, std::optional<std::int64_t> trModifier,
        std::optional<std::int64_t> blCorner, std::optional<std::int64_t> blModifier,
        std::optional<std::int64_t> brCorner, std::optional<std::int64_t> brModifier,
        std::optional<HotCornerValues> liveActions, std::optional<HotCornerValues> liveModifiers);

    bool operator==(const DockHotCornerSnapshot&) const = default;

    /// Whether every preference field that is present fits in 32 signed bits.
    bool preferencesFit() const;
    /// Whether the live lists are both absent, or both have four elements of 32 signed bits.
    bool liveListsArePaired() const;
    /// Whether both are true, so that the snapshot may be saved and restored.
    bool isValid() const { return preferencesFit() && liveListsArePaired(); }

    /// The four actions to put back: the live ones, else the preferences with 1 (no action) for
    /// an absent one.
    HotCornerValues effectiveActions() const;
    /// The four modifiers to put back: the live ones, else the preferences with 0 for an absent
    /// one.
    HotCornerValues effectiveModifiers() const;
    /// effectiveActions() under the corners' names.
    std::vector<HotCornerAction> cornerActions() const;
    /// Whether any corner has an action that the main application cannot show.
    bool hasUnsupportedAction() const;
};

/// One of the eight preference fields under its three names.
struct HotCornerField {
    const char* key;  // in the snapshot file
    std::optional<std::int64_t> DockHotCornerSnapshot::*member;
    const char* preference;  // in the Dock's preferences
};

/// The preference fields in the order in which they are read and written: corner by corner, the
/// action before the modifier.
inline constexpr std::array<HotCornerField, 2 * hotCornerCount> hotCornerFields = {{
    {"tlCorner", &DockHotCornerSnapshot::tlCorner, "wvous-tl-corner"},
    {"tlModifier", &DockHotCornerSnapshot::tlModifier, "wvous-tl-modifier"},
    {"trCorner", &DockHotCornerSnapshot::trCorner, "wvous-tr-corner"},
    {"trModifier", &DockHotCornerSnapshot::trModifier, "wvous-tr-modifier"},
    {"blCorner", &DockHotCornerSnapshot::blCorner, "wvous-bl-corner"},
    {"blModifier", &DockHotCornerSnapshot::blModifier, "wvous-bl-modifier"},
    {"brCorner", &DockHotCornerSnapshot::brCorner, "wvous-br-corner"},
    {"brModifier", &DockHotCornerSnapshot::brModifier, "wvous-br-modifier"},
}};

/// The field of one corner's action, and of its modifier.
constexpr const HotCornerField& actionField(std::size_t corner) {
    return hotCornerFields[2 * corner];
}
constexpr const HotCornerField& modifierField(std::size_t corner) {
    return hotCornerFields[2 * corner + 1];
}

}  // namespace tolvaran
