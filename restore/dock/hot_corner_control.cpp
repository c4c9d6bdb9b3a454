#include "restore/dock/hot_corner_control.hpp"

#include <optional>
#include <utility>

#include "restore/dock/native_hot_corners.hpp"
#include "restore/paths/restore_log.hpp"
#include "restore/support/distributed_notifications.hpp"
#include "restore/support/preferences.hpp"

namespace tolvaran::DockHotCornerOverride {
namespace {

/// The live state with every corner off.
NativeHotCorners::State disabledState() {
    constexpr std::int64_t noModifier = 0;
    return {.actions = HotCornerValues(hotCornerCount, disabledActionCode),
            .modifiers = HotCornerValues(hotCornerCount, noModifier)};
}

bool isTheDock(const std::string& appID) {
    return appID == dockAppID;
}

bool preferencesAreDisabled(const PreferenceDomain& preferences) {
    for (std::size_t corner = 0; corner < hotCornerCount; ++corner) {
        if (preferences.integer(actionField(corner).preference) != disabledActionCode) {
            return false;
        }
    }
    return true;
}

/// Publishes written preferences. The notifications go out even if the synchronisation failed:
/// listeners read the preferences again and see at least what got through.
bool announce(const PreferenceDomain& preferences) {
    const bool synchronized = preferences.synchronizeApplication();
    postDistributedNotification("com.apple.dock.prefchanged");
    postDistributedNotification("com.apple.dock.hotcorner.updated");
    return synchronized;
}

/// Gives the Dock this state. False if a value does not fit; corners already set stay set.
bool setLiveState(const NativeHotCorners::State& state) {
    for (std::size_t corner = 0; corner < hotCornerCount; ++corner) {
        const std::int64_t action = state.actions[corner];
        const std::int64_t modifier = state.modifiers[corner];
        if (!std::in_range<std::int32_t>(action) || !std::in_range<std::int32_t>(modifier)) {
            return false;
        }
        NativeHotCorners::set(static_cast<std::int32_t>(action), static_cast<std::int32_t>(corner),
                              static_cast<std::int32_t>(modifier));
    }
    return true;
}

bool disableNatively() {
    if (!NativeHotCorners::areAvailable()) {
        RestoreLog::warn(
            "hot-corner disable failed because required CoreDock functions are unavailable");
        return false;
    }
    return setLiveState(disabledState()) && NativeHotCorners::read() == disabledState();
}

bool restoreNatively(const NativeHotCorners::State& wanted) {
    if (!NativeHotCorners::areAvailable()) {
        // A failure although the preferences are written, so that the snapshot is kept until a
        // macOS version has the function.
        RestoreLog::warn(
            "hot-corner restore found the CoreDock setter unavailable and restored raw preferences "
            "only");
        return false;
    }
    if (!setLiveState(wanted)) {
        RestoreLog::warn("hot-corner restore could not convert a snapshot value");
        return false;
    }
    const std::optional<NativeHotCorners::State> live = NativeHotCorners::read();
    if (!live) {
        RestoreLog::warn(
            "hot-corner restore could not be verified because the CoreDock getter is unavailable");
        return false;
    }
    return *live == wanted;
}

}  // namespace

bool nativeAPIAvailable() {
    return NativeHotCorners::areAvailable();
}

DockHotCornerSnapshot readCurrent(const std::string& appID) {
    DockHotCornerSnapshot snapshot;
    if (isTheDock(appID)) {
        if (std::optional<NativeHotCorners::State> live = NativeHotCorners::read()) {
            snapshot.liveActions = std::move(live->actions);
            snapshot.liveModifiers = std::move(live->modifiers);
        }
    }
    const PreferenceDomain preferences(appID);
    for (const HotCornerField& field : hotCornerFields) {
        snapshot.*field.member = preferences.integer(field.preference);
    }
    return snapshot;
}

bool writeDisabled(const std::string& appID) {
    const PreferenceDomain preferences(appID);
    for (std::size_t corner = 0; corner < hotCornerCount; ++corner) {
        preferences.setInteger(actionField(corner).preference, disabledActionCode);
    }
    if (!announce(preferences)) {
        return false;
    }
    return !isTheDock(appID) || disableNatively();
}

bool ensureDisabled(const std::string& appID) {
    bool disabled = preferencesAreDisabled(PreferenceDomain(appID));
    if (isTheDock(appID)) {
        disabled = NativeHotCorners::read() == disabledState() && disabled;
    }
    return disabled || writeDisabled(appID);
}

bool restore(const DockHotCornerSnapshot& snapshot, const std::string& appID) {
    if (!snapshot.isValid()) {
        RestoreLog::warn("hot-corner restore rejected an out-of-range snapshot value");
        return false;
    }
    const PreferenceDomain preferences(appID);
    for (const HotCornerField& field : hotCornerFields) {
        preferences.setInteger(field.preference, snapshot.*field.member);
    }
    if (!announce(preferences)) {
        return false;
    }
    return !isTheDock(appID) || restoreNatively({.actions = snapshot.effectiveActions(),
                                                 .modifiers = snapshot.effectiveModifiers()});
}

}  // namespace tolvaran::DockHotCornerOverride
