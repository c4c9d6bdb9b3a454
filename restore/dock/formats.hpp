// The Dock's records in JSON. Used by their files; not installed.
#pragma once

#include <tuple>

#include "restore/dock/dock_auto_hide_override.hpp"
#include "restore/dock/dock_hot_corner_snapshot.hpp"
#include "restore/support/json.hpp"

namespace tolvaran::json {

template <>
struct Format<DockAutoHideOverride::Snapshot> {
    using Record = DockAutoHideOverride::Snapshot;
    static constexpr auto fields = std::tuple(required("version", &Record::version),
                                              required("restoreTo", &Record::restoreTo));
};

template <>
struct Format<DockHotCornerSnapshot> {
    using Record = DockHotCornerSnapshot;
    static constexpr auto fields = std::apply(
        [](const auto&... corners) {
            return std::tuple(optional(corners.key, corners.member)...,
                              optional("liveActions", &Record::liveActions),
                              optional("liveModifiers", &Record::liveModifiers));
        },
        hotCornerFields);

    /// @throws DecodingError: a key and "hot-corner snapshot contains a value outside the Int32
    ///         range" or "live hot-corner actions and modifiers must be paired four-element Int32
    ///         arrays"
    static void checkRead(const Record& record);
    /// @throws EncodingError: the first of these texts, whatever is wrong
    static void checkWritten(const Record& record);
};

}  // namespace tolvaran::json
