// The arrangements' records in JSON. Used by their stores; not installed.
#pragma once

#include <tuple>

#include "restore/arrangement/alias_map.hpp"
#include "restore/arrangement/originals_store.hpp"
#include "restore/arrangement/set_marks.hpp"
#include "restore/support/json.hpp"

namespace tolvaran::json {

template <>
struct Format<AliasMap::Entry> {
    static constexpr auto fields = std::tuple(required("ids", &AliasMap::Entry::ids));
};

template <>
struct Format<AliasMap> {
    static constexpr auto fields = std::tuple(optional("knownDisplays", &AliasMap::entries));
};

template <>
struct Format<OriginalsEntry> {
    static constexpr auto fields =
        std::tuple(required("uuid", &OriginalsEntry::uuid), required("x", &OriginalsEntry::x),
                   required("y", &OriginalsEntry::y));
};

template <>
struct Format<OriginalsFile> {
    static constexpr auto fields =
        std::tuple(required("version", &OriginalsFile::version),
                   required("arrangements", &OriginalsFile::arrangements));
};

template <>
struct Format<SeparatedSetsFile> {
    static constexpr auto fields =
        std::tuple(required("version", &SeparatedSetsFile::version),
                   required("signatures", &SeparatedSetsFile::signatures));
};

template <std::int64_t currentVersion>
struct Format<LayoutSetsFile<currentVersion>> {
    static constexpr auto fields =
        std::tuple(required("version", &LayoutSetsFile<currentVersion>::version),
                   required("arrangements", &LayoutSetsFile<currentVersion>::arrangements));
};

}  // namespace tolvaran::json
