// The resampler as it is, in integers: what it makes of tones, clicks and the loudest input, at every rate.
#include "resample/resampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <string>

#include "support/inputs.h"

namespace vask::test {
namespace {

constexpr int32_t kRates[] = {8000, 11025, 12000, 22050, 24000, 32000, 44100, 48000};

struct Conversion {
  int32_t in, out;
  int32_t lower() const { return std::min(in, out); }
  std::string name() const { return std::to_string(in) + " to " + std::to_string(out); }
};

std::vector<Conversion> Conversions() {
  std::vector<Conversion> all;
  for (const int32_t rate : kRates) {
    all.push_back({rate, 16000});
    all.push_back({16000, rate});
  }
  return all;
}

Samples Convert(Conversion c, const Samples& in, size_t piece = 1000, size_t room = 333) {
  Resampler resampler;
  EXPECT_TRUE(resampler.Open(c.in, c.out));
  Samples out, some(room);
  const auto keep = [&](size_t count) {
    out.insert(out.end(), some.begin(), some.begin() + static_cast<std::ptrdiff_t>(count));
    return count > 0;
  };
  for (size_t at = 0; at < in.size();) {
    at += resampler.Take({&in[at], std::min(piece, in.size() - at)});
    while (keep(resampler.Give(some))) {
    }
  }
  while (keep(resampler.GiveRest(some))) {
  }
  resampler.Close();
  return out;
}

Samples Tone(double frequency, int32_t rate, double amplitude) {
  Samples samples(static_cast<size_t>(rate) * 2 / 5);
  for (size_t i = 0; i < samples.size(); ++i)
    samples[i] = static_cast<int16_t>(
        std::lround(amplitude * std::sin(kTwoPi * frequency * static_cast<double>(i) / rate)));
  return samples;
}

double Db(double ratio) { return 20 * std::log10(std::max(ratio, 1e-9)); }

// The amplitude of a tone in the middle half of the samples, and of all else there as if it were one tone.
struct Spectrum {
  double tone = 0, rest = 0;
};
Spectrum Measure(const Samples& samples, double frequency, int32_t rate) {
  const size_t first = samples.size() / 4, count = samples.size() / 2;
  double cosine = 0, sine = 0, weights = 0;
  const auto angle = [&](size_t i) { return kTwoPi * frequency * static_cast<double>(first + i) / rate; };
  for (size_t i = 0; i < count; ++i) {
    const double weight = 1 - std::cos(kTwoPi * (static_cast<double>(i) + 0.5) / static_cast<double>(count));
    weights += weight;
    cosine += weight * samples[first + i] * std::cos(angle(i));
    sine += weight * samples[first + i] * std::sin(angle(i));
  }
  cosine *= 2 / weights;
  sine *= 2 / weights;
  if (2 * frequency >= rate) cosine = sine = 0;  // no tone of the output
  double energy = 0;
  for (size_t i = 0; i < count; ++i) {
    energy += std::pow(samples[first + i] - cosine * std::cos(angle(i)) - sine * std::sin(angle(i)), 2);
  }
  return {std::hypot(cosine, sine), std::sqrt(2 * energy / static_cast<double>(count))};
}

// Tones near full scale from 50 Hz to half the input's rate.
TEST(Resampler, IsFlatAndKeepsAliasesAndImagesBelow80Decibels) {
  constexpr double kAmplitude = 32000, kTones = 149;
  for (const Conversion& c : Conversions()) {
    for (double f = 50; f < c.in / 2.0; f += c.in / 2.0 / kTones) {
      const Spectrum heard = Measure(Convert(c, Tone(f, c.in, kAmplitude)), f, c.out);
      const double gain = Db(heard.tone / kAmplitude), rest = Db(heard.rest / kAmplitude);
      EXPECT_LT(rest, -81) << c.name() << " at " << f << " Hz";
      const bool passes = f <= 0.45 * c.lower(), stops = f >= 0.5 * c.lower();
      EXPECT_TRUE(!passes || std::abs(gain) < 0.07) << c.name() << " at " << f << " Hz: " << gain << " dB";
      EXPECT_TRUE(!stops || gain < -81) << c.name() << " at " << f << " Hz: " << gain << " dB";
    }
  }
}

// Sums of all samples and of those weighted by their time do not depend on the filter: a click has its weight
// and its place.
TEST(Resampler, LeavesAClickWhereItWas) {
  for (const Conversion& c : Conversions()) {
    for (const size_t at : {3000, 3001, 3002, 3017}) {
      Samples in(6000);
      in[at] = 32767;
      const Samples out = Convert(c, in);
      ASSERT_EQ(out.size(), (in.size() * static_cast<size_t>(c.out) + static_cast<size_t>(c.in) - 1) /
                                static_cast<size_t>(c.in));
      double sum = 0, moment = 0;
      for (size_t k = 0; k < out.size(); ++k) {
        sum += out[k];
        moment += out[k] * (static_cast<double>(k) * c.in / c.out - static_cast<double>(at));
      }
      EXPECT_NEAR(sum * c.in / c.out / 32767, 1, 0.02) << c.name();
      EXPECT_NEAR(moment / sum, 0, 0.1) << c.name() << ": samples of the input";
    }
  }
}

TEST(Resampler, GivesTheSameInPiecesOfAnyLength) {
  const Samples in = Noise(7001, 30000, 5);
  for (const Conversion& c : Conversions()) {
    const Samples expected = Convert(c, in);
    for (const auto& [piece, room] :
         {std::pair<size_t, size_t>{1, 1}, {2, 7}, {79, 160}, {5000, 1}, {7001, 9000}}) {
      EXPECT_EQ(Convert(c, in, piece, room), expected) << c.name() << " in pieces of " << piece;
    }
  }
}

// The input that drives a window hardest has the signs of its coefficients, as clicks tell them. The sums
// must not wrap.
TEST(Resampler, SaturatesAtTheLoudestInput) {
  for (const Conversion& c : Conversions()) {
    RateFilter filter;
    ASSERT_TRUE(filter.Open(c.in > 2 * c.out ? c.in / 2 : c.in, c.out));
    const auto taps = static_cast<size_t>(filter.taps());
    for (int64_t k = 0; k < c.out / std::gcd(c.in, c.out); ++k) {  // each phase
      Samples loudest(taps), softest(taps);
      for (size_t t = 0; t < taps; ++t) {
        Samples click(taps);
        click[t] = 32767;
        int16_t response = 0;
        filter.Run(k, click.data(), {&response, 1});
        loudest[t] = response >= 0 ? 32767 : -32768;
        softest[t] = response >= 0 ? -32768 : 32767;
      }
      int16_t high = 0, low = 0;
      filter.Run(k, loudest.data(), {&high, 1});
      filter.Run(k, softest.data(), {&low, 1});
      ASSERT_EQ(high, 32767) << c.name() << ", output " << k;
      ASSERT_EQ(low, -32768) << c.name() << ", output " << k;
    }
    filter.Close();
  }
}

}  // namespace
}  // namespace vask::test
