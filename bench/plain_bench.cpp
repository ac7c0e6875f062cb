// The plain forms of the stages and the fast forms that replace them, over the same input.
#include <benchmark/benchmark.h>
#include <vask/vask.h>

#include <algorithm>
#include <array>
#include <functional>

#include "benchmarks.h"
#include "dsp/fft.h"
#include "dsp/fft_512.h"
#include "epd/voicing_lags.h"
#include "epd/voicing_temporal.h"
#include "noise/convolution.h"
#include "noise/convolution_fast.h"
#include "noise/gain_design.h"
#include "noise/gsap.h"
#include "noise/gsap_fast.h"
#include "per_frame.h"
#include "signals.h"

namespace vask::bench {
namespace {

using Step = std::function<void(const Frame&)>;

void Run(benchmark::State& state, const Step& step) { PerFrameWithoutAllocation(state, Speech(), step); }

// The last 512 samples up to a frame, windowed as for the noise reduction.
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

void Transform(benchmark::State& state, bool plain) {
  fft_tables twiddles{};
  BuildTwiddles(twiddles, 9);
  Window window;
  Packed512 narrow;
  std::array<int64_t, 512> wide;
  Run(state, [&](const Frame& frame) {
    const Samples512& samples = window.Push(frame);
    if (plain) {
      std::copy(samples.begin(), samples.end(), wide.begin());
      RealFftFull(wide, 9, twiddles);
    } else {
      RealFft512(samples, twiddles, narrow);
    }
    benchmark::DoNotOptimize(plain ? static_cast<void*>(wide.data()) : narrow.data());
  });
  ReleaseTwiddles(twiddles, 9);
}

// Amplitudes of a steady noise with the frame added, one per bin.
template <size_t kCount>
std::array<int64_t, kCount> Amplitudes(const Frame& frame) {
  std::array<int64_t, kCount> amplitudes;
  for (size_t k = 0; k < kCount; ++k) amplitudes[k] = 500 + std::abs(frame[k]);
  return amplitudes;
}

void Gains(benchmark::State& state, bool plain) {
  std::array<int64_t, 129> noise{}, cleaned{};
  std::array<int32_t, 129> gain{};
  wiener_vad vad{};
  Run(state, [&](const Frame& frame) {
    auto current = Amplitudes<129>(frame);
    auto mean = current;
    vad.frame_count = std::min(vad.frame_count + 1, 1000);
    const GainSpectra spectra = {current, mean, noise, cleaned, gain};
    plain ? DesignGainPlain(spectra, vad) : DesignGain(spectra, vad);
    benchmark::DoNotOptimize(gain.data());
  });
}

void Ratios(benchmark::State& state, bool plain) {
  std::array<int64_t, 35> noise, clean{}, ratio;
  noise.fill(600);
  Run(state, [&](const Frame& frame) {
    const auto signal = Amplitudes<35>(frame);
    if (plain) {
      for (size_t b = 0; b < 35; ++b) ratio[b] = LikelihoodRatio(noise[b], signal[b], clean[b]);
    } else {
      LikelihoodRatios(noise, signal, clean.data(), ratio.data());
    }
    benchmark::DoNotOptimize(ratio.data());
  });
}

void Convolution(benchmark::State& state, bool plain) {
  Window window;
  std::array<int32_t, 25> taps;
  for (size_t t = 0; t < taps.size(); ++t) taps[t] = static_cast<int32_t>(t % 24) * 12345678;
  Frame out;
  Run(state, [&](const Frame& frame) {
    window.Push(frame);
    const int16_t* now = window.Last320().data() + 120;
    plain ? Convolve(now, now - kFrameLength, taps.data(), out, 12) : ConvolveFast(now, taps.data(), out, 12);
    benchmark::DoNotOptimize(out.data());
  });
}

void Lags(benchmark::State& state, bool plain) {
  Window window;
  std::array<int32_t, 320> x;
  Run(state, [&](const Frame& frame) {
    window.Push(frame);
    const auto samples = window.Last320();
    if (plain) {
      std::transform(samples.begin(), samples.end(), x.begin(), [](int16_t s) { return s * 65536; });
      benchmark::DoNotOptimize(YinVoicing(x, {kMinLag, kMaxLag}) + AmdfMinimum(x, {kMinLag, kMaxLag}) +
                               PeakValleyRatio(x, {kMinLag, kMaxLag}));
    } else {
      benchmark::DoNotOptimize(MeasureLags(samples));
    }
  });
}

}  // namespace

void RegisterPlain() {
  struct Pair {
    const char* name;
    void (*run)(benchmark::State&, bool plain);
  };
  constexpr Pair kPairs[] = {{kForms[0], Transform},
                             {kForms[1], Gains},
                             {kForms[2], Ratios},
                             {kForms[3], Convolution},
                             {kForms[4], Lags}};
  for (const Pair& pair : kPairs) {
    for (bool plain : {true, false}) {
      benchmark::RegisterBenchmark(FormName(pair.name, plain).c_str(), pair.run, plain)
          ->Unit(benchmark::kMicrosecond);
    }
  }
}

}  // namespace vask::bench
