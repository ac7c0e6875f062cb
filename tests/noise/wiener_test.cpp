// The whole noise reduction of one frame, its steps, and the life of its record.
#include <gtest/gtest.h>
#include <vask/noise.h>

#include <algorithm>
#include <numeric>

#include "support/inputs.h"

namespace vask {
namespace {

using test::kOneQ30, test::Samples, test::Values;

class Wiener : public testing::Test {
 protected:
  Wiener() { EXPECT_EQ(init_wiener_filt(&wf_), 1); }
  ~Wiener() override { close_wiener_filt(&wf_); }

  // Put a frame into the history and filter, as the engine does.
  void Frame(const int16_t* samples) {
    std::copy(wf_.sig_hist + 160, wf_.sig_hist + 640, wf_.sig_hist);
    std::copy_n(samples, 160, wf_.sig_hist + 480);
    const fft_tables& t = test::Twiddles();
    if (++wf_.frame_count > 2) WienerFiltering(&wf_, &wf_.mel_fb, t.cc1, t.ss1, t.cc3, t.ss3);
  }
  template <typename T>
  static bool IsZero(const T* values, size_t n) {
    return std::count(values, values + n, 0) == static_cast<std::ptrdiff_t>(n);
  }

  wiener_filt wf_ = {};
};

// Smoothed over pairs of bins of 31.25 Hz. Cutting bins to integers costs up to a unit each, roots 5e-7.
TEST_F(Wiener, MeasuresSmoothedSpectraOfThisFrameAndTheMeanOfTwo) {
  for (const auto& [name, samples] : test::Signals(800)) {
    wiener_filt_setting(&wf_);
    std::vector<double> before;
    for (size_t t = 0; t < 5; ++t) {
      Frame(&samples[t * 160]);
      std::vector<double> windowed, power;
      for (int i = 0; i < 400; ++i)
        windowed.push_back(wf_.sig_hist[120 + i] * (0.5 - 0.5 * std::cos(test::kTwoPi * (i + 0.5) / 400)));
      const auto x = test::Dft(windowed, 512);
      for (size_t k = 0; t > 1 && k < 129; ++k) {
        power.push_back(k == 128 ? std::norm(x[256]) : (std::norm(x[2 * k]) + std::norm(x[2 * k + 1])) / 2);
        const double mean = t == 2 ? power[k] : (power[k] + before[k]) / 2;
        EXPECT_NEAR(static_cast<double>(wf_.psd_cur[k]), std::sqrt(power[k]), 2.5) << name << ", bin " << k;
        EXPECT_NEAR(static_cast<double>(wf_.psd_mean[k]), std::sqrt(mean), 2.5) << name << ", bin " << k;
      }
      before = power;
    }
    // The detector saw the mean's amplitudes in mel bands: band 11 is bins 13 to 15.
    const auto triangle = static_cast<double>(wf_.psd_mean[13] + 2 * wf_.psd_mean[14] + wf_.psd_mean[15]) / 4;
    EXPECT_NEAR(static_cast<double>(wf_.spectrum.ring_long[11].data[2]), triangle, 4) << name;
  }
}

// In the first call the noise is the frame itself, so that every gain is the floor of -22 dB whatever comes
// in: weighted by the ear, summed to bands, turned into taps, windowed; then the frame of two calls ago,
// convolved.
TEST_F(Wiener, StartsWithTheFloorsImpulseResponse) {
  const Samples samples = test::Noise(480, 12000, 17);
  for (size_t t = 0; t < 3; ++t) Frame(&samples[t * 160]);
  const double snr = std::pow(10, -22 / 20.0), floor = snr / (1 + snr);
  for (int i = 0; i < 12; ++i) {
    double tap = 0;
    size_t b = 0;
    for (const mel_band* band = &wf_.mel_fb; band != nullptr; band = band->next, ++b) {
      double gain = 0;
      for (int32_t k = 0; k < band->count; ++k)
        gain += wf_.ear_weight[band->start + k] / kOneQ30 * band->weights[k] / kOneQ30;
      tap += floor * gain * wf_.idct_basis[i][b] * (0.5 - 0.5 * std::cos(test::kTwoPi * (12 + i + 0.5) / 24));
    }
    EXPECT_NEAR(wf_.impulse[12 + i], tap, 600) << "tap " << i;
    EXPECT_EQ(wf_.impulse[12 - i], wf_.impulse[12 + i]) << "tap " << i;
  }
  EXPECT_EQ(wf_.impulse[0] | wf_.impulse[24], 0);
  for (int i = 0; i < 160; ++i) {
    double sum = -11.5;  // every product is rounded down
    for (int t = 1; t < 24 && t <= i + 12; ++t)
      sum += wf_.impulse[t] / kOneQ30 * samples[static_cast<size_t>(i + 12 - t)];
    EXPECT_NEAR(wf_.out_frame[i], sum, 12) << "sample " << i << ", seed 17";
  }
}

TEST_F(Wiener, TakesStationaryNoiseDownAndLetsSpeechThroughUntilItIsSetAgain) {
  const Samples noise = test::Noise(160 * 140, 300, 18), loud = test::Noise(160 * 8, 20000, 20);
  const auto energy = [](const int16_t* s) { return std::inner_product(s, s + 160, s, 0.0); };
  double in = 0, out = 0;
  for (size_t t = 0; t < 140; ++t) {
    Frame(&noise[t * 160]);
    in += t < 100 ? 0 : energy(&noise[(t - 2) * 160]), out += t < 100 ? 0 : energy(wf_.out_frame);
  }
  EXPECT_LT(out, in / 40);  // the floor is -22.7 dB, less where the ear is sharp
  Frame(&loud[0]);          // only the edge of the window has it: still noise
  const int64_t learned = wf_.noise[32];
  for (size_t t = 1; t < 8; ++t) Frame(&loud[t * 160]);
  EXPECT_EQ(wf_.vad.vad_flag, 1);
  EXPECT_GT(energy(wf_.out_frame), energy(&loud[5 * 160]) / 2);
  EXPECT_EQ(wf_.noise[32], learned);
  // Resetting restarts the detector: twenty of 39 make 20 ones; 0 .. 19 are cut to nothing.
  std::fill_n(wf_.spectrum.ring_long[3].data, 20, 39);
  std::iota(wf_.spectrum.ring_long[4].data, wf_.spectrum.ring_long[4].data + 20, 0);
  wf_.vad.hangover = 5, wf_.vad.speech_run = 5;
  wiener_filt_resetting(&wf_);
  EXPECT_TRUE(wf_.spectrum.noise_band[3] == 20 && wf_.spectrum.noise_band[4] == 0);
  EXPECT_EQ(wf_.vad.vad_flag + wf_.vad.hangover + wf_.vad.speech_run + wf_.gsap_data.vad_flag, 0);
  EXPECT_EQ((Values{wf_.gsap_data.gsap, wf_.vad.frame_count, wf_.frame_count}), (Values{65536, 146, 148}));
  EXPECT_EQ(wf_.noise[32], learned);
  wf_.gsap_data.gsap = wf_.vad.hangover = wf_.impulse[36] = 5;
  wiener_filt_setting(&wf_);
  EXPECT_EQ((Values{wf_.gsap_data.gsap, wf_.vad.frame_count, wf_.frame_count, wf_.vad.hangover}),
            (Values{65536, 0, 0, 0}));
  EXPECT_TRUE(IsZero(wf_.sig_hist, 640) && IsZero(wf_.out_frame, 160) && IsZero(wf_.gain, 129) &&
              IsZero(wf_.impulse, 37) && IsZero(wf_.fft_buf, 512));
  const wiener_spectrum& s = wf_.spectrum;
  for (const auto* values : {wf_.psd_prev, wf_.psd_mean, wf_.psd_cur, wf_.noise, wf_.den_prev, wf_.mel_amp,
                             s.sig_band, s.clean_band, s.noise_band})
    EXPECT_TRUE(IsZero(values, 35));
  for (int b : {0, 34})
    EXPECT_EQ(
        s.ring_short[b].index | s.ring_short[b].data[1] | s.ring_long[b].index | s.ring_long[b].data[19], 0);
  for (int t = 0; t < 30; ++t) Frame(Samples(160).data());
  EXPECT_TRUE(IsZero(wf_.out_frame, 160));
}

TEST(WienerSteps, WindowSmoothMirrorAndConvolve) {
  const int16_t samples[] = {1, -1, 32767, -32768};
  std::vector<int64_t> out(6, 9);
  windowing(samples, Values{1 << 20, (1 << 20) - 1, 1 << 30, 1 << 30}.data(), out.data(), 4, 5);
  EXPECT_EQ(out, (std::vector<int64_t>{1, -1, 32767 * 1024, -32768 * 1024, 0, 9}));
  const int64_t power[] = {1, 2, -3, 0, 7};
  es_smoothed_psd(power, out.data(), 2);
  EXPECT_EQ(out, (std::vector<int64_t>{1, -2, 7, -32768 * 1024, 0, 9}));
  Values impulse(7, 9);
  DoFilterWindowing(Values{400, -200, 100}.data(), Values{1, 1, 1, 1 << 29, 1 << 28, 1 << 27}.data(),
                    impulse.data(), 6);
  EXPECT_EQ(impulse, (Values{9, 12, -50, 200, -50, 12, 9}));
  // The next sample / 2, this one, less the last one; 65534 in 16 bits.
  const Values h = {1 << 29, 1 << 30, -(1 << 30)}, twice = {1 << 30, 1 << 30, 0};
  const int16_t now[] = {10, 20, 31}, past[] = {5, 7}, loud[] = {32767, 32767, 32767};
  Samples filtered = {0, 0, 9};
  ApplyWF(now, past, h.data(), filtered.data(), 2, 1), ApplyWF(now, past, h.data(), filtered.data(), 1, 2);
  EXPECT_EQ(filtered, (Samples{10 + 10 - 7, 15 + 20 - 10, 9}));
  ApplyWF(loud, loud, twice.data(), filtered.data(), 2, 1),
      ApplyWF(now, nullptr, h.data(), filtered.data(), 2, 1);
  EXPECT_EQ(filtered, (Samples{-2, -2, 9}));
}

TEST(WienerRecord, KnowsOneRateAndReleasesTwice) {
  wiener_filt wf = {};
  testing::internal::CaptureStdout();
  EXPECT_EQ(init_wiener_filt_param(&wf, 8000) + init_wiener_spectrum(&wf.spectrum, -1) +
                init_wiener_gsap_data(&wf.gsap_data, -1),
            0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "\nERROR: Sampling Rate can NOT be supported(8000 Hz)\n\nERROR: WIENER SPECTRUM memory "
            "allocation\n\nERROR: WIENER_GSAP_PARAM initialization\n");
  ASSERT_EQ(init_wiener_filt(&wf), 1);
  EXPECT_EQ(wf.frame_now - wf.sig_hist, 160);
  EXPECT_EQ((Values{wf.frame_len, wf.fft_size, wf.win_offset, wf.win_len, wf.filt_len, wf.num_bands,
                    wf.num_psd_bins}),
            (Values{160, 512, 120, 400, 24, 35, 129}));
  for (int round = 0; round < 2; ++round) close_wiener_filt(&wf);
  EXPECT_TRUE(!wf.fft_buf && !wf.idct_basis && !wf.frame_now && !wf.spectrum.ring_long &&
              !wf.gsap_data.lratio && !wf.mel_fb.next);
  wiener_filt_setting(&wf), wiener_filt_resetting(&wf);  // nothing there to clear
  wiener_filt_setting(nullptr), wiener_filt_resetting(nullptr), close_wiener_filt(nullptr);
}

}  // namespace
}  // namespace vask
