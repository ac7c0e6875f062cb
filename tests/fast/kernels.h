// Runs any kernel, or the step that it is part of, on an input, and collects its values.
#pragma once

#include <vask/epd.h>
#include <vask/voicing.h>

#include <algorithm>
#include <array>
#include <bit>

#include "dsp/arith.h"
#include "dsp/exponential.h"
#include "dsp/fft.h"
#include "dsp/fft_512.h"
#include "dsp/filters.h"
#include "dsp/float_fft.h"
#include "dsp/kernel.h"
#include "dsp/power_spectrum.h"
#include "dsp/square_root.h"
#include "dsp/windowing.h"
#include "epd/detector_window.h"
#include "epd/energy.h"
#include "epd/voicing_crossings.h"
#include "epd/voicing_lags.h"
#include "epd/voicing_spectral.h"
#include "epd/voicing_temporal.h"
#include "gate/activation.h"
#include "gate/matrix.h"
#include "listening/gains.h"
#include "listening/noise_floor.h"
#include "listening/overlap.h"
#include "noise/convolution_fast.h"
#include "noise/gain_design.h"
#include "noise/gsap_fast.h"
#include "noise/mel_bank.h"
#include "noise/mel_idct.h"
#include "noise/wiener_filter.h"
#include "resample/resampler.h"
#include "support/inputs.h"

