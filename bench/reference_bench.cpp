// For comparison, over the same material: the preprocessor of SpeexDSP with noise reduction and voice
// activity detection.
#include <benchmark/benchmark.h>
#include <speex/speex_preprocess.h>

#include "benchmarks.h"
#include "per_frame.h"
#include "quiet.h"
#include "signals.h"

namespace vask::bench {
namespace {

constexpr int kRate = 16000;  // Hz

void Reference(benchmark::State& state, const Signal& signal) {
  const Quiet quiet;
  SpeexPreprocessState* const preprocessor = speex_preprocess_state_init(kFrameLength, kRate);
  if (preprocessor == nullptr) return state.SkipWithError("SpeexDSP cannot be set up");
  int on = 1;
  speex_preprocess_ctl(preprocessor, SPEEX_PREPROCESS_SET_DENOISE, &on);
  speex_preprocess_ctl(preprocessor, SPEEX_PREPROCESS_SET_VAD, &on);
  PerFrame(state, signal, [&](const Frame& frame) {
    Frame processed = frame;
    benchmark::DoNotOptimize(speex_preprocess_run(preprocessor, processed.data()));
    benchmark::DoNotOptimize(processed.data());
  });
  speex_preprocess_state_destroy(preprocessor);
}

}  // namespace

void RegisterReference() {
  for (const Material& material : Materials()) {
    const auto run = [&material](benchmark::State& state) { Reference(state, material.signal); };
    benchmark::RegisterBenchmark(ReferenceName(material.name).c_str(), run)->Unit(benchmark::kMicrosecond);
  }
}

}  // namespace vask::bench
