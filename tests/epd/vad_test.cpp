// Frame energies, the energy decision and its noise level, onset and hangover. One unit is 1 << 16.
#include <gtest/gtest.h>
#include <vask/epd.h>

#include "support/inputs.h"

namespace {

using vask::test::Cases, vask::test::Values;

constexpr int32_t kUnit = 1 << 16;

TEST(Energy, SumsItsBandsSaturatesAndIsQuantized) {
  const int16_t samples[] = {3, -4, -32768, -32768};
  EXPECT_EQ((Values{square_energy(samples, 2), square_energy(samples + 2, 1), square_energy(samples + 2, 2),
                    square_energy(samples, 0)}),
            (Values{25, 1 << 30, INT32_MAX, 0}));
  const int32_t one = 256 * 107 * 141;  // 107 lower bins, 141 upper ones
  for (int32_t k = 0; k < 257; ++k) {
    Values p(257);
    p[static_cast<size_t>(k)] = one;
    const Values expected = {k >= 7 && k < 200 ? one / 8 : 0, k >= 20 && k < 200 ? one / 8 : 0,
                             k >= 9 && k < 116 ? 141 : 0, k >= 116 ? 107 : 0};
    EXPECT_EQ(
        (Values{noise_robust_band_energy_16kHz(p.data(), 0), carnoise_robust_band_energy_16kHz(p.data()),
                lower_band_energy(p.data(), 257), upper_band_energy(p.data(), 257)}),
        expected)
        << "bin " << k;
  }
  Values p(257, INT32_MAX);
  EXPECT_EQ(noise_robust_band_energy_16kHz(p.data(), 257) + lower_band_energy(p.data(), 9), INT32_MAX);
  p.assign(257, 0);
  EXPECT_EQ(upper_lower_band_energy_ratio(p.data(), 257), 65536);
  p[115] = one, p[116] = 2 * one;
  EXPECT_EQ(upper_lower_band_energy_ratio(p.data(), 257), 2 * 107 * 65536 / 141);
  for (const auto& [x, units] :
       Cases<2>{{0, 0}, {511, 0}, {512, 16}, {1023, 16}, {3 * 512, 32}, {INT32_MAX, 352}, {-1, 352}})
    EXPECT_EQ(quantized_energy(x, 1, 2, 3), units * kUnit) << x;
}

class Vad : public testing::Test {
 protected:
  Vad() { EXPECT_EQ(init_energy_epd_prm_org(&prm_, 160), 1); }
  ~Vad() override { close_energy_epd_prm(&prm_); }

  // The raw decision on a frame after the learning phase, for a noise level in units.
  int Decide(int32_t noise, int32_t energy) {
    prm_.vad.vad_frames = 10, prm_.vad.noise_level = noise * kUnit, prm_.vad.log_energy = energy;
    energy_based_VAD_with_UV(&prm_.vad, &prm_);
    return prm_.vad.vad_raw;
  }

