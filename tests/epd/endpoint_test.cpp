// Segments at their limits: onset and hangover, the cut of long ones, and the verdict.
#include <gtest/gtest.h>
#include <vask/epd.h>

#include <array>
#include <string>
#include <utility>

#include "support/inputs.h"

namespace vask::test {
namespace {

class Endpoint : public testing::Test {
 protected:
  Endpoint() {
    EXPECT_EQ(init_energy_epd_prm_org(&prm_, 160), 1);
    EXPECT_EQ(init_sin_buff(&speech_, 88 * 160), 1);
    EXPECT_EQ(init_in64_buff(&spectra_, 88 * 257), 1);
  }
  ~Endpoint() override { close_energy_epd_prm(&prm_), close_sin_buff(&speech_), close_in64_buff(&spectra_); }

  int16_t Smooth(int32_t flag) {
    voice_activity_detection(flag, &prm_);
    return prm_.vad.vad_flag;
  }

  energy_epd_prm prm_ = {};
  sin_buff speech_ = {};
  in64_buff spectra_ = {};
};

TEST_F(Endpoint, DelaysTheRiseByNineFramesAndTheFallByTheHangover) {
  prm_.profile.hangover_frames = 30;
  // Runs of frames of 0, 1, 0, ..., in and out: plain; too short; resumed in the hangover; after settled
  // silence; and a countdown that continues without speech.
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
    for (char flag : flags(in)) got += static_cast<char>('0' + Smooth(flag - '0'));
    EXPECT_EQ(got, flags(out));
  }
  prm_.vad.silence_run = 32767, prm_.vad.hangover_count = 0;  // five and a half minutes of silence
  Smooth(0), Smooth(1);
  EXPECT_EQ(prm_.vad.onset_count, 8);
}

TEST_F(Endpoint, CutsALongSegmentThatHasBeenUnvoicedForLong) {
  prm_.profile.long_speech_frames = 130, prm_.profile.max_unvoiced_run = 150;
  // In speech, frames, frames since voiced, flag.
  for (const auto& [on, frames, unvoiced_run, flag] : std::initializer_list<std::array<int32_t, 4>>{
           {1, 131, 151, 0}, {1, 130, 151, 1}, {1, 131, 150, 1}, {0, 131, 151, 1}}) {
    prm_.vad.onset_count = prm_.vad.silence_run = 0, prm_.speech_on = static_cast<int16_t>(on);
    prm_.uv.voiced_frames = 100, prm_.uv.unvoiced_frames = frames - 100;
    prm_.uv.frames_since_voiced = unvoiced_run;
    EXPECT_EQ(Smooth(1), flag) << on << ", " << frames << ", " << unvoiced_run;
  }
}

TEST_F(Endpoint, AcceptsTenFramesOfWhichOneInTwentyIsVoiced) {
  const fft_tables& t = Twiddles();
  for (const auto& [length, voiced, accepted] : std::initializer_list<std::array<int32_t, 3>>{
           {9, 9, 0}, {10, 10, 1}, {20, 1, 1}, {21, 1, 0}, {100, 5, 1}, {100, 4, 0}, {-5, 1, 0}}) {
    energy_epd_setting(&prm_);
    prm_.speech_on = prm_.speech_end = 1, prm_.backfill_pending = 0;
    prm_.start_frame = 50, prm_.end_frame = 50 + length, prm_.uv.voiced_frames = voiced;
    epd_based_on_energy_feature(&prm_, &speech_, &spectra_, t.cc1, t.ss1, t.cc3, t.ss3);
    EXPECT_EQ(prm_.end_found, accepted) << voiced << " of " << length;
    EXPECT_NE(prm_.reset_request, accepted) << voiced << " of " << length;
  }
}

}  // namespace
}  // namespace vask::test
