// The detector's records, its measurements of a window, and segments from rise to verdict.
#include <gtest/gtest.h>
#include <vask/epd.h>

#include <algorithm>

#include "epd/profiles.h"
#include "support/inputs.h"

namespace vask {
namespace {

using test::Cases, test::Samples, test::Values;

// Noise, then voice or loud noise from frame `rise` to frame `fall`. Call t has frame t as the second half of
// its window; it is raw speech at once, smooth speech from the fourth frame on, speech nine frames later.
class Endpoint : public testing::Test {
 protected:
  Endpoint() {
    EXPECT_EQ(init_energy_epd_prm_org(&prm_, 160) & init_sin_buff(&speech_, 400 * 160) &
                  init_in64_buff(&spectra_, 400 * 257),
              1);
    prm_.profile = DeviceProfile(2, 2);
  }
  ~Endpoint() override { close_energy_epd_prm(&prm_), close_sin_buff(&speech_), close_in64_buff(&spectra_); }

  // One frame of 160 samples, as the engine hands it over.
  void Frame(const int16_t* samples) {
    std::copy(prm_.win_samples + 160, prm_.win_samples + 320, prm_.win_samples);
    std::copy_n(samples, 160, prm_.win_samples + 160);
    pre_emph_filt filter = {.coef = 1041529569, .prev = 0};
    PreEmphasis(&filter, prm_.win_samples, prm_.win_emph, 320);
    ++prm_.engine_frames;
    const fft_tables& t = test::Twiddles();
    epd_based_on_energy_feature(&prm_, &speech_, &spectra_, t.cc1, t.ss1, t.cc3, t.ss3);
  }

  void Play(int rise, int fall, const Samples& loud) {
    energy_epd_setting(&prm_), sin_buff_setting(&speech_), in64_buff_setting(&spectra_);
    input_ = test::Noise(400 * 160, 3, 24);
    std::copy_n(loud.begin(), (fall - rise) * 160, input_.begin() + rise * 160);
    for (int t = 1; t < 400 && !prm_.end_found && !prm_.reset_request; ++t)
      Frame(&input_[static_cast<size_t>(t) * 160]);
  }

