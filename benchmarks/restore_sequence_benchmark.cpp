// A whole restore run that finds nothing to put back: what the helper does on every safety tick of
// its life. On a simulated Mac, so that the window server's own time is left out.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <nlohmann/json.hpp>

#include "benchmarks/layouts.hpp"
#include "helper/restore_sequence.hpp"
#include "simulator/simulator.hpp"
#include "tests/support/simulated_process.hpp"

namespace tolvaran::benchmarks {
namespace {

/// Runs the sequence once. @return whether it associated the cursor and did nothing else
bool runsIdly() {
    runRestoreSequence("safety-tick", std::nullopt);
    return simulator::machine().at("cursorAssociated") == true && simulator::calls().size() == 1;
}

/// The helper's log also goes to standard error, where other benchmarks print their results.
class SilentStandardError {
  public:
    SilentStandardError() {
        const int nowhere = ::open("/dev/null", O_WRONLY);
        ::dup2(nowhere, STDERR_FILENO);
        ::close(nowhere);
    }
    ~SilentStandardError() {
        ::dup2(before_, STDERR_FILENO);
        ::close(before_);
    }
    SilentStandardError(const SilentStandardError&) = delete;
    SilentStandardError& operator=(const SilentStandardError&) = delete;

  private:
    int before_ = ::dup(STDERR_FILENO);
};

nlohmann::json macWithDisplays(int count) {
    nlohmann::json displays = nlohmann::json::array();
    for (const DisplayFrame& display : row(count)) {
        displays.push_back({{"id", display.displayID},
                            {"vendor", 1552},
                            {"model", 41234},
                            {"serial", 16843009 + display.displayID},
                            {"frame",
                             {display.frame.origin.x, display.frame.origin.y,
                              display.frame.size.width, display.frame.size.height}}});
    }
    return {{"displays", displays}, {"cursorAssociated", false}};
}

void idleRestoreSequence(benchmark::State& state) {
    // The simulator keeps every call, so it is reset now and then.
    constexpr std::int64_t runsBetweenResets = 10000;
    const SilentStandardError silent;
    const nlohmann::json mac = macWithDisplays(static_cast<int>(state.range(0)));
    const tests::HelperProcess process(mac);
    if (!runsIdly()) {
        state.SkipWithError("the sequence did not run as it should");
        return;
    }
    std::int64_t runs = 0;
    for (auto _ : state) {
        runRestoreSequence("safety-tick", std::nullopt);
        if (++runs % runsBetweenResets == 0) {
            state.PauseTiming();
            simulator::reset(mac);
            state.ResumeTiming();
        }
    }
}

BENCHMARK(idleRestoreSequence)->RangeMultiplier(2)->Range(1, 16)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace tolvaran::benchmarks
