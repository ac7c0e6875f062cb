// The front end: its start-up, and the time per frame by the size of the pieces in which the caller passes
// the speech.
#include <benchmark/benchmark.h>
#include <vask/vask.h>

#include <algorithm>
#include <vector>

#include "allocations.h"
#include "benchmarks.h"
#include "per_frame.h"
#include "quiet.h"
#include "signals.h"

namespace vask::bench {
namespace {

constexpr int32_t kRoom = 160000;  // samples that the front end takes between two resets

void StartUp(benchmark::State& state) {
  const Quiet quiet;
  for (auto _ : state) {
    android_init_frontend(".", 2);
    android_stop_frontend();
  }
}

void Pieces(benchmark::State& state, int32_t size) {
  const Quiet quiet;
  std::vector<int16_t> speech, out(kRoom);
  for (const Frame& frame : Speech()) speech.insert(speech.end(), frame.begin(), frame.end());
  speech.resize(std::min<size_t>(speech.size(), kRoom));
  android_init_frontend(".", 1);
  const auto total = static_cast<int32_t>(speech.size());
  while (state.KeepRunningBatch(total / kFrameLength)) {
    for (int32_t at = 0; at < total; at += size)
      android_process_frame(std::min(size, total - at), &speech[static_cast<size_t>(at)]);
    android_get_frames(kRoom, out.data());
    android_reset_frontend();
  }
  android_stop_frontend();
}

}  // namespace

void RegisterFrontEnd() {
  benchmark::RegisterBenchmark("frontend/start_up_and_stop", StartUp)->Unit(benchmark::kMicrosecond);
  for (int32_t size : {1, 16, 80, 160, 161, 1000, 4096, 16000}) {
    benchmark::RegisterBenchmark(("frontend/pieces_of_" + std::to_string(size)).c_str(), Pieces, size)
        ->Unit(benchmark::kMicrosecond);
  }
}

}  // namespace vask::bench
