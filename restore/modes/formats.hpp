// The display modes' records in JSON. Used by their store; not installed.
#pragma once

#include <tuple>

#include "restore/modes/display_mode_spec.hpp"
#include "restore/modes/resolution_originals_store.hpp"
#include "restore/support/json.hpp"

namespace tolvaran::json {

template <>
struct Format<DisplayModeSpec> {
    static constexpr auto fields = std::tuple(
        required("width", &DisplayModeSpec::width), required("height", &DisplayModeSpec::height),
        required("scaled", &DisplayModeSpec::scaled), required("hz", &DisplayModeSpec::hz));
};

template <>
struct Format<ResolutionOriginalsFile> {
    static constexpr auto fields =
        std::tuple(required("version", &ResolutionOriginalsFile::version),
                   required("entries", &ResolutionOriginalsFile::entries));
};

}  // namespace tolvaran::json
