// The menu bar's snapshot in JSON. Used by its file; not installed.
#pragma once

#include <tuple>

#include "restore/menubar/menu_bar_snapshot.hpp"
#include "restore/support/json.hpp"

namespace tolvaran::json {

template <>
struct Format<MenuBarDisplayVisibilityOverride> {
    using Record = MenuBarDisplayVisibilityOverride;
    static constexpr auto fields = std::tuple(
        required("canonicalID", &Record::canonicalID), optional("hardwareID", &Record::hardwareID),
        required("portUUID", &Record::portUUID), required("enabled", &Record::enabled));
};

template <>
struct Format<MenuBarAutohideSnapshot> {
    using Record = MenuBarAutohideSnapshot;
    static constexpr auto fields =
        std::tuple(optional("hideMenuBar", &Record::hideMenuBar),
                   optional("visibleInFullscreen", &Record::visibleInFullscreen),
                   optional("displayVisibilityOverrides", &Record::displayVisibilityOverrides),
                   optional("globalRestored", &Record::globalRestored),
                   optional("pendingOnly", &Record::pendingOnly));
};

}  // namespace tolvaran::json