  energy_epd_prm prm_ = {};
};

TEST_F(Vad, LearnsTheMeanOfTenFramesThenFallsFastAndRisesSlowly) {
  std::mt19937 random(21);
  double sum = 0;
  for (int c = 1; c <= 10; ++c) {
    sum += prm_.vad.log_energy = 130 * kUnit + static_cast<int32_t>(random() >> 8);
    EXPECT_EQ(energy_based_VAD_with_UV(&prm_.vad, &prm_) | prm_.vad.vad_raw, 0) << "frame " << c;
    EXPECT_NEAR(prm_.vad.noise_level, sum / c, c) << "frame " << c << ", seed 21";
  }
  // Up by 1 %, 6553.6 for 10 units, and not by more than 15; down by 1.8, in Q30 a little more, cut; 120 at
  // least.
  for (const auto& [noise, energy, after] : Cases<3>{{200, 210 * kUnit, 200 * kUnit + 6553},
                                                     {200, 200 * kUnit + 983000, 200 * kUnit + 9830},
                                                     {200, 215 * kUnit, 200 * kUnit + 9830},
                                                     {200, 215 * kUnit + 1, 200 * kUnit},
                                                     {200, 190 * kUnit, 182 * kUnit - 1},
                                                     {125, 100 * kUnit, 120 * kUnit}}) {
    Decide(noise, energy);
    EXPECT_EQ(prm_.vad.noise_level, after) << noise << " to " << energy;
  }
}

TEST_F(Vad, NeedsAMarginThatGrowsWithLoudnessAndVoiceInTheSegment) {
  prm_.vad.vad_threshold = 45;
  // The noise counts as 150 to 300 units; whole units above it must exceed 45. Noise, peak, least energy.
  for (const auto& [noise, peak, least] : Cases<3>{{100, 0, 196},
                                                   {200, 0, 246},
                                                   {350, 0, 346},
                                                   {100, 2000, 196},
                                                   {100, 2001, 206},
                                                   {100, 10000, 206},
                                                   {100, 10001, 211},
                                                   {100, 20000, 211},
                                                   {100, 20001, 216}}) {
    prm_.vad.peak_amplitude = peak;
    EXPECT_TRUE(Decide(noise, least * kUnit) && !Decide(noise, least * kUnit - 1))
        << noise << ", peak " << peak;
  }
  // Between 75 and 125 frames, exclusively, 1 % must be voiced. In speech, voiced, unvoiced, decision.
  for (const auto& [on, voiced, unvoiced, raw] : Cases<4>{{1, 0, 75, 1},
                                                          {1, 0, 76, 0},
                                                          {1, 0, 124, 0},
                                                          {1, 0, 125, 1},
                                                          {1, 1, 99, 1},
                                                          {1, 1, 100, 0},
                                                          {1, 2, 100, 1},
                                                          {0, 0, 80, 1}}) {
    prm_.speech_on = static_cast<int16_t>(on), prm_.uv.voiced_frames = voiced,
    prm_.uv.unvoiced_frames = unvoiced;
    EXPECT_EQ(Decide(100, 300 * kUnit), raw) << on << ": " << voiced << " and " << unvoiced;
  }
}

TEST_F(Vad, SmoothsOverSevenFrames) {
  const std::string raw = "1000000111000000111111100000", smooth = "0000000000000000000111111100";
  for (size_t t = 0; t < raw.size(); ++t) {
    Decide(100, raw[t] == '1' ? 300 * kUnit : 0);
    EXPECT_EQ(prm_.vad.vad_flag, smooth[t] - '0') << "frame " << t;
  }
}

TEST_F(Vad, DelaysTheRiseByNineFramesAndTheFallByTheHangover) {
  prm_.profile.hangover_frames = 30;
  // Frames of 0, 1, 0, ... in turn, in and out: plain; too short; resumed in the hangover; after settled
  // silence; and a countdown that runs on without speech.
  const std::pair<Values, Values> cases[] = {{{0, 20, 50}, {9, 41, 20}},
                                             {{5, 9}, {14}},
                                             {{0, 20, 29, 5, 40}, {9, 75, 10}},
                                             {{0, 20, 31, 20}, {9, 41, 10, 11}},
                                             {{0, 4, 40}, {9, 30, 5}}};
  const auto flags = [](const Values& runs) {
    std::string text;
    for (size_t i = 0; i < runs.size(); ++i)
      text.append(static_cast<size_t>(runs[i]), i % 2 == 0 ? '0' : '1');
    return text;
  };
  for (const auto& [in, out] : cases) {
    energy_vad_setting(&prm_.vad);
    std::string got;
    for (char flag : flags(in))
      voice_activity_detection(flag - '0', &prm_), got += static_cast<char>('0' + prm_.vad.vad_flag);
    EXPECT_EQ(got, flags(out));
  }
  prm_.vad.silence_run = 32767, prm_.vad.hangover_count = 0;  // five and a half minutes of silence
  voice_activity_detection(0, &prm_), voice_activity_detection(1, &prm_);
  EXPECT_EQ(prm_.vad.onset_count, 8);
  // A segment ends that is long and has been unvoiced for long. In speech, frames, since voice, flag.
  prm_.profile.long_speech_frames = 130, prm_.profile.max_unvoiced_run = 150;
  for (const auto& [on, frames, unvoiced_run, flag] :
       Cases<4>{{1, 131, 151, 0}, {1, 130, 151, 1}, {1, 131, 150, 1}, {0, 131, 151, 1}}) {
    prm_.vad.onset_count = prm_.vad.silence_run = 0, prm_.speech_on = static_cast<int16_t>(on);
    prm_.uv.voiced_frames = 100, prm_.uv.unvoiced_frames = frames - 100,
    prm_.uv.frames_since_voiced = unvoiced_run;
    voice_activity_detection(1, &prm_);
    EXPECT_EQ(prm_.vad.vad_flag, flag) << on << ", " << frames << ", " << unvoiced_run;
  }
}

}  // namespace
