#include "noise/gsap_fast.h"

#include <algorithm>
#include <array>

#include "dsp/arith.h"
#include "dsp/divide.h"
#include "dsp/exponential.h"
#include "dsp/kernel.h"
#include "noise/gsap.h"

namespace vask {
namespace {

constexpr size_t kBlock = 36;  // bands: all of the engine's, so that their long chains of divisions overlap
using Block = std::array<double, kBlock>;

constexpr double kOne = 65536;  // Q16
constexpr double kNewSnr = kNewSnrQ30 * 0x1p-30;
constexpr double kOldSnrHigh = kOldSnrQ30 >> 15, kOldSnrLow = kOldSnrQ30 & 0x7fff;

bool IsModerate(int64_t noise, int64_t signal, int64_t clean) {
  if (static_cast<uint64_t>(noise | signal | clean) >= uint64_t{1} << 31 || noise == 0) return false;
  return signal < noise * 1024 && clean < noise * 1024;
}

VASK_BODY double OverOnePlus(double numerator, double x) {
  return FloorBelow2To51(numerator * kOne / (x + kOne));
}

// From amplitudes to the exponent of the likelihood, and the cleaned amplitudes.
VASK_BODY void LikelihoodExponentsBody(const Block& noise, const Block& signal, Block& clean, Block& v,
                                       Block& exponent) {
  for (size_t b = 0; b < kBlock; ++b) {
    const double posterior = FloorBelow2To51(signal[b] * kOne / noise[b]);
    const double before = FloorBelow2To51(clean[b] * kOne / noise[b]);
    const double old_snr =
        FloorBelow2To51((before * kOldSnrHigh + FloorBelow2To51(before * kOldSnrLow * 0x1p-15)) * 0x1p-15);
    const double prior = FloorBelow2To51(posterior * kNewSnr) + old_snr;
    const double gain = OverOnePlus(prior, prior);
    v[b] = FloorBelow2To51(gain * posterior * 0x1p-16);
    clean[b] = FloorBelow2To51(OverOnePlus(v[b], v[b]) * signal[b] * 0x1p-16);
    const double weighted = FloorBelow2To51(posterior * v[b] * 0x1p-16);
    exponent[b] = std::min(OverOnePlus(weighted, v[b]), 10 * kOne);
  }
}

VASK_BODY void RatiosOfExponentialsBody(const Block& v, const Block& e, Block& ratio) {
  for (size_t b = 0; b < kBlock; ++b) {
    const double share = FloorBelow2To51(kOne * kOne / (v[b] + kOne));
    ratio[b] = std::min(std::max(FloorBelow2To51(share * e[b] * 0x1p-16), 1.0), 2 * kOne);
  }
}

VASK_KERNEL(void, LikelihoodExponents,
            (const Block& noise, const Block& signal, Block& clean, Block& v, Block& exponent),
            (noise, signal, clean, v, exponent), LikelihoodExponentsPortable)
VASK_KERNEL(void, RatiosOfExponentials, (const Block& v, const Block& e, Block& ratio), (v, e, ratio),
            RatiosOfExponentialsPortable)

// At most kBlock bands.
void RatiosOfBlock(std::span<int64_t> noise, const int64_t* signal, int64_t* clean, int64_t* ratio) {
  std::array<bool, kBlock> moderate;
  Block n, s, c, v, exponent, e, r;
  n.fill(1), s.fill(1), c.fill(0);  // placeholders for the bands that are not
  for (size_t b = 0; b < noise.size(); ++b) {
    noise[b] = AtLeastOne(noise[b]);
    moderate[b] = IsModerate(noise[b], signal[b], clean[b]);
    if (!moderate[b]) continue;
    n[b] = static_cast<int32_t>(noise[b]);
    s[b] = static_cast<int32_t>(signal[b]);
    c[b] = static_cast<int32_t>(clean[b]);
  }
  LikelihoodExponents(n, s, c, v, exponent);
  for (size_t b = 0; b < kBlock; ++b) {
    e[b] = static_cast<double>(ExpOfLikelihoodByTableQ16(static_cast<int32_t>(exponent[b])));
  }
  RatiosOfExponentials(v, e, r);
  for (size_t b = 0; b < noise.size(); ++b) {
    if (moderate[b]) {
      clean[b] = static_cast<int32_t>(c[b]);
      ratio[b] = static_cast<int32_t>(r[b]);
    } else {
      ratio[b] = LikelihoodRatio(noise[b], signal[b], clean[b]);
    }
  }
}

void LikelihoodRatiosByBlocks(std::span<int64_t> noise, std::span<const int64_t> signal, int64_t* clean,
                              int64_t* ratio) {
  for (size_t b = 0; b < noise.size(); b += kBlock) {
    const size_t count = std::min(kBlock, noise.size() - b);
    RatiosOfBlock(noise.subspan(b, count), signal.data() + b, clean + b, ratio + b);
  }
}

void LikelihoodRatiosPlain(std::span<int64_t> noise, std::span<const int64_t> signal, int64_t* clean,
                           int64_t* ratio) {
  for (size_t b = 0; b < noise.size(); ++b) ratio[b] = LikelihoodRatio(noise[b], signal[b], clean[b]);
}

}  // namespace

VASK_PICK(void, LikelihoodRatios,
          (std::span<int64_t> noise, std::span<const int64_t> signal, int64_t* clean, int64_t* ratio),
          (noise, signal, clean, ratio), LikelihoodRatiosPlain, LikelihoodRatiosByBlocks,
          LikelihoodRatiosByBlocks, LikelihoodRatiosByBlocks)

}  // namespace vask
