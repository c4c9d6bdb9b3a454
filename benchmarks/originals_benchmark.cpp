// Reads the saved arrangements, from the file to the checked records, and for comparison parses the
// same bytes with the JSON library into its own tree, with exact doubles and the UTF-8 checked, as
// records need them.
#include <benchmark/benchmark.h>
#include <rapidjson/document.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
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

/// A saved store in a directory of its own, which is removed with it.
class SavedStore {
  public:
    explicit SavedStore(const OriginalsFile& file) {
        std::string name = (std::filesystem::temp_directory_path() / "tolvaran-XXXXXX").string();
        directory_ = ::mkdtemp(name.data());
        OriginalsStore::save(file, path());
    }
    ~SavedStore() { std::filesystem::remove_all(directory_); }
    SavedStore(const SavedStore&) = delete;
    SavedStore& operator=(const SavedStore&) = delete;

    std::string path() const { return directory_ / ".display-originals"; }
    std::int64_t size() const {
        return static_cast<std::int64_t>(std::filesystem::file_size(path()));
    }

  private:
    std::filesystem::path directory_;
};

void loadOriginals(benchmark::State& state) {
    const OriginalsFile stored = storeOf(state.range(0));
    const SavedStore store(stored);
    if (OriginalsStore::load(store.path()) != stored) {
        state.SkipWithError("the store was not read as it was written");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(OriginalsStore::load(store.path()));
    }
    state.SetBytesProcessed(state.iterations() * store.size());
}

void parseOriginals(benchmark::State& state) {
    const SavedStore store(storeOf(state.range(0)));
    constexpr unsigned flags =
        rapidjson::kParseFullPrecisionFlag | rapidjson::kParseValidateEncodingFlag;
    std::string text(static_cast<std::size_t>(store.size()), '\0');
    for (auto _ : state) {
        std::ifstream(store.path(), std::ios::binary).read(text.data(), store.size());
        rapidjson::Document document;
        if (document.Parse<flags>(text.c_str(), text.size()).HasParseError()) {
            state.SkipWithError("the store is not JSON");
        }
    }
    state.SetBytesProcessed(state.iterations() * store.size());
}

BENCHMARK(loadOriginals)->RangeMultiplier(10)->Range(1, 10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(parseOriginals)->RangeMultiplier(10)->Range(1, 10000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace tolvaran::benchmarks
