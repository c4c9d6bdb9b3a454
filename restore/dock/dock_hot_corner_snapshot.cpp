#include "restore/dock/dock_hot_corner_snapshot.hpp"

#include <algorithm>
#include <set>
#include <utility>

#include "restore/dock/formats.hpp"

namespace tolvaran {
namespace {

constexpr const char* outOfRange = "hot-corner snapshot contains a value outside the Int32 range";
constexpr const char* notPaired =
    "live hot-corner actions and modifiers must be paired four-element Int32 arrays";

constexpr std::array<const char*, hotCornerCount> cornerNames = {"tl", "tr", "bl", "br"};

constexpr std::int64_t noAction = 1;
constexpr std::int64_t noModifier = 0;

bool fitsInt32(std::int64_t value) {
    return std::in_range<std::int32_t>(value);
}

bool isLiveList(const std::optional<HotCornerValues>& list) {
    return list && list->size() == hotCornerCount && std::ranges::all_of(*list, fitsInt32);
}

/// `live` if it is complete, else each corner's preference, or `absent` without one.
HotCornerValues effective(const DockHotCornerSnapshot& snapshot,
                          const std::optional<HotCornerValues>& live,
                          const HotCornerField& (*field)(std::size_t), std::int64_t absent) {
    if (live && live->size() == hotCornerCount) {
        return *live;
    }
    HotCornerValues values;
    for (std::size_t corner = 0; corner < hotCornerCount; ++corner) {
        values.push_back((snapshot.*field(corner).member).value_or(absent));
    }
    return values;
}

}  // namespace

DockHotCornerSnapshot::DockHotCornerSnapshot(
    std::optional<std::int64_t> tlCorner_, std::optional<std::int64_t> tlModifier_,
    std::optional<std::int64_t> trCorner_, std::optional<std::int64_t> trModifier_,
    std::optional<std::int64_t> blCorner_, std::optional<std::int64_t> blModifier_,
    std::optional<std::int64_t> brCorner_, std::optional<std::int64_t> brModifier_,
    std::optional<HotCornerValues> liveActions_, std::optional<HotCornerValues> liveModifiers_)
    : tlCorner(tlCorner_),
      tlModifier(tlModifier_),
      trCorner(trCorner_),
      trModifier(trModifier_),
      blCorner(blCorner_),
      blModifier(blModifier_),
      brCorner(brCorner_),
      brModifier(brModifier_),
      liveActions(std::move(liveActions_)),
      liveModifiers(std::move(liveModifiers_)) {
    if (!liveListsArePaired()) {
        liveActions.reset();
        liveModifiers.reset();
    }
}

bool DockHotCornerSnapshot::preferencesFit() const {
    return std::ranges::all_of(hotCornerFields, [this](const HotCornerField& field) {
        const std::optional<std::int64_t>& value = this->*field.member;
        return !value || fitsInt32(*value);
    });
}

bool DockHotCornerSnapshot::liveListsArePaired() const {
    const bool bothAbsent = !liveActions && !liveModifiers;
    return bothAbsent || (isLiveList(liveActions) && isLiveList(liveModifiers));
}

HotCornerValues DockHotCornerSnapshot::effectiveActions() const {
    return effective(*this, liveActions, actionField, noAction);
}

HotCornerValues DockHotCornerSnapshot::effectiveModifiers() const {
    return effective(*this, liveModifiers, modifierField, noModifier);
}

std::vector<HotCornerAction> DockHotCornerSnapshot::cornerActions() const {
    const HotCornerValues actions = effectiveActions();
    std::vector<HotCornerAction> result;
    for (std::size_t corner = 0; corner < hotCornerCount; ++corner) {
        result.push_back({.corner = cornerNames[corner], .action = actions[corner]});
    }
    return result;
}

bool DockHotCornerSnapshot::hasUnsupportedAction() const {
    static const std::set<std::int64_t> supported = {0, 1, 2, 3, 4, 5, 6, 10, 11, 12, 13, 14};
    return !std::ranges::all_of(effectiveActions(),
                                [](std::int64_t action) { return supported.contains(action); });
}

void json::Format<DockHotCornerSnapshot>::checkRead(const Record& record) {
    if (!record.preferencesFit()) {
        throw DecodingError(std::string("\"tlCorner\": ") + outOfRange);
    }
    if (!record.liveListsArePaired()) {
        throw DecodingError(std::string("\"liveActions\": ") + notPaired);
    }
}

void json::Format<DockHotCornerSnapshot>::checkWritten(const Record& record) {
    if (!record.isValid()) {
        throw EncodingError(outOfRange);
    }
}

}  // namespace tolvaran
