#include "recipes.h"

#include <bit>
#include <cmath>
#include <numbers>

namespace vask::tables {
namespace {

constexpr double kTwoPi = 2 * std::numbers::pi;
constexpr double kTwoPiSingle = 6.2831854820251465;  // 2 pi as the nearest float
constexpr double kOneQ30 = 1 << 30;

int32_t CutQ30(double value) { return static_cast<int32_t>(value * kOneQ30); }  // toward zero
float Single(double value) { return static_cast<float>(value); }

// ---- FFT ----

using Wave = double (*)(double);

// Entry j of the stage of `points` points, j = 1 ... points/8 - 1: cosine or sine of multiple * 2 pi j /
// points. The angle is single precision: the step, its product with j and three times that product are each
// rounded.
Rows Twiddles(Wave wave, int32_t multiple) {
  Rows stages;
  for (int32_t points = 16; points <= 512; points *= 2) {
    const float step = Single(kTwoPi / points);
    Row& stage = stages.emplace_back();
    for (int32_t j = 1; j < points / 8; ++j) {
      const float angle = step * static_cast<float>(j);
      const float multiplied = static_cast<float>(multiple) * angle;
      stage.push_back(CutQ30(wave(multiplied)));
    }
  }
  return stages;
}

// ---- mel bands ----

constexpr int32_t kBands = 35;
constexpr int32_t kLastBin = 128;
constexpr double kBinHz = 62.5;
constexpr double kHalfRateHz = 8000;

double Mel(double hz) { return 2595 * std::log10(1 + hz / 700); }
double HzOfMel(double mel) { return 700 * (std::pow(10, mel / 2595) - 1); }

// The centres are equally spaced in mel, each on the nearest bin: band 0 at 0 Hz, the last one at 8 kHz.
int32_t CentreBin(int32_t band) {
  const double mel = band * Mel(kHalfRateHz) / (kBands - 1);
  return static_cast<int32_t>(std::lround(HzOfMel(mel) / kBinHz));
}

struct Band {
  int32_t first_bin = 0;
  std::vector<double> raw;  // before normalisation: 1 at the centre
};

// A triangle from the previous centre to the next one, without the two ends. Band 0 is its centre alone; the
// last band has no falling edge.
Band Triangle(int32_t band) {
  const int32_t centre = CentreBin(band);
  if (band == 0) return {centre, {1.0}};
  const int32_t before = CentreBin(band - 1);
  const int32_t after = band == kBands - 1 ? kLastBin + 1 : CentreBin(band + 1);
  Band triangle{before + 1, {}};
  for (int32_t bin = before + 1; bin < after; ++bin) {
    triangle.raw.push_back(bin <= centre ? static_cast<double>(bin - before) / (centre - before)
                                         : static_cast<double>(after - bin) / (after - centre));
  }
  return triangle;
}

// The mean frequency of a band, weighted by its triangle: single precision, rounded after every addition.
float CentroidHz(int32_t band) {
  if (band == kBands - 1) return static_cast<float>(kHalfRateHz);
  const Band triangle = Triangle(band);
  float sum = 0;
  for (double raw : triangle.raw) sum += Single(raw);
  float moment = 0, mass = 0;
  int32_t bin = triangle.first_bin;
  for (double raw : triangle.raw) {
    const float weight = Single(raw) / sum;
    moment = Single(moment + (bin++ * kBinHz) * weight);
    mass += weight;
  }
  return moment / mass;
}

// ---- MFCC ----

constexpr int32_t kChannels = 23;
constexpr int32_t kTopBin = 256;

// Bin k counts from 1: bin 1 is 0 Hz and bin 257 half the sampling rate. The resolution, in units of 700 Hz,
// is single precision.
double MelOfBin(int32_t bin) {
  constexpr float kResolution = static_cast<float>(16000.0 / (512 * 700));
  return 1127 * std::log(1 + (bin - 1) * static_cast<double>(kResolution));
}

// The centres of the channels, and the upper end in place of a channel 24; single precision.
float CentreMel(int32_t channel) {
  return Single(channel / static_cast<double>(kChannels + 1) * Single(MelOfBin(kTopBin + 1)));
}

// The last channel whose centre is below a bin, 0 if none is.
int32_t LowerChannel(int32_t bin) {
  int32_t channel = 0;
  while (CentreMel(channel + 1) < MelOfBin(bin)) ++channel;
  return channel;
}

// ---- interpolation tables ----

constexpr int32_t kSteps = 1024;

int32_t NearestQ30(double value) { return static_cast<int32_t>(std::floor(value * kOneQ30 + 0.5)); }

}  // namespace

Rows TwiddleCosines(int32_t multiple) { return Twiddles(std::cos, multiple); }

Rows TwiddleSines(int32_t multiple) { return Twiddles(std::sin, multiple); }

// 0.5 - 0.5 cos(2 pi (i + 0.5) / 400), double precision, truncated.
Rows HanningWindow() {
  constexpr int32_t kLength = 400;
  Row window;
  for (int32_t i = 0; i < kLength; ++i) {
    window.push_back(CutQ30(0.5 - 0.5 * std::cos(kTwoPi * (i + 0.5) / kLength)));
  }
  return {window};
}

// 0.54 - 0.46 cos(2 pi i / 319) with 2 pi in single precision, rounded to single precision, truncated. The
// two halves therefore differ in the last bits.
Rows HammingWindow() {
  constexpr int32_t kLength = 320;
  Row window;
  for (int32_t i = 0; i < kLength; ++i) {
    window.push_back(CutQ30(Single(0.54 - 0.46 * std::cos(i * kTwoPiSingle / (kLength - 1)))));
  }
  return {window};
}

// 0.5 - 0.5 cos((i + 0.5) 2 pi / 24) with 2 pi in single precision, rounded to single precision, truncated.
Rows FilterWindow() {
  constexpr int32_t kLength = 24;
  Row window;
  for (int32_t i = 0; i < kLength; ++i) {
    window.push_back(CutQ30(Single(0.5 - 0.5 * std::cos((i + 0.5) * kTwoPiSingle / kLength))));
  }
  return {window};
}

// Square root of the amplitude response of outer and middle ear (ITU-R BS.1387), f in kHz:
//   A(f) = -2.184 f^-0.8 + 6.5 exp(-0.6 (f - 3.3)^2) - f^3.6 / 1000 decibels.
// The response is minus infinity decibels at 0 Hz; bin 0 has a fixed amplitude, about -55 dB, instead.
Rows EarWeights() {
  constexpr float kAmplitudeAtZero = std::bit_cast<float>(0x3AEAE0DF);
  Row weights = {CutQ30(std::sqrt(static_cast<double>(kAmplitudeAtZero)))};
  for (int32_t bin = 1; bin <= kLastBin; ++bin) {
    const double khz = bin * kBinHz / 1000;
    const double decibels = -2.184 * std::pow(khz, -0.8) + 6.5 * std::exp(-0.6 * (khz - 3.3) * (khz - 3.3)) -
                            std::pow(khz, 3.6) / 1000;
    weights.push_back(CutQ30(std::sqrt(std::pow(10, decibels / 20))));
  }
  return {weights};
}

// Triangle weights in double precision, divided by their sum; the sum is rounded to single precision after
// each addition, bins ascending.
Rows MelFilters() {
  Rows bands;
  for (int32_t band = 0; band < kBands; ++band) {
    const Band triangle = Triangle(band);
    float sum = 0;
    for (double raw : triangle.raw) sum = Single(sum + raw);
    Row& row = bands.emplace_back(Row{triangle.first_bin, static_cast<int32_t>(triangle.raw.size())});
    for (double raw : triangle.raw) row.push_back(CutQ30(raw / sum));
  }
  return bands;
}

// cos(2 pi n F[k] / 16000) (F[k+1] - F[k-1]) / 16000 with F the centroids of the bands, the ends repeated:
// the cosine at the band's frequency times the width of its neighbourhood. Rounded to single precision,
// truncated.
Rows MelIdctBasis() {
  constexpr double kRateHz = 2 * kHalfRateHz;
  constexpr double kPi = 3.141592654;
  std::vector<double> centroid;
  for (int32_t band = 0; band < kBands; ++band) centroid.push_back(CentroidHz(band));
  Rows taps(kBands);
  for (int32_t tap = 0; tap < kBands; ++tap) {
    for (int32_t band = 0; band < kBands; ++band) {
      const double below = band == 0 ? centroid[0] : centroid[band - 1];
      const double above = band == kBands - 1 ? centroid[kBands - 1] : centroid[band + 1];
      const double wave = std::cos(2 * kPi * tap * centroid[band] / kRateHz);
      taps[tap].push_back(CutQ30(Single(wave * ((above - below) / kRateHz))));
    }
  }
  return taps;
}

Rows LowerChannels() {
  Row table;
  for (int32_t bin = 1; bin <= kTopBin; ++bin) table.push_back(LowerChannel(bin));
  return {table};
}

// The distance to the centre above, divided by that between the centres; double precision, truncated.
Rows LowerChannelWeights() {
  Row table;
  for (int32_t bin = 1; bin <= kTopBin; ++bin) {
    const double below = CentreMel(LowerChannel(bin)), above = CentreMel(LowerChannel(bin) + 1);
    table.push_back(CutQ30((above - MelOfBin(bin)) / (above - below)));
  }
  return {table};
}

// cos(pi k (j + 0.5) / 23) with pi in single precision, truncated.
Rows CepstrumBasis() {
  constexpr double kPiSingle = kTwoPiSingle / 2;
  Rows basis(13);
  for (int32_t k = 0; k < 13; ++k) {
    for (int32_t j = 0; j < kChannels; ++j)
      basis[k].push_back(CutQ30(std::cos(kPiSingle * k * (j + 0.5) / kChannels)));
  }
  return basis;
}

// Real and imaginary part, their squares and the sum are rounded to single precision; the result is
// truncated.
Rows PreEmphasisResponses() {
  constexpr double kOneQ29 = 1 << 29;
  Row table;
  for (int32_t bin = 0; bin <= kTopBin; ++bin) {
    const double angle = std::numbers::pi * bin / kTopBin;
    const float real = 1 - Single(0.97f * std::cos(angle)), imaginary = Single(0.97f * std::sin(angle));
    const float power = real * real + imaginary * imaginary;
    table.push_back(static_cast<int32_t>(power * kOneQ29));
  }
  return {table};
}

// Double precision, rounded to nearest.
Rows Logarithms() {
  Row table;
  for (int32_t k = 0; k <= kSteps; ++k)
    table.push_back(NearestQ30(std::log2(1 + static_cast<double>(k) / kSteps)));
  return {table};
}

// Double precision, truncated toward zero. The logarithm of 0 is never used to interpolate and is stored as
// 0.
Rows FractionLogarithms() {
  constexpr double kOneQ26 = 1 << 26;
  Row table = {0};
  for (int32_t k = 1; k <= kSteps; ++k) {
    table.push_back(static_cast<int32_t>(std::log2(static_cast<double>(k) / kSteps) * kOneQ26));
  }
  return {table};
}

// Double precision, rounded to nearest.
Rows SquareRoots() {
  Row table;
  for (int32_t k = 0; k <= kSteps; ++k)
    table.push_back(NearestQ30(std::sqrt(static_cast<double>(k) / kSteps)));
  return {table};
}

// Rounded to nearest; 1.0 does not fit in 16 bits and becomes 32767.
Rows InverseRoots() {
  Row table;
  for (int32_t i = 0; i <= 48; ++i) {
    const long nearest = std::lround(32768 / std::sqrt(1 + i / 16.0));
    table.push_back(nearest > INT16_MAX ? INT16_MAX : static_cast<int32_t>(nearest));
  }
  return {table};
}

// Rounded to nearest, with 1.0 as 32767.
Rows ShortLogarithms() {
  Row table;
  for (int32_t i = 0; i <= 32; ++i) {
    table.push_back(static_cast<int32_t>(std::lround(INT16_MAX * std::log2(1 + i / 32.0))));
  }
  return {table};
}

}  // namespace vask::tables
