// The whole engine: the time of a 10 ms frame in modes 1 and 2.
#include <benchmark/benchmark.h>
#include <vask/vask.h>

#include <vector>

#include "benchmarks.h"
#include "per_frame.h"
#include "quiet.h"
#include "signals.h"

namespace vask::bench {
namespace {

constexpr size_t kMaxOutput = 88 * 160;  // samples that one frame may return

// Driven as by the front end: in mode 2 the end of an utterance (1) and a restart (2) wrap up the engine.
void Engine(benchmark::State& state, int mode, const Signal& signal) {
  const Quiet quiet;
  if (Vask_epd_init(".", mode) != 1) return state.SkipWithError("the engine cannot be set up");
  const auto process = mode == 1 ? Vask_epd_speechenhance : Vask_epd_frames;
  std::vector<int16_t> out(kMaxOutput);
  int32_t count = 0;
  Vask_epd_wrapup(out.data(), &count);
  PerFrameWithoutAllocation(state, signal, [&](const Frame& frame) {
    Frame clipped = frame;  // clipped in place by the call
    const int32_t result = process(clipped.data(), kFrameLength, out.data(), &count);
    if (mode == 2 && (result == 1 || result == 2)) Vask_epd_wrapup(out.data(), &count);
    benchmark::DoNotOptimize(out.data());
  });
  Vask_epd_stop();
}

}  // namespace

void RegisterEngine() {
  for (int mode : kEngineModes) {
    for (const Material& material : Materials()) {
      const auto run = [mode, &material](benchmark::State& state) { Engine(state, mode, material.signal); };
      benchmark::RegisterBenchmark(EngineName(mode, material.name).c_str(), run)
          ->Unit(benchmark::kMicrosecond);
    }
  }
}

}  // namespace vask::bench