  energy_epd_prm prm_ = {};
  sin_buff speech_ = {};
  in64_buff spectra_ = {};
  Samples input_;
};

TEST_F(Endpoint, MeasuresTheWindow) {
  for (const auto& [name, samples] : test::Signals(320)) {
    energy_epd_setting(&prm_);
    Frame(samples.data()), Frame(&samples[160]);
    double energy = 0, band = 0;
    int16_t strong = 0;
    std::vector<double> windowed;
    for (size_t i = 0; i < 320; ++i) {
      energy = std::min(energy + (samples[i] >> 1) * (samples[i] >> 1), 2147483647.0);  // sample_shift is 1
      windowed.push_back(prm_.win_emph[i] / 65536.0 *
                         (0.54 - 0.46 * std::cos(test::kTwoPi * static_cast<double>(i) / 319)));
    }
    EXPECT_EQ(prm_.win_energy, energy) << name;
    const auto x = test::Dft(windowed, 512);
    for (size_t k = 0; k < 257; ++k) {
      const auto power = static_cast<double>(prm_.spectrum_hist.data[257 + k]);
      EXPECT_NEAR(std::sqrt(power), std::abs(x[k]) / 2, 2) << name << ", bin " << k;
      EXPECT_EQ(prm_.power_spec[k], std::min(power, 2147483647.0)) << name << ", bin " << k;
      band = std::min(band + (k >= 7 && k < 200 ? prm_.power_spec[k] / 8 : 0), 2147483647.0);
      strong += k >= 3 && k < 129 && power > 1e9;
    }
    EXPECT_TRUE(prm_.vad.strong_low_bins == strong && prm_.vad.strong_low_bins_copy == strong) << name;
    const auto total = static_cast<int32_t>(std::min(band + std::floor(energy / 8), 2147483647.0));
    EXPECT_EQ(prm_.uv.log_energy, quantized_energy(total, 0, 0, 0)) << name;
    EXPECT_EQ(prm_.vad.log_energy, prm_.uv.log_energy) << name;
    EXPECT_TRUE(std::equal(&samples[0], &samples[160], prm_.sample_hist.data + 160))
        << name;  // the frame before
  }
  prm_.engine_frames = 1, prm_.vad.noise_level = 7 << 16, prm_.profile.energy_shift = 3;
  const int32_t before = prm_.vad.log_energy;
  Frame(prm_.win_samples), Frame(prm_.win_samples);
  EXPECT_NEAR(before - prm_.vad.log_energy, 48 << 16, 9 << 16);  // 16 units a bit
}

TEST_F(Endpoint, QueuesVoiceFromItsMarginOnAndAcceptsIt) {
  for (int rise : {100, 30, 20}) {
    Play(rise, rise + 60, test::Tone(60 * 160, 80, 5000));
    // The window after the last loud frame still holds it, and smoothing adds three; then 100 frames of
    // hangover, of which the end takes off all, and three.
    const int end_call = rise + 60 + 104, first = std::max(rise - 35, 0), count = end_call - 3 - first;
    EXPECT_EQ((Values{prm_.start_frame, prm_.frame_index, prm_.end_frame, prm_.transitions}),
              (Values{rise, end_call, end_call - 103, 2}));
    EXPECT_EQ((Values{prm_.end_found, prm_.reset_request, prm_.backfill_pending, prm_.speech_start_flag}),
              (Values{1, 0, 0, 1}));
    // From 35 frames before the start, three frames behind, none in the last call. Frame 0 was silence.
    EXPECT_EQ(
        (Values{speech_.write_pos, spectra_.write_pos, prm_.uv.voiced_frames + prm_.uv.unvoiced_frames}),
        (Values{count * 160, count * 257, count}));
    const int from = first == 0 ? 160 : 0;
    EXPECT_TRUE(std::equal(speech_.data + from, speech_.data + count * 160,
                           &input_[static_cast<size_t>(first * 160 + from)]));
    EXPECT_NEAR(prm_.uv.voiced_frames, 60, 4) << rise;
    EXPECT_EQ(prm_.vad.peak_amplitude, 2498) << rise;                    // 4996 >> 1
    const int64_t* spectrum = spectra_.data + (rise - first) * 257 + 6;  // 200 Hz is bin 6.4
    EXPECT_LT(spectrum[-2 * 257] * 1000, spectrum[0]) << rise;
  }
}

TEST_F(Endpoint, RejectsNoiseAndForgetsTheSegmentOnlyOrEverything) {
  Play(100, 180, test::Noise(80 * 160, 5000, 25));
  EXPECT_EQ((Values{prm_.reset_request, prm_.end_found, prm_.uv.voiced_frames}), (Values{1, 0, 0}));
  const int32_t noise = prm_.vad.noise_level, frames = prm_.frame_index;
  const auto is_clear = [&] {
    const energy_vad_prm& v = prm_.vad;
    return prm_.start_frame + prm_.end_frame == -2 &&
           prm_.backfill_pending + prm_.collect + v.silence_run == 3 &&
           (prm_.speech_on | prm_.speech_end | prm_.transitions | prm_.prev_vad | prm_.reset_request |
            prm_.uv.unvoiced_frames | prm_.uv.frames_since_voiced | v.peak_amplitude | v.speech_run |
            v.hangover_count | v.onset_count | v.vad_flag | prm_.uv.uv_hist.index | v.vad_raw_hist.index) ==
               0;
  };
  energy_epd_resetting(&prm_);
  EXPECT_TRUE(is_clear());
  EXPECT_EQ((Values{prm_.frame_index, prm_.engine_frames, prm_.vad.noise_level, prm_.vad.vad_frames}),
            (Values{frames, frames, noise, frames}));
  EXPECT_TRUE(prm_.sample_hist.index != 0 && prm_.vad.energy_hist.data[0] != 0 && prm_.win_samples[0] != 0);
  prm_.speech_on = prm_.vad.speech_run = 1, prm_.start_frame = prm_.prev_vad = 9;
  energy_epd_setting(&prm_);
  EXPECT_TRUE(is_clear());
  EXPECT_EQ(prm_.frame_index | prm_.engine_frames | prm_.vad.noise_level | prm_.vad.vad_frames |
                prm_.sample_hist.index | prm_.spectrum_hist.index,
            0);
  EXPECT_EQ(std::count(prm_.sample_hist.data, prm_.sample_hist.data + 11200, 0) +
                std::count(prm_.win_samples, prm_.win_samples + 320, 0) +
                std::count(prm_.win_emph, prm_.win_emph + 320, 0) +
                std::count(prm_.power_spec, prm_.power_spec + 512, 0) + prm_.vad.energy_hist.data[0],
            12352);
}

TEST_F(Endpoint, AcceptsTenFramesOfWhichOneInTwentyIsVoiced) {
  for (const auto& [length, voiced, accepted] :
       Cases<3>{{9, 9, 0}, {10, 10, 1}, {20, 1, 1}, {21, 1, 0}, {100, 5, 1}, {100, 4, 0}, {-5, 1, 0}}) {
    energy_epd_setting(&prm_);
    prm_.speech_on = prm_.speech_end = 1, prm_.backfill_pending = 0;
    prm_.start_frame = 50, prm_.end_frame = 50 + length, prm_.uv.voiced_frames = voiced;
    Frame(Samples(160).data());
    EXPECT_TRUE(prm_.end_found == accepted && prm_.reset_request == !accepted) << voiced << " of " << length;
  }
  energy_epd_setting(&prm_);
  prm_.engine_frames = 1, prm_.vad.noise_level = 7 << 16;  // the first call raises the noise by 30 units
  Frame(Samples(160).data());
  EXPECT_EQ(prm_.uv_noise_ref, 37 << 16);
}

TEST_F(Endpoint, TracksTheFirstRiseAndTheFirstFall) {
  short_epd_prm rec = {9, 9, 9, 9, 9, 9};
  epd_prm_setting(&rec);
  for (int32_t t = 1; t <= 400; ++t) {
    prm_.vad.vad_flag = (t >= 100 && t < 250) || t >= 300;
    energy_EPD(&prm_, t), short_EPD(&rec, prm_.vad.vad_flag, t);
    const int32_t on = t >= 100, end = t >= 250, start = on ? 88 : -1;
    EXPECT_EQ((Values{prm_.speech_on, prm_.speech_end, prm_.transitions, prm_.start_frame, prm_.end_frame}),
              (Values{on, end, on + end, start, end ? 250 - 103 : -1}))
        << t;
    EXPECT_EQ((Values{rec.state, rec.end_flag, rec.count, rec.start_frame, rec.end_frame}),
              (Values{on, end, on + end, start, end ? 250 - 43 : -1}))
        << t;
  }
}

TEST(DetectorRecord, HasItsSizesAndReleasesTwice) {
  energy_epd_prm prm = {};
  testing::internal::CaptureStdout();
  EXPECT_EQ(init_energy_epd_prm(&prm, 161) + init_energy_epd_prm(nullptr, 160) + init_uv_prm(&prm.uv, -1), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "ERROR: initializing energy EPD parameters\nERROR: memory allocation, init_uv_prm(...)\n");
  ASSERT_EQ(init_energy_epd_prm(&prm, 160), 1);
  EXPECT_EQ(
      (Values{prm.uv.min_lag, prm.uv.max_lag, prm.vad.silence_run, prm.backfill_pending, prm.start_frame}),
      (Values{32, 267, 1, 1, -1}));
  EXPECT_EQ((Values{prm.win_len, prm.sample_hist.size, prm.spectrum_hist.size, prm.vad.vad_threshold}),
            (Values{320, 11200, 17990, 45}));
  for (int round = 0; round < 2; ++round) close_energy_epd_prm(&prm);
  EXPECT_TRUE(!prm.hamming && !prm.win_emph && !prm.power_spec && !prm.sample_hist.data &&
              !prm.uv.uv_hist.data && !prm.vad.energy_hist.data);
  epd_based_on_energy_feature(&prm, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
      energy_epd_setting(&prm);
  short_vad_prm counters = {9, 9, 9, 9, {}};
  vad_prm_setting(&counters), vad_prm_setting(nullptr), epd_prm_setting(nullptr);
  EXPECT_EQ(
      (Values{counters.silence_run, counters.speech_run, counters.onset_count, counters.hangover_count}),
      (Values{1, 0, 0, 0}));
  testing::internal::CaptureStderr();
  EXPECT_EQ(set_energy_hangover(40), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "  Vask EPD trailing silence (1) = 400 (ms)\n");
}

TEST(Profiles, AreChosenByDeviceAndSystem) {
  const epd_profile& r = kReferenceProfile;
  EXPECT_EQ((Values{r.hangover_frames, r.long_speech_frames, r.max_unvoiced_run, r.vad_threshold,
                    r.sample_shift, r.energy_shift, r.uv_energy_offset, r.uv_vote_min}),
            (Values{80, 130, 150, 40, 3, 1, 35, 751619276}));
  // Profiles A to H: long speech, unvoiced run, threshold, shifts, tilt, votes, offset.
  const Cases<8> rows = {
      {180, 190, 45, 1, 0, 49807, 644245094, 20}, {150, 170, 50, 3, 3, 62914, 644245094, 25},
      {150, 170, 45, 2, 2, 49807, 644245094, 40}, {150, 170, 50, 2, 1, 49807, 751619276, 45},
      {180, 190, 45, 2, 0, 49807, 644245094, 20}, {180, 190, 45, 2, 1, 49807, 644245094, 20},
      {180, 190, 45, 1, 1, 49807, 644245094, 20}, {180, 190, 45, 2, 2, 49807, 644245094, 20}};
  for (const auto& [device, with_os_1, otherwise] : Cases<3>{{1, 'B', 'B'},
                                                             {2, 'B', 'A'},
                                                             {3, 'A', 'A'},
                                                             {16, 'C', 'A'},
                                                             {32, 'D', 'E'},
                                                             {48, 'F', 'F'},
                                                             {144, 'F', 'F'},
                                                             {160, 'G', 'G'},
                                                             {256, 'G', 'G'},
                                                             {512, 'H', 'H'},
                                                             {4096, 'H', 'H'},
                                                             {8192, 'H', 'H'},
                                                             {12288, 'H', 'H'},
                                                             {768, 'A', 'A'},
                                                             {2560, 'A', 'A'},
                                                             {2816, 'A', 'A'},
                                                             {16384, 'A', 'A'},
                                                             {0, 'B', 'A'}}) {
    for (int32_t os : {1, 2}) {
      const epd_profile p = DeviceProfile(device, os);
      const auto& row = rows[static_cast<size_t>((os == 1 ? with_os_1 : otherwise) - 'A')];
      EXPECT_EQ(
          (std::array<int32_t, 8>{p.long_speech_frames, p.max_unvoiced_run, p.vad_threshold, p.sample_shift,
                                  p.energy_shift, p.h2l_ratio_max, p.uv_vote_min, p.uv_energy_offset}),
          row)
          << device << ", " << os;
      EXPECT_EQ((Values{p.hangover_frames, p.voiced_check_frames, p.yin_min, p.amdf_low, p.amdf_high,
                        p.pv_low, p.pv_high, p.tonality_min, p.entropy_max}),
                (Values{100, 75, 41287, 65, 147456, 655, 193331, 19660, 19660}));
    }
  }
}

}  // namespace
}  // namespace vask
