// A simulated Mac as the tests of the hot corners see it: its corners, and the calls about them in
// one list, each as a line of text.
#pragma once

#include <array>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "restore/dock/dock_hot_corner_snapshot.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::tests {

inline const std::string theDock = "com.apple.dock";

/// Preference fields that differ from each other, some of them absent.
inline nlohmann::json usersPreferences() {
    return {{"wvous-tl-corner", 5},        {"wvous-tl-modifier", 1048576}, {"wvous-tr-corner", 2},
            {"wvous-bl-modifier", 131072}, {"wvous-br-corner", 13},        {"wvous-br-modifier", 0},
            {"orientation", "left"}};
}

// The Dock's live state: the four actions, then the four modifiers. The user's has a modifier that
// the preferences lack.
inline const nlohmann::json usersCorners = {{5, 2, 1, 13}, {1048576, 0, 131072, 524288}};
inline const nlohmann::json suppressedCorners = {{1, 1, 1, 1}, {0, 0, 0, 0}};

inline nlohmann::json macWithCorners(const nlohmann::json& preferences,
                                     const nlohmann::json& live) {
    return {{"preferences", {{theDock, preferences}}},
            {"dock", {{"cornerActions", live[0]}, {"cornerModifiers", live[1]}}}};
}

/// A Mac whose user has set up hot corners.
inline nlohmann::json usersMac() {
    return macWithCorners(usersPreferences(), usersCorners);
}

/// The snapshot of that Mac.
inline DockHotCornerSnapshot usersSnapshot() {
    return {5,
            1048576,
            2,
            std::nullopt,
            std::nullopt,
            131072,
            13,
            0,
            usersCorners[0].get<HotCornerValues>(),
            usersCorners[1].get<HotCornerValues>()};
}

/// The snapshot's file.
inline const std::string usersSnapshotText =
    R"({"blModifier":131072,"brCorner":13,"brModifier":0,"liveActions":[5,2,1,13],)"
    R"("liveModifiers":[1048576,0,131072,524288],"tlCorner":5,"tlModifier":1048576,"trCorner":2})";

/// That Mac's preferences once its corners are suppressed: the modifiers stay.
inline nlohmann::json suppressedPreferences() {
    nlohmann::json preferences = usersPreferences();
    for (const char* key :
         {"wvous-tl-corner", "wvous-tr-corner", "wvous-bl-corner", "wvous-br-corner"}) {
        preferences[key] = 1;
    }
    return preferences;
}

/// That Mac with its corners suppressed.
inline nlohmann::json suppressedMac() {
    return macWithCorners(suppressedPreferences(), suppressedCorners);
}

inline nlohmann::json preferences(const std::string& domain = theDock) {
    return simulator::machine()["preferences"].value(domain, nlohmann::json::object());
}

inline nlohmann::json liveCorners() {
    const nlohmann::json dock = simulator::machine()["dock"];
    return {dock["cornerActions"], dock["cornerModifiers"]};
}

// The lines of the calls that concern the corners.

inline std::string setsPreference(const std::string& key, std::optional<std::int64_t> value,
                                  const std::string& domain = theDock) {
    const nlohmann::json number = value ? nlohmann::json(*value) : nlohmann::json();
    const auto args = nlohmann::json::array(
        {key, number, domain, "kCFPreferencesCurrentUser", "kCFPreferencesAnyHost"});
    return callLine("CFPreferencesSetValue", args);
}

inline std::string synchronizes(bool success, const std::string& domain = theDock) {
    return callLine("CFPreferencesAppSynchronize", {domain}, success);
}

/// Without an object or user info, delivered immediately.
inline std::string posts(const std::string& notification) {
    return callLine("CFNotificationCenterPostNotification", {notification, nullptr, nullptr, true});
}

inline std::string setsCorner(std::int64_t action, std::int64_t corner, std::int64_t modifier) {
    return callLine("CoreDockSetExposeCornerActionWithModifier",
                    nlohmann::json::array({action, corner, modifier}), 0);
}

inline const std::string readsCorners = "CoreDockGetExposeCornerActionsWithModifiers []";

/// Synchronising, then both notifications, whether or not it succeeds.
inline Lines announces(bool success, const std::string& domain = theDock) {
    return {synchronizes(success, domain), posts("com.apple.dock.prefchanged"),
            posts("com.apple.dock.hotcorner.updated")};
}

inline Lines writesDisabledPreferences(const std::string& domain = theDock) {
    return {
        setsPreference("wvous-tl-corner", 1, domain), setsPreference("wvous-tr-corner", 1, domain),
        setsPreference("wvous-bl-corner", 1, domain), setsPreference("wvous-br-corner", 1, domain)};
}

inline Lines setsCorners(const nlohmann::json& corners) {
    Lines lines;
    for (std::size_t corner = 0; corner < 4; ++corner) {
        lines.push_back(
            setsCorner(corners[0][corner], static_cast<std::int64_t>(corner), corners[1][corner]));
    }
    return lines;
}

/// The calls of one suppression without any failure.
inline Lines suppresses() {
    return writesDisabledPreferences() + announces(true) + setsCorners(suppressedCorners) +
           Lines{readsCorners};
}

inline Lines writesUsersPreferences(const std::string& domain = theDock) {
    return {setsPreference("wvous-tl-corner", 5, domain),
            setsPreference("wvous-tl-modifier", 1048576, domain),
            setsPreference("wvous-tr-corner", 2, domain),
            setsPreference("wvous-tr-modifier", std::nullopt, domain),
            setsPreference("wvous-bl-corner", std::nullopt, domain),
            setsPreference("wvous-bl-modifier", 131072, domain),
            setsPreference("wvous-br-corner", 13, domain),
            setsPreference("wvous-br-modifier", 0, domain)};
}

/// The calls of one restore of usersSnapshot() without any failure.
inline Lines restores() {
    return writesUsersPreferences() + announces(true) + setsCorners(usersCorners) +
           Lines{readsCorners};
}

}  // namespace tolvaran::tests
