// A repair whose file holds far more arrangements than any user has, as a damaged one may, and for
// comparison only reading that file. On a simulated Mac.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "restore/arrangement/arrangement_repair.hpp"
#include "restore/arrangement/originals_store.hpp"
#include "restore/paths/restore_log.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/arrangement_check.hpp"

namespace tolvaran::benchmarks {
namespace {

constexpr int displayCount = 16;  // as many as can be active

/// A staircase, which every repair tries to end.
tests::Places staircase() {
    tests::Places places;
    for (int i = 0; i < displayCount; ++i) {
        places.push_back({i + 1, i * 100, i * 100});
    }
    return places;
}

/// That many arrangements, each of them a staircase.
nlohmann::json staircases(std::int64_t count) {
    nlohmann::json saved = nlohmann::json::object();
    for (std::int64_t i = 0; i < count; ++i) {
        saved["a" + std::to_string(i)] = tests::entries(staircase());
    }
    return saved;
}

/// A helper on a Mac whose displays form a staircase, as they do in each of its many arrangements.
class DamagedMac {
  public:
    explicit DamagedMac(std::int64_t arrangements) : check_(staircase(), staircases(arrangements)) {
        // The row is refused as well, so that every repair finds what the first one found.
        simulator::addFault({{"call", "CGCompleteDisplayConfiguration"}, {"result", 1000}});
        RestoreLog::silence();
    }

  private:
    tests::ArrangementCheck check_;
};

void repairDamaged(benchmark::State& state) {
    const DamagedMac mac(state.range(0));
    const CheckLog drop = [](const std::string& /*level*/, const std::string& /*message*/) {};
    for (auto _ : state) {
        repairArrangement(readHardware(), drop);
    }
}

void loadDamaged(benchmark::State& state) {
    const DamagedMac mac(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(OriginalsStore::load(OriginalsStore::defaultPath()));
    }
}

BENCHMARK(repairDamaged)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(loadDamaged)->Arg(10000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace tolvaran::benchmarks
