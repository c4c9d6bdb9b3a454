// Reading the saved arrangements, from the file to the checked records.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "restore/arrangement/originals_store.hpp"
#include "restore/arrangement/zigzag.hpp"

namespace tolvaran::benchmarks {
namespace {

constexpr int displaysPerArrangement = 4;

/// A store with this many arrangements of four displays each.
OriginalsFile storeOf(std::int64_t arrangements) {
    OriginalsFile file;
    for (std::int64_t arrangement = 0; arrangement < arrangements; ++arrangement) {
        std::vector<OriginalsEntry> entries;
        std::vector<std::string> ids;
        for (int display = 0; display < displaysPerArrangement; ++display) {
            const std::string id = "HW-1552-" + std::to_string(40000 + display) + "-" +
                                   std::to_string(16843009 + arrangement);
            ids.push_back(id);
            entries.push_back({.uuid = id, .x = 1920.0 * display, .y = -0.5 * display});
        }
        file.arrangements[Zigzag::signature(ids)] = entries;
    }
    return file;
}

void loadOriginals(benchmark::State& state) {
    std::string name = (std::filesystem::temp_directory_path() / "tolvaran-XXXXXX").string();
    const std::filesystem::path directory = ::mkdtemp(name.data());
    const std::string path = directory / ".display-originals";
    const OriginalsFile stored = storeOf(state.range(0));
    OriginalsStore::save(stored, path);
    if (OriginalsStore::load(path) != stored) {
        state.SkipWithError("the store was not read as it was written");
    } else {
        for (auto _ : state) {
            benchmark::DoNotOptimize(OriginalsStore::load(path));
        }
        state.SetBytesProcessed(state.iterations() *
                                static_cast<std::int64_t>(std::filesystem::file_size(path)));
    }
    std::filesystem::remove_all(directory);
}

BENCHMARK(loadOriginals)->RangeMultiplier(10)->Range(1, 10000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace tolvaran::benchmarks