namespace vask::kernels {

inline constexpr size_t kInput = 640;  // samples
using Outputs = std::vector<int64_t>;
using Input = std::span<const int16_t>;

template <typename Range>
inline void Append(Outputs& outputs, const Range& values) {
  outputs.insert(outputs.end(), std::begin(values), std::end(values));
}

template <typename T>
inline std::vector<T> Shifted(Input x, int bits) {
  std::vector<T> values;
  for (const int16_t s : x) values.push_back(static_cast<T>(int64_t{s} * (int64_t{1} << bits)));
  return values;
}

inline std::vector<int64_t> Amplitudes(Input x, int bits) {
  std::vector<int64_t> values = Shifted<int64_t>(x, bits);
  for (int64_t& v : values) v = std::abs(v) + 1;
  return values;
}

// Any Q30 values up to 1, half of them small; the same for every call.
inline uint32_t factors_seed = 9;
inline std::vector<int32_t> Factors(size_t n) {
  std::mt19937 random(factors_seed);
  std::vector<int32_t> factors(n);
  for (int32_t& f : factors)
    f = (static_cast<int32_t>(random()) >> 1) >> (random() % 2 == 0 ? 0 : random() % 30);
  return factors;
}

inline Samples512 WindowOf(Input x, int bits) {
  Samples512 window;
  const auto values = Shifted<int32_t>(x.first(window.size()), bits);
  std::copy(values.begin(), values.end(), window.begin());
  return window;
}

inline void OfSquareRoots(Input x, Outputs& out) {
  for (const int bits : {0, 7, 15, 29, 36, 47}) {
    std::vector<int64_t> values = Shifted<int64_t>(x, bits), roots(x.size());
    Roots(std::span(values).first(x.size() - 1), roots.data());  // not a whole number of vectors
    Append(out, roots);
    for (const int64_t v : values) Append(out, std::array{Root(v), RootQ8(v), int64_t{RootQ16(Low32(v))}});
  }
}

inline void OfTransforms(Input x, Outputs& out) {
  for (int32_t order = 2; order <= kFftOrder; ++order) {
    for (const int bits : {0, 6, 15, 20, 46}) {  // in 32 bits, in 64, and where sums wrap
      auto values = Shifted<int64_t>(x.first(size_t{1} << order), bits);
      RealFft(values, order, test::Twiddles());
      Append(out, values);
    }
  }
}

inline void OfPowers(Input x, Outputs& out) {
  for (const int bits : {0, 5, 9, 12, 15}) {
    const Samples512 window = WindowOf(x, bits);
    Packed512 packed{};
    std::array<int64_t, kFftSize> power;
    out.push_back(IsNarrow(window));
    if (out.back() == 1) {
      RealFft512(window, test::Twiddles(), packed);
      out.insert(out.end(), packed.begin(), packed.begin() + kFftSize);
    }
    std::copy(window.begin(), window.end(), packed.begin());
    for (const int32_t shift : {1, 10}) {
      PowerOf512(packed, shift, power.data());
      Append(out, std::span(power).first(kSpectrumBins));
      PowerOfWindow(window, shift, test::Twiddles(), power);
      Append(out, std::span(power).first(kSpectrumBins));
    }
  }
}

inline void OfEmphasis(Input x, Outputs& out) {
  pre_emph_filt filter;
  ClearPreEmphasis(filter);
  std::vector<int32_t> emphasized(x.size());
  for (int round = 0; round < 2; ++round) Emphasize(filter, x, emphasized.data());
  Append(out, emphasized);
}

inline void OfWindows(Input x, Outputs& out) {
  const std::vector<int32_t> factors = Factors(kInput);
  Samples512 window;
  for (const size_t n : {size_t{400}, size_t{512}, size_t{33}}) {
    WindowQ10(x.data(), std::span(factors).first(n), window);
    Append(out, window);
  }
}

inline void OfSmoothing(Input x, Outputs& out) {
  std::array<int64_t, kSmoothedBins> current, previous{}, mean;
  for (const int bits : {0, 16, 47}) {
    Smooth(Amplitudes(x, bits).data(), current, previous, mean, bits == 0);
    Append(out, current), Append(out, previous), Append(out, mean);
  }
}

inline void OfWeights(Input x, Outputs& out) {
  auto gains = Shifted<int32_t>(x, 15);
  WeightGains(gains, Factors(kInput).data());
  Append(out, gains);
}

inline void OfConvolution(Input x, Outputs& out) {
  std::array<int16_t, kFrame> filtered;
  // The largest tap whose rounded upper half has 16 bits, and the next; the most taps of a fast form, and
  // more.
  constexpr int32_t kLargest = kMax32 - (1 << 15);
  for (const int32_t tap : {kOneQ30, kLargest, kLargest + 1, kMax32, kMin32}) {
    for (const int32_t half : {12, 16, 17}) {
      std::vector<int32_t> taps = Factors(2 * static_cast<size_t>(half) + 1);
      taps[5] = tap;
      for (const size_t n : {size_t{160}, size_t{159}, size_t{25}}) {
        ConvolveAdjacent(&x[200], taps.data(), std::span(filtered).first(n), half);
        Append(out, std::span(filtered).first(n));
      }
    }
  }
}

// Bands of up to 15 bins, of gains and of amplitudes; one amplitude at the bound of the sums in 32 bits.
inline void OfBands(Input x, Outputs& out) {
  std::vector<int32_t> weights = Factors(16);
  weights[0] = kOneQ30;
  std::array<mel_band, 16> bands;
  for (int32_t b = 0; b < 16; ++b) {
    const auto i = static_cast<size_t>(b);
    bands[i] = {
        .start = 7 * b, .count = b, .weights = weights.data(), .next = b < 15 ? &bands[i + 1] : nullptr};
  }
  std::array<int64_t, 16> sums;
  for (const int64_t loud : {int64_t{0}, int64_t{kMax32}, int64_t{kMax32} + 1, int64_t{-1}}) {
    auto gains = Shifted<int32_t>(x.first(kSmoothedBins), 15);
    auto amplitudes = Amplitudes(x.last(kSmoothedBins), 15);
    gains[40] = Low32(loud), amplitudes[40] = loud;
    SumBands(gains.data(), bands[0], sums.data());
    Append(out, gains), Append(out, sums);
    SumBands(std::span(amplitudes), bands[0], sums.data());
    Append(out, amplitudes), Append(out, sums);
  }
}

inline void OfTaps(Input x, Outputs& out) {
  std::array<int64_t, 35> scratch;
  std::array<const int32_t*, 35> rows;
  const auto basis = Shifted<int32_t>(x, 16);
  for (size_t tap = 0; tap < rows.size(); ++tap) rows[tap] = &basis[17 * tap];
  for (const size_t bands : {size_t{35}, size_t{34}, size_t{3}}) {
    auto gains = Factors(rows.size());
    gains[0] = kMin32;
    MelIdct(std::span(gains).first(bands), scratch.data(), rows.data(), 35);
    Append(out, gains), Append(out, scratch);
  }
}

inline void OfGains(Input x, Outputs& out) {
  for (const int bits : {0, 8, 17, 40}) {  // up to 2^31 the fast form has blocks of its own
    auto current = Amplitudes(x.first(kSmoothedBins), bits), mean = Amplitudes(x.last(kSmoothedBins), bits);
    std::vector<int64_t> noise(kSmoothedBins, 77), cleaned(kSmoothedBins);
    std::vector<int32_t> gain(kSmoothedBins);
    wiener_vad vad{};
    for (vad.frame_count = 1; vad.frame_count < 4; ++vad.frame_count) {
      vad.vad_flag = vad.frame_count == 3;
      DesignGain({current, mean, noise, cleaned, gain}, vad);
      Append(out, gain), Append(out, noise), Append(out, cleaned);
    }
  }
}

inline void OfLikelihoods(Input x, Outputs& out) {
  for (const int bits : {0, 8, 17, 40}) {
    auto noise = Amplitudes(x.first(71), bits), clean = Amplitudes(x.subspan(100, 71), bits);
    std::vector<int64_t> ratio(noise.size());
    LikelihoodRatios(noise, Amplitudes(x.last(71), bits), clean.data(), ratio.data());
    Append(out, ratio), Append(out, clean), Append(out, noise);
  }
}

// Powers of all levels; a caller's own may be negative.
template <typename Step>
inline void ForSpectra(Input x, Step step) {
  for (const int bits : {0, 8, 16}) {
    std::vector<int32_t> power = Shifted<int32_t>(x, bits);
    for (const int32_t bins : {kSpectrumBins, 515, 140})
      step(std::span(power).first(static_cast<size_t>(bins)));
    for (int32_t& p : power) p = MaxIfNegative(WrapNeg(p < 0 ? p : -p));
    for (const int32_t bins : {kSpectrumBins, 515, 140})
      step(std::span(power).first(static_cast<size_t>(bins)));
  }
}

inline void OfBandSums(Input x, Outputs& out) {
  ForSpectra(x, [&](std::span<const int32_t> power) {
    const auto bins = static_cast<int32_t>(power.size());
    Append(out, std::array{NoiseRobustEnergy(power.data()), lower_band_energy(power.data(), bins),
                           upper_band_energy(power.data(), bins)});
  });
}

inline void OfShares(Input x, Outputs& out) {
  ForSpectra(x, [&](std::span<const int32_t> power) {
    out.push_back(HighToLowRatio(power));
    out.push_back(tonality_es(power.data(), static_cast<int32_t>(power.size())));
  });
}

inline void OfBandMeans(Input x, Outputs& out) {
  std::array<int32_t, 64> band, weight;
  ForSpectra(x, [&](std::span<const int32_t> power) {
    out.push_back(BandTonality(power, 32, band.data()));
    Append(out, std::span(band).first(32));
    for (const int32_t bands : {64, 63}) {
      out.push_back(WeightedBandEntropy(power, bands, band.data(), weight.data()));
      Append(out, weight);
    }
  });
}

inline void OfTheDetectorsWindow(Input x, Outputs& out) {
  std::array<int32_t, kWindow> windowed;
  WindowEmphasized(Shifted<int32_t>(x, 16).data(), Factors(kWindow).data(), kWindow, windowed.data());
  Append(out, windowed);
}

inline void OfScaledPowers(Input x, Outputs& out) {
  std::array<int32_t, kSpectrumBins> narrow;
  for (const int bits : {0, 17, 47}) {
    for (const int32_t shift : {0, 2, 12}) {
      auto power = Amplitudes(x, bits);
      for (const int64_t edge :
           std::array<int64_t, 5>{kMax32, 1LL << 31, (1LL << 32) - 1, 1LL << 32, kMax64}) {
        power.insert(power.begin(), edge << (edge < kMax64 ? shift : 0));
      }
      ScalePowers(power.data(), shift, narrow.data());
      Append(out, power), Append(out, narrow);
    }
  }
}

inline void OfCrossings(Input x, Outputs& out) {
  for (const size_t n : {320u, 319u, 3u, 1u}) {
    const Input window = x.subspan(200, n);  // with the impulse
    for (const int32_t level : {ClippingLevel(window), 0, 1, 1000, -5})
      out.push_back(CountClipCrossings(window, level));
    std::vector<int16_t> signs(n);
    out.push_back(CountZeroCrossings(window, signs.data()));
    Append(out, signs);
  }
}

inline void OfLags(Input x, Outputs& out) {
  for (const size_t n : {320u, 319u, 200u, 33u, 1u}) {
    const LagFeatures lags = MeasureLags(x.subspan(200, n));
    Append(out, std::array{lags.yin_voicing, lags.amdf_min, lags.peak_valley_ratio});
  }
}

// Rows of 16 to 256 weights, and every number of rows to 9, since the fast forms take several at a time.
inline void OfProducts(Input x, Outputs& out) {
  std::vector<int8_t> weights;
  for (const int32_t f : Factors(9 * 256)) weights.push_back(static_cast<int8_t>(f));
  for (size_t columns = 16; columns <= 256; columns += 16) {
    for (size_t rows = 0; rows <= 9; ++rows) {
      std::vector<int32_t> sums(rows);
      Multiply(weights.data(), x.subspan(160, columns), sums);
      Append(out, sums);
    }
  }
}

inline void OfRows(Input x, Outputs& out) {
  std::vector<int16_t> rows(x.size());
  const std::vector<int32_t> small = Factors(x.size()), large = Shifted<int32_t>(x, 16),
                             bias = Shifted<int32_t>(x, 9);
  for (const int bits : {0, 7, 15}) {
    const std::vector<int32_t> sums = Shifted<int32_t>(x, bits);
    for (const size_t n : {x.size(), size_t{5}, size_t{33}}) {
      for (const int32_t* scale : {small.data(), large.data()}) {
        Rescale(std::span(sums).first(n), scale, bias.data(), rows.data());
        Append(out, std::span(rows).first(n));
      }
    }
  }
}

inline void OfStates(Input x, Outputs& out) {
  std::vector<int16_t> gates(x.begin(), x.end()), state(160);
  Sigmoids(gates);
  Append(out, gates);
  Sigmoids(std::span(gates).first(5));
  Append(out, std::span(gates).first(5));
  for (size_t i = 0; i < state.size(); ++i) state[i] = std::max<int16_t>(x[i], -32767);
  UpdateState({gates.data(), gates.data() + 160, x.data() + 160, x.data() + 320}, state);
  Append(out, state);
}

template <typename Range>
inline void AppendBits(Outputs& outputs, const Range& floats) {
  for (const float value : floats) outputs.push_back(std::bit_cast<int32_t>(value));
}

// Two frames of the listening path, with a noise floor from the first: each value goes through all kernels.
inline void OfListening(Input x, Outputs& out) {
  const auto half = [&](size_t at) {
    HalfWindow frame;
    std::copy_n(x.begin() + static_cast<std::ptrdiff_t>(at), frame.size(), frame.begin());
    return frame;
  };
  HalfWindow rising, left = half(400);
  MakeRisingHalf(rising);
  BinValues power = {}, speech = {}, gains = {}, inverse = {};
  NoiseFloor floor = {};
  for (const GainRule& rule : {GainRule{0.99f, 0.5f, 0.2f, 1}, GainRule{0.92f, 1, 0, 0.7f}}) {
    FloatSamples samples;
    FloatSpectrum spectrum;
    TakeWindow(rising, half(120), half(280), samples);
    AppendBits(out, samples);
    ForwardFft(samples, spectrum);
    AppendBits(out, spectrum.re);
    AppendBits(out, spectrum.im);
    PowerOfBins(spectrum, power);
    LearnPair(power, speech, 0.3f, floor);
    InvertFloor(floor, inverse);
    WeighBins(rule, inverse, power, speech, gains, spectrum);
    for (const BinValues& values : {power, floor.mean_log, inverse, speech, gains}) AppendBits(out, values);
    InverseFft(spectrum, samples);
    AppendBits(out, samples);
    std::array<int16_t, kFrame> frame;
    AddOverlap(rising, samples, left, frame.data());
    AppendBits(out, left);
    Append(out, frame);
  }
}

struct Conversion {
  Resampler resampler;
  Conversion(int32_t in_rate, int32_t out_rate) { resampler.Open(in_rate, out_rate); }
  ~Conversion() { resampler.Close(); }
};

// Few phases with steps of one and more, and many; the last one is halved first.
inline void OfRates(Input x, Outputs& out) {
  static Conversion conversions[] = {{8000, 16000},  {24000, 16000}, {32000, 16000},
                                     {16000, 12000}, {16000, 48000}, {44100, 16000}};
  for (auto& [resampler] : conversions) {
    resampler.Clear();
    std::vector<int16_t> given(3 * kInput);
    resampler.Take(x);
    given.resize(resampler.GiveRest(given));
    Append(out, given);
  }
}

// Run a kernel, or the step that it is part of, on an input.
inline void Drive(Kernel kernel, Input x, Outputs& out) {
  switch (kernel) {
    case Kernel::kRootQ30:
    case Kernel::kRoots:
      return OfSquareRoots(x, out);
    case Kernel::kExpOfLikelihoodQ16:
      for (const int16_t s : x) out.push_back(ExpOfLikelihoodQ16(20 * s));
      return;
    case Kernel::kRealFft:
      return OfTransforms(x, out);
    case Kernel::kPowerOfWindow:
    case Kernel::kIsNarrow:
    case Kernel::kRealFft512:
    case Kernel::kPowerOf512:
      return OfPowers(x, out);
    case Kernel::kEmphasizeRest:
      return OfEmphasis(x, out);
    case Kernel::kWindowQ10:
      return OfWindows(x, out);
    case Kernel::kSmooth:
      return OfSmoothing(x, out);
    case Kernel::kWeightGains:
      return OfWeights(x, out);
    case Kernel::kConvolveAdjacent:
      return OfConvolution(x, out);
    case Kernel::kSumNarrowBands:
      return OfBands(x, out);
    case Kernel::kSumTaps:
      return OfTaps(x, out);
    case Kernel::kDesignModerateBlock:
      return OfGains(x, out);
    case Kernel::kLikelihoodRatios:
      return OfLikelihoods(x, out);
    case Kernel::kBandSum:
      return OfBandSums(x, out);
    case Kernel::kSumOfShares:
      return OfShares(x, out);
    case Kernel::kBandMeans:
    case Kernel::kWeighBands:
      return OfBandMeans(x, out);
    case Kernel::kSumOfSquares:
      for (const size_t n : {kInput, size_t{39}, size_t{7}}) {
        for (const int32_t shift : {0, 3, 15}) out.push_back(SquareEnergy(x.first(n), shift));
      }
      return;
    case Kernel::kWindowEmphasized:
      return OfTheDetectorsWindow(x, out);
    case Kernel::kScalePowers:
      return OfScaledPowers(x, out);
    case Kernel::kCountClipCrossings:
    case Kernel::kCountZeroCrossings:
      return OfCrossings(x, out);
    case Kernel::kMeasureLags:
    case Kernel::kSumLags:
    case Kernel::kYinRatios:
    case Kernel::kAmdfMeans:
    case Kernel::kBoundCoefficients:
      return OfLags(x, out);
    case Kernel::kMultiply:
      return OfProducts(x, out);
    case Kernel::kRescale:
      return OfRows(x, out);
    case Kernel::kRunFilters:
    case Kernel::kRunHalfBand:
      return OfRates(x, out);
    case Kernel::kSigmoids:
    case Kernel::kUpdateState:
      return OfStates(x, out);
    case Kernel::kForwardFft:
    case Kernel::kInverseFft:
    case Kernel::kTakeWindow:
    case Kernel::kAddOverlap:
    case Kernel::kMoveMean:
    case Kernel::kInvertFloor:
    case Kernel::kPowerOfBins:
    case Kernel::kWeighBins:
      return OfListening(x, out);
  }
}

struct NamedKernel {
  Kernel kernel;
  const char* name;
};

#define VASK_KERNEL_NAME(name) NamedKernel{Kernel::k##name, #name},
inline constexpr NamedKernel kKernels[] = {
#include "dsp/kernels.inc"
};
#undef VASK_KERNEL_NAME

}  // namespace vask::kernels
