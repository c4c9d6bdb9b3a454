// Naming a set of displays.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "restore/arrangement/zigzag.hpp"

namespace tolvaran::benchmarks {
namespace {

void signature(benchmark::State& state) {
    std::vector<std::string> ids;
    for (std::int64_t index = state.range(0); index > 0; --index) {
        ids.push_back("HW-1552-41234-" + std::to_string(16843009 + index));
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(Zigzag::signature(ids));
    }
}

BENCHMARK(signature)->RangeMultiplier(2)->Range(2, 16);

}  // namespace
}  // namespace tolvaran::benchmarks
