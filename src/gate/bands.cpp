#include "gate/bands.h"

#include <bit>

#include "dsp/arith.h"
#include "dsp/sizes.h"

namespace vask {
namespace {

// Where the triangles begin, peak and end, equally spaced in mel (2595 log10(1 + f / 700)): bins, Q4. Band b
// rises from edge b to edge b + 1 and falls to edge b + 2.
constexpr std::array<int16_t, kLogBands + 2> kEdgesQ4 = {
    26,   49,   74,   101,  129,  159,  191,  225,  261,  299,  340,  383,  428,  477,
    528,  583,  641,  703,  768,  837,  911,  989,  1072, 1160, 1254, 1353, 1459, 1571,
    1689, 1816, 1949, 2092, 2243, 2403, 2573, 2753, 2945, 3149, 3365, 3594, 3838, 4096};

// What a bin gives to the band that peaks at the next edge; the rest, to 2^8, goes to the band before it.
struct Share {
  uint8_t rising;  // band that rises here, from 0; kLogBands: none
  int16_t weight_q8;
};

constexpr int32_t kOneQ8 = 256;

constexpr std::array<Share, kSpectrumBins> MakeShares() {
  std::array<Share, kSpectrumBins> shares = {};
  size_t edge = 0;
  for (int32_t bin = 0; bin < kSpectrumBins; ++bin) {
    const int32_t place = bin * 16;
    while (edge + 2 < kEdgesQ4.size() && place >= kEdgesQ4[edge + 1]) ++edge;
    const int32_t low = kEdgesQ4[edge], high = kEdgesQ4[edge + 1];
    const int32_t weight = place < low ? 0 : (place - low) * kOneQ8 / (high - low);
    shares[static_cast<size_t>(bin)] = {static_cast<uint8_t>(edge), static_cast<int16_t>(weight)};
  }
  return shares;
}

constexpr std::array<Share, kSpectrumBins> kShares = MakeShares();
constexpr size_t kFirstBin = 2;  // the first above the first edge

// log2 of x in Q8, x 1 or more: the exponent and, within an octave, m + 0.344 m (1 - m), which is within 0.01
// of log2(1 + m).
int32_t Log2Q8(uint64_t x) {
  const int32_t exponent = static_cast<int32_t>(std::bit_width(x)) - 1;
  const auto mantissa = static_cast<int32_t>((x << (63 - exponent)) >> 47) & 0xffff;  // m, Q16
  const int32_t bow = ((mantissa * (kOneQ16 - mantissa)) >> 16) * 22544 >> 16;        // Q16
  return exponent * kOneQ8 + ((mantissa + bow) >> 8);
}

}  // namespace

void TakeLogBands(std::span<const int64_t> power, LogBands& bands) {
  std::array<uint64_t, kLogBands + 2> sums = {};  // band b at b + 1
  for (size_t bin = kFirstBin; bin < kSpectrumBins; ++bin) {
    const Share share = kShares[bin];
    const auto value = static_cast<uint64_t>(power[bin]);
    const uint64_t rising = (value * static_cast<uint64_t>(share.weight_q8)) >> 8;
    sums[share.rising + size_t{1}] += rising;
    sums[share.rising] += value - rising;
  }
  for (size_t b = 0; b < bands.size(); ++b) {
    bands[b] = static_cast<int16_t>(Log2Q8(sums[b + 1] + 1) >> 1);  // half the log of a power
  }
}

}  // namespace vask
