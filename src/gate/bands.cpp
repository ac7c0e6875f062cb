#include "gate/bands.h"

#include <algorithm>
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

constexpr int32_t kOneQ8 = 256;

// The bins between two neighbouring edges: those of segment e rise in band e and fall in band e - 1.
struct Shares {
  std::array<int32_t, kEdgesQ4.size()> first_bin;  // of each segment; one past the last bin at the end
  // What a bin gives to the rising band; the rest goes to the other.
  std::array<uint16_t, kSpectrumBins> rising_q8;
};

consteval Shares MakeShares() {
  Shares shares = {};
  for (size_t edge = 0; edge < kEdgesQ4.size(); ++edge) shares.first_bin[edge] = (kEdgesQ4[edge] + 15) / 16;
  shares.first_bin.back() = kSpectrumBins;
  for (size_t edge = 0; edge + 1 < kEdgesQ4.size(); ++edge) {
    const int32_t low = kEdgesQ4[edge], high = kEdgesQ4[edge + 1];
    for (int32_t bin = shares.first_bin[edge]; bin < shares.first_bin[edge + 1]; ++bin) {
      shares.rising_q8[static_cast<size_t>(bin)] =
          static_cast<uint16_t>((bin * 16 - low) * kOneQ8 / (high - low));
    }
  }
  return shares;
}

constexpr Shares kShares = MakeShares();

// log2 of x in Q8, x 1 or more: the exponent and, within an octave, m + 0.344 m (1 - m), which is within 0.01
// of log2(1 + m).
int32_t Log2Q8(uint64_t x) {
  const int32_t zeros = std::min(std::countl_zero(x), 63), exponent = 63 - zeros;
  const auto mantissa = static_cast<int32_t>((x << zeros) >> 47) & 0xffff;      // m, Q16
  const int32_t bow = ((mantissa * (kOneQ16 - mantissa)) >> 16) * 22544 >> 16;  // Q16
  return exponent * kOneQ8 + ((mantissa + bow) >> 8);
}

}  // namespace

void TakeLogBands(std::span<const int64_t> power, LogBands& bands) {
  uint64_t risen = 0;  // what band e - 1 has got while it rose
  for (size_t e = 0; e <= bands.size(); ++e) {
    uint64_t total = 0, rising = 0;
    for (auto bin = static_cast<size_t>(kShares.first_bin[e]);
         bin < static_cast<size_t>(kShares.first_bin[e + 1]); ++bin) {
      const auto value = static_cast<uint64_t>(power[bin]);
      total += value;
      rising += (value * kShares.rising_q8[bin]) >> 8;
    }
    if (e > 0)
      bands[e - 1] = static_cast<int16_t>(Log2Q8(risen + (total - rising) + 1) >> 1);  // half: of a power
    risen = rising;
  }
}

}  // namespace vask
