// Streams compared with the engine alone: what positions, events and the queue add to the cost of a frame.
#include <benchmark/benchmark.h>

#include <array>
#include <utility>
#include <vask/stream.hpp>

#include "benchmarks.h"
#include "per_frame.h"
#include "signals.h"

namespace vask::bench {
namespace {

void Run(benchmark::State& state, Stream stream) {
  std::array<int16_t, 4096> room;
  PerFrameWithoutAllocation(state, Speech(), [&](const Frame& frame) {
    stream.Write(frame);
    while (stream.Next()) {
    }
    while (!stream.Read(room).empty()) {
    }
  });
}

void Streaming(benchmark::State& state, int mode) {
  StreamOptions options;
  options.mode = mode;
  Run(state, Stream(options));
}

void Hearing(benchmark::State& state, int audio) {
  StreamSetup setup;
  setup.options.audio = audio;
  Run(state, Stream(setup));
}

}  // namespace

void RegisterStreams() {
  for (int mode : kEngineModes) {
    benchmark::RegisterBenchmark(("stream/mode_" + std::to_string(mode)).c_str(), Streaming, mode)
        ->Unit(benchmark::kMicrosecond);
  }
  for (const auto& [name, audio] : {std::pair(kListOnly, VASK_STREAM_NO_AUDIO),
                                    {"stream/learned/raw", VASK_STREAM_RAW},
                                    {"stream/learned/clean", VASK_STREAM_CLEAN},
                                    {"stream/learned/listening", VASK_STREAM_LISTENING}}) {
    benchmark::RegisterBenchmark(name, Hearing, audio)->Unit(benchmark::kMicrosecond);
  }
}

}  // namespace vask::bench
