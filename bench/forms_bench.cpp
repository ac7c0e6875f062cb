// The forms of the stages at every level of the machine, over the same input.
#include <benchmark/benchmark.h>
#include <vask/vask.h>

#include <algorithm>
#include <array>
#include <functional>

#include "benchmarks.h"
#include "dsp/fft.h"
#include "dsp/power_spectrum.h"
#include "epd/voicing_lags.h"
#include "gate/analysis.h"
#include "gate/net.h"
#include "noise/convolution_fast.h"
#include "noise/gain_design.h"
#include "noise/gsap_fast.h"
#include "per_frame.h"
#include "signals.h"

namespace vask::bench {
namespace {

using Step = std::function<void(const Frame&)>;

void Run(benchmark::State& state, const Step& step) { PerFrameWithoutAllocation(state, Speech(), step); }

// The 400 samples that end with a frame, then zeros, at about the scale of the noise reduction's window.
class Window {
 public:
  const Samples512& Push(const Frame& frame) {
    std::copy(history_.begin() + kFrameLength, history_.begin() + 400, history_.begin());
    std::copy(frame.begin(), frame.end(), history_.begin() + 400 - kFrameLength);
    std::transform(history_.begin(), history_.end(), samples_.begin(), [](int16_t s) { return s * 512; });
    return samples_;
  }
  std::span<const int16_t> Last320() const { return std::span(history_).subspan(80, 320); }

 private:
  std::array<int16_t, 512> history_{};
  Samples512 samples_{};
};

void Transform(benchmark::State& state) {
  fft_tables twiddles{};
  BuildTwiddles(twiddles, kFftOrder);
  Window window;
  std::array<int64_t, kFftSize> power;
  Run(state, [&](const Frame& frame) {
    PowerOfWindow(window.Push(frame), 10, twiddles, power);
    benchmark::DoNotOptimize(power.data());
  });
  ReleaseTwiddles(twiddles, kFftOrder);
}

// Amplitudes of a steady noise with the frame added, one per bin.
template <size_t kCount>
std::array<int64_t, kCount> Amplitudes(const Frame& frame) {
  std::array<int64_t, kCount> amplitudes;
  for (size_t k = 0; k < kCount; ++k) amplitudes[k] = 500 + std::abs(frame[k]);
  return amplitudes;
}

void Gains(benchmark::State& state) {
  std::array<int64_t, 129> noise{}, cleaned{};
  std::array<int32_t, 129> gain{};
  wiener_vad vad{};
  Run(state, [&](const Frame& frame) {
    auto current = Amplitudes<129>(frame);
    auto mean = current;
    vad.frame_count = std::min(vad.frame_count + 1, 1000);
    DesignGain({current, mean, noise, cleaned, gain}, vad);
    benchmark::DoNotOptimize(gain.data());
  });
}

void Ratios(benchmark::State& state) {
  std::array<int64_t, 35> noise, clean{}, ratio;
  noise.fill(600);
  Run(state, [&](const Frame& frame) {
    const auto signal = Amplitudes<35>(frame);
    LikelihoodRatios(noise, signal, clean.data(), ratio.data());
    benchmark::DoNotOptimize(ratio.data());
  });
}

void Convolution(benchmark::State& state) {
  Window window;
  std::array<int32_t, 25> taps;
  for (size_t t = 0; t < taps.size(); ++t) taps[t] = static_cast<int32_t>(t % 24) * 12345678;
  Frame out;
  Run(state, [&](const Frame& frame) {
    window.Push(frame);
    ConvolveAdjacent(window.Last320().data() + kFrameLength, taps.data(), out, 12);
    benchmark::DoNotOptimize(out.data());
  });
}

void Lags(benchmark::State& state) {
  Window window;
  Run(state, [&](const Frame& frame) {
    window.Push(frame);
    benchmark::DoNotOptimize(MeasureLags(window.Last320()));
  });
}

void RunAt(benchmark::State& state, Level level, void (*run)(benchmark::State&)) {
  const Level before = LevelInForce();
  ForceLevel(level);
  run(state);
  ForceLevel(before);
}

// Half a step of 20 ms is a frame's share: every second frame runs the net.
void NeuralNet(benchmark::State& state) {
  const Model* const model = BuiltInModel();
  if (model == nullptr) return state.SkipWithError("no model is built in");
  Net net;
  net.Open(*model);
  GateInputs inputs{};
  std::array<int16_t, kNetOutputs> probabilities{};
  int64_t t = 0;
  Run(state, [&](const Frame& frame) {
    if (++t % 2 == 0) return;
    std::transform(frame.begin(), frame.begin() + kGateInputs, inputs.begin(),
                   [](int16_t sample) { return static_cast<int16_t>(2000 + sample / 16); });
    net.Step(inputs, probabilities);
    benchmark::DoNotOptimize(probabilities.data());
  });
}

void LogMelAnalysis(benchmark::State& state) {
  Analysis analysis;
  if (!analysis.Open()) return state.SkipWithError("no memory");
  Run(state, [&](const Frame& frame) {
    benchmark::DoNotOptimize(analysis.Hear(std::span(frame).first<kFrameLength>()));
  });
  analysis.Close();
}

}  // namespace

void RegisterForms() {
  constexpr void (*kRuns[])(benchmark::State&) = {Transform, Gains,          Ratios,   Convolution,
                                                  Lags,      LogMelAnalysis, NeuralNet};
  static_assert(std::size(kRuns) == std::size(kForms));
  for (size_t i = 0; i < std::size(kRuns); ++i) {
    for (const Level level : LevelsHere()) {
      benchmark::RegisterBenchmark(FormName(kForms[i], level).c_str(), RunAt, level, kRuns[i])
          ->Unit(benchmark::kMicrosecond);
    }
  }
}

}  // namespace vask::bench
