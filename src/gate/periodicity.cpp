#include "gate/periodicity.h"

#include <algorithm>
#include <bit>

#include "gate/matrix.h"

namespace vask {
namespace {

constexpr int32_t kFirstBin = 2;  // 62.5 Hz
constexpr int32_t kBins = 64;     // to 2 kHz, below which voiced speech stands out of noise
constexpr int32_t kLags = 96;
constexpr int32_t kLagsOfBand = kLags / kLagBands;
constexpr int32_t kPeriod = 512;  // samples of the transform
constexpr int32_t kOneQ7 = 127;

// round(32 * 8^((j + 1/2) / 96)): equally spaced on a logarithmic scale.
constexpr std::array<int16_t, kLags> kLagOf = {
    32,  33,  34,  35,  35,  36,  37,  38,  38,  39,  40,  41,  42,  43,  44,  45,  46,  47,  48,  49,
    50,  51,  52,  53,  54,  56,  57,  58,  59,  61,  62,  63,  65,  66,  68,  69,  71,  72,  74,  75,
    77,  79,  80,  82,  84,  86,  88,  90,  91,  93,  96,  98,  100, 102, 104, 106, 109, 111, 114, 116,
    119, 121, 124, 127, 129, 132, 135, 138, 141, 144, 147, 151, 154, 157, 161, 164, 168, 171, 175, 179,
    183, 187, 191, 195, 200, 204, 208, 213, 218, 222, 227, 232, 237, 243, 248, 253};

// round(127 cos(pi i / 256)): a quarter of the period.
constexpr std::array<int8_t, kPeriod / 4 + 1> kQuarterCosine = {
    127, 127, 127, 127, 127, 127, 127, 127, 126, 126, 126, 126, 126, 125, 125, 125, 125, 124, 124,
    124, 123, 123, 122, 122, 122, 121, 121, 120, 120, 119, 118, 118, 117, 117, 116, 115, 115, 114,
    113, 113, 112, 111, 111, 110, 109, 108, 107, 106, 106, 105, 104, 103, 102, 101, 100, 99,  98,
    97,  96,  95,  94,  93,  92,  91,  90,  89,  88,  86,  85,  84,  83,  82,  81,  79,  78,  77,
    76,  74,  73,  72,  71,  69,  68,  67,  65,  64,  63,  61,  60,  58,  57,  56,  54,  53,  51,
    50,  49,  47,  46,  44,  43,  41,  40,  38,  37,  35,  34,  32,  31,  29,  28,  26,  25,  23,
    22,  20,  19,  17,  16,  14,  12,  11,  9,   8,   6,   5,   3,   2,   0};

consteval int8_t Cosine(int32_t turn) {
  const int32_t half = turn % kPeriod > kPeriod / 2 ? kPeriod - turn % kPeriod : turn % kPeriod;
  const bool is_negative = half > kPeriod / 4;
  const int8_t value = kQuarterCosine[static_cast<size_t>(is_negative ? kPeriod / 2 - half : half)];
  return static_cast<int8_t>(is_negative ? -value : value);
}

// Row j: the cosines of lag j over the bins.
consteval std::array<int8_t, kLags * kBins> MakeCosines() {
  std::array<int8_t, kLags* kBins> cosines = {};
  for (size_t j = 0; j < kLags; ++j) {
    for (int32_t k = 0; k < kBins; ++k) {
      cosines[j * kBins + static_cast<size_t>(k)] = Cosine((kFirstBin + k) * kLagOf[j]);
    }
  }
  return cosines;
}

constexpr std::array<int8_t, kLags* kBins> kCosines = MakeCosines();

// About x^(1/4), Q8: a float's bits are nearly its logarithm, so a quarter of them, seen from those of 1, is
// within 6 % of the root; the same everywhere.
int32_t FourthRootQ8(int64_t x) {
  constexpr int32_t kBitsOfOne = std::bit_cast<int32_t>(1.0f);
  const int32_t bits = std::bit_cast<int32_t>(static_cast<float>(x + 1));
  return static_cast<int32_t>(std::bit_cast<float>((bits - kBitsOfOne) / 4 + kBitsOfOne) * 256.0f);
}

// The compressed spectrum, scaled so that its largest value has 14 bits.
std::array<int16_t, kBins> Compress(std::span<const int64_t> power) {
  std::array<int32_t, kBins> root;
  std::transform(power.begin() + kFirstBin, power.begin() + kFirstBin + kBins, root.begin(), FourthRootQ8);
  const auto largest = static_cast<uint32_t>(*std::max_element(root.begin(), root.end()));
  const int32_t surplus = static_cast<int32_t>(std::bit_width(largest)) - 14;
  std::array<int16_t, kBins> scaled;
  std::transform(root.begin(), root.end(), scaled.begin(), [surplus](int32_t value) {
    return static_cast<int16_t>(surplus > 0 ? value >> surplus : value << -surplus);
  });
  return scaled;
}

}  // namespace

void TakePeriodicity(std::span<const int64_t> power, Periodicity& periodicity) {
  const std::array<int16_t, kBins> spectrum = Compress(power);
  int64_t total = 0;
  for (const int16_t value : spectrum) total += value * kOneQ7;
  std::array<int32_t, kLags> correlation;
  Multiply(kCosines.data(), spectrum, correlation);
  for (size_t b = 0; b < periodicity.size(); ++b) {
    const auto* first = correlation.data() + b * kLagsOfBand;
    periodicity[b] =
        static_cast<int16_t>(*std::max_element(first, first + kLagsOfBand) * int64_t{4096} / total);
  }
}

}  // namespace vask
