// Recognising zigzag layouts, which every restore run does at least once.
#include <benchmark/benchmark.h>

#include <vector>

#include "benchmarks/layouts.hpp"
#include "restore/arrangement/zigzag.hpp"

namespace tolvaran::benchmarks {
namespace {

using Layout = std::vector<DisplayFrame> (*)(int count);
using Test = bool (*)(const std::vector<DisplayFrame>& displays);

/// One test of one layout, with as many displays as the range says. A wrong answer is an error, so
/// that only correct code is measured.
void recognise(benchmark::State& state, Test test, Layout layout, bool expected) {
    const std::vector<DisplayFrame> displays = layout(static_cast<int>(state.range(0)));
    if (test(displays) != expected) {
        state.SkipWithError("wrong answer");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(test(displays));
    }
}

BENCHMARK_CAPTURE(recognise, zigzagInRow, Zigzag::isZigzag, row, false)
    ->RangeMultiplier(2)
    ->Range(2, 16);
BENCHMARK_CAPTURE(recognise, zigzagInGrid, Zigzag::isZigzag, grid, false)
    ->RangeMultiplier(2)
    ->Range(2, 16);
BENCHMARK_CAPTURE(recognise, zigzagInStaircase, Zigzag::isZigzag, staircase, true)
    ->RangeMultiplier(2)
    ->Range(2, 16);
BENCHMARK_CAPTURE(recognise, fullZigzagInStaircase, Zigzag::isFullZigzag, staircase, true)
    ->RangeMultiplier(2)
    ->Range(2, 16);

}  // namespace
}  // namespace tolvaran::benchmarks
