// Streams compared with the engine alone: what positions, events and the queue add to the cost of a frame.
#include <benchmark/benchmark.h>

#include <array>
#include <vask/stream.hpp>

#include "benchmarks.h"
#include "per_frame.h"
#include "signals.h"

namespace vask::bench {
namespace {

void Streaming(benchmark::State& state, int mode) {
  StreamOptions options;
  options.mode = mode;
  Stream stream(options);
  std::array<int16_t, 4096> room;
  PerFrameWithoutAllocation(state, Speech(), [&](const Frame& frame) {
    stream.Write(frame);
    while (stream.Next()) {
    }
    while (!stream.Read(room).empty()) {
    }
  });
}

}  // namespace

void RegisterStreams() {
  for (int mode : kEngineModes) {
    benchmark::RegisterBenchmark(("stream/mode_" + std::to_string(mode)).c_str(), Streaming, mode)
        ->Unit(benchmark::kMicrosecond);
  }
}

}  // namespace vask::bench
