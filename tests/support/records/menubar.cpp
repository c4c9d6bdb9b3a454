// The record of the menu bar.
#include <algorithm>

#include "restore/menubar/formats.hpp"
#include "restore/tolvaran_restore.hpp"
#include "tests/support/records/checks.hpp"
#include "tests/support/records/rows.hpp"

namespace tolvaran::tests {
namespace {

using nlohmann::json;
using namespace checks;

bool isOverride(const json& value) {
    return has(value, "canonicalID", isText) && mayHave(value, "hardwareID", isText) &&
           has(value, "portUUID", isText) && has(value, "enabled", isFlag);
}

bool isMenuBarSnapshot(const json& value) {
    return mayHave(value, "hideMenuBar", isInteger) &&
           mayHave(value, "visibleInFullscreen", isInteger) &&
           mayHave(value, "displayVisibilityOverrides", isListOf<isOverride>) &&
           mayHave(value, "globalRestored", isFlag) && mayHave(value, "pendingOnly", isFlag);
}

/// The global preferences of the menu bar, and what the menu bar does.
json globals(const json& mac) {
    const json preferences = member(mac.at("preferences"), "global");
    return {member(preferences, "_HIHideMenuBar"),
            member(preferences, "AppleMenuBarVisibleInFullscreen"),
            mac.at("menuBar").at("autoHide")};
}

bool globalsAreInForce(const json& snapshot, const Moment& moment) {
    const auto stored = [&](const char* key) {
        const json value = member(snapshot, key);
        return value.is_null() ? value : json(value != 0);
    };
    const json hide = stored("hideMenuBar");
    const json wanted{hide, stored("visibleInFullscreen"), hide == true};
    return globals(moment.mac) == wanted ||
           (!moment.alsoRight.is_null() && globals(moment.mac) == globals(moment.alsoRight));
}

bool isSettledGlobally(const json& snapshot) {
    return member(snapshot, "globalRestored") == true || member(snapshot, "pendingOnly") == true;
}

bool overrideIsInForce(const json& record, const Moment& moment) {
    return anyDisplay(moment, [&](const json& display) {
        return display.at("menuBarOverride") == record.at("enabled");
    });
}

bool mayBeOfOneDisplay(const json& one, const json& other, const Moment& moment) {
    const auto isShared = [&](const char* key) {
        return !member(one, key).is_null() && member(one, key) == member(other, key);
    };
    return moment.namesMayFold || isShared("canonicalID") || isShared("hardwareID") ||
           isShared("portUUID");
}

/// Only one of several records for one display is in force.
bool overrideMayGo(const json& record, const json& all, const Moment& moment) {
    return overrideIsInForce(record, moment) ||
           std::any_of(all.begin(), all.end(), [&](const json& other) {
               return other != record && mayBeOfOneDisplay(record, other, moment) &&
                      overrideIsInForce(other, moment);
           });
}

bool menuBarMayBecome(const json& before, const json& after, const Moment& moment) {
    const bool settles =
        !isSettledGlobally(before) && (after.is_null() || isSettledGlobally(after));
    if (settles && !globalsAreInForce(before, moment)) {
        return false;
    }
    const json records = member(before, "displayVisibilityOverrides");
    if (!after.is_null()) {
        return records == member(after, "displayVisibilityOverrides") &&
               member(before, "hideMenuBar") == member(after, "hideMenuBar") &&
               member(before, "visibleInFullscreen") == member(after, "visibleInFullscreen");
    }
    return std::all_of(records.begin(), records.end(),
                       [&](const json& record) { return overrideMayGo(record, records, moment); });
}

const std::vector<Loss> menuBarLosses = {
    {{"open", "fstat", "read", "unlink", "mkostemp", "write", "fsync", "rename", "stat", "mkdir",
      "CGSMainConnectionID", "CGSSetMenuBarAutohideEnabled", "CFPreferencesSynchronize",
      "CFDictionaryCreate", "CFStringCreateWithBytes"},
     "(State|State/menubar-state\\.json)?",
     "mac/(preferences/global/(_HIHideMenuBar|AppleMenuBarVisibleInFullscreen)|menuBar/autoHide)",
     "what the user changes while a restore has yet to succeed gives way to the snapshot"},
    {{"SLSGetMenuBarVisibilityOverrideOnDisplay"},
     "",
     "record|mac/displays/[0-9]+/menuBarOverride",
     "an override that reads as it should counts as put back"},
    {{"CFPreferencesSetValue"},
     "",
     "record|mac/preferences/.*",
     "a preference that was set is not read back; synchronising tells whether it was stored"},
};

const std::vector<FailureLine> menuBarLines = {
    {{"CGSSetMenuBarAutohideEnabled"}, "", "warn: CGSSetMenuBarAutohideEnabled returned CODE"},
    {{"CFPreferencesSynchronize"},
     "",
     "warn: CFPreferencesSynchronize returned false for menu bar prefs"},
    {{"SLSGetMenuBarAutohideEnabled"}, "", "warn: SLSGetMenuBarAutohideEnabled returned CODE"},
    {{"SLSSetMenuBarVisibilityOverrideOnDisplay"},
     "",
     "warn: SLSSetMenuBarVisibilityOverrideOnDisplay returned CODE for display .*"},
    {{"dlopen"}, "SkyLight", "warn: Per-display menu bar API is unavailable on this macOS build"},
    {{"dlsym"},
     "CGSMainConnectionID|SLS(Get|Set).*|SLSCopyManagedDisplaySpaces",
     "warn: Per-display menu bar API is unavailable on this macOS build"},
};

Record menuBar() {
    return {
        .path = "State/menubar-state.json",
        .name = "menu bar snapshot",
        .isUsable = isMenuBarSnapshot,
        .fate = Fate::kept,
        .unusableLine = "warn: menu bar snapshot at State/menubar-state.json failed to decode: ",
        .places = "mac/(preferences/global.*|menuBar/autoHide|displays/[0-9]+/menuBarOverride)",
        .example = R"({"displayVisibilityOverrides":[{)"
                   R"("canonicalID":"HW-1552-41040-4251086178","enabled":true,)"
                   R"("hardwareID":"HW-1552-41040-4251086178",)"
                   R"("portUUID":"37D8832A-2D66-02CA-B9F7-8F30A301B230"}],)"
                   R"("globalRestored":false,"hideMenuBar":0,"pendingOnly":false,)"
                   R"("visibleInFullscreen":1})",
        .mayBecome = menuBarMayBecome,
        .isRewritten = true,
        .notWritten = "warn: Failed to write menu bar snapshot: .*",
        .notRemoved = "warn: menu bar snapshot at .* could not be deleted: .*",
        .lines = menuBarLines,
        .losses = menuBarLosses,
        .changes = {
            [](const auto& path) { MenuBarAutohide::saveSnapshot({.hideMenuBar = 0}, path); },
            [](const auto& path) {
                MenuBarAutohide::saveSnapshot({.hideMenuBar = 0, .pendingOnly = true}, path);
            },
            [](const auto& path) { MenuBarAutohide::deleteSnapshot(path); }},
        .read = [](const auto& path) { return textOf(MenuBarAutohide::loadSnapshot(path)); }};
}

}  // namespace

std::vector<Record> menuBarRecords() {
    return {menuBar()};
}

}  // namespace tolvaran::tests
