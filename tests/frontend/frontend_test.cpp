// The front end as an application sees it, at its limits: full buffers, no engine, a rounding mode.
#include <gtest/gtest.h>
#include <vask/vask.h>

#include <algorithm>
#include <cfenv>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "frontend/framing.h"
#include "support/capture.h"
#include "support/stream.h"

namespace vask::test {
namespace {

const std::string kFull = " is full, the utterance is ended: reset the front end\n";

void Start(int32_t mode) {
  Samples frame(160);
  EXPECT_EQ(android_init_frontend(".", mode), 1);
  Vask_epd_features(frame.data(), 160, nullptr, nullptr);  // fetches the report of an old restart
  android_wrapup_frontend();
  android_reset_frontend();
}

int32_t Push(Samples& piece) {
  return android_process_frame(static_cast<int32_t>(piece.size()), piece.data());
}

Samples Drain() {
  Samples out(static_cast<size_t>(android_get_available_frames()));
  EXPECT_EQ(android_get_frames(1000000, out.data()), static_cast<int32_t>(out.size()));
  return out;
}

// What is queued until each end, and after the last.
std::vector<Samples> Play(int32_t mode, const Samples& all, size_t piece_size) {
  Start(mode);
  std::vector<Samples> queued;
  for (size_t at = 0; at < all.size(); at += piece_size) {
    Samples piece(&all[at], &all[std::min(at + piece_size, all.size())]), nothing(1);
    for (int32_t result = Push(piece); result == 1; result = android_process_frame(0, nothing.data()))
      queued.push_back(Drain());
  }
  queued.push_back(Drain());
  android_reset_frontend();
  return queued;
}

// In a fresh process: a caller that starts only the engine gets the samples of the utterance.
TEST(FrontEndDeathTest, IsInModeTwoAtLoad) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto listen = [] {
    Samples scene = Utterance();
    const bool ends = Vask_epd_init(".", 1) == 1 && Push(scene) == 1;
    std::exit(ends && android_get_available_frames() > 80 * 160 ? 0 : 1);
  };
  EXPECT_EXIT(listen(), testing::ExitedWithCode(0), "");
}

TEST(FrontEnd, DeliversTheQueueInOrder) {
  Samples samples = Hiss(6, 3000, 2), out(2000, 7);
  const Samples whole = Play(1, samples, 960)[0];
  Start(1);
  Push(samples);
  EXPECT_EQ(android_get_frames(-1, out.data()), 0);
  EXPECT_EQ(android_get_frames(0, out.data()), 0);
  EXPECT_EQ(android_get_frames(5, nullptr), 0);
  EXPECT_EQ(android_get_features(5, nullptr), 0);
  EXPECT_EQ(out, Samples(2000, 7));
  EXPECT_EQ(android_get_frames(100, out.data()), 100);
  EXPECT_EQ(android_get_frames(1900, &out[100]), 540);
  EXPECT_EQ(out, Join({whole, Samples(1360, 7)}));
  int32_t features[200];  // taken from the same place
  samples.resize(160);
  Push(samples);
  EXPECT_EQ(android_get_features(200, features), 160);
  EXPECT_EQ(android_get_available_frames(), 0);
}

TEST(FrontEnd, ComputesInItsOwnRoundingModeAndRestoresTheCallers) {
  const Samples scene = Join({Burst(), Utterance()});
  std::vector<float> expected;
  for (const int rounding : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    std::fesetround(rounding);
    std::vector<float> values;
    for (const Samples& queued : Play(2, scene, 480))
      values.insert(values.end(), queued.begin(), queued.end());
    values.insert(values.end(), ecdorgLFBE, ecdorgLFBE + 200);  // no longer counted, but still there
    Start(4);
    for (int16_t sample = 150; sample < 9000; sample = static_cast<int16_t>(sample + 75)) {
      Samples frame(160, sample);  // a whole number of hundredths
      if (sample % 2 == 0) Vask_epd_features(frame.data(), 160, nullptr, nullptr);
      if (sample % 2 != 0) Vask_epd_frame_baseline(frame.data(), 160, nullptr, nullptr);
      values.push_back(static_cast<float>(Vask_epd_frame_energy()));
    }
    EXPECT_EQ(std::fegetround(), rounding);
    std::fesetround(FE_TONEAREST);
    values.insert(values.end(), ecdorgLFBE, ecdorgLFBE + ecdorgFrames);
    if (rounding == FE_TONEAREST) expected = values;
    EXPECT_TRUE(values == expected) << "rounding " << rounding;
  }
}

TEST(FrontEnd, AFullInputEndsTheUtteranceAndKeepsTheQueue) {
  const Samples scene = Hiss(1100, 32767, 3);
  const auto part = [&](int32_t from, int32_t n) { return Samples(&scene[0] + from, &scene[0] + from + n); };
  Samples all = part(0, 160000), start = part(0, 480);
  Start(1);
  EXPECT_EQ(Push(all), 0);
  const Samples expected = Drain();
  EXPECT_EQ(expected.size(), 998 * 160u);
  for (const auto& [before, after] :
       {std::pair(1, 160000), {480, 175000}, {159999, 2}, {159900, 500}, {160000, 1}}) {
    Samples first = part(0, before), second = part(before, after);
    Start(1);
    EXPECT_EQ(Push(first), before == 1 ? -1 : 0);
    for (int32_t call = 0; call < 2; ++call) {
      int32_t result = 0;
      EXPECT_EQ(Hear([&] { result = Push(second); }).out, call == 0 ? "ERROR: input buffer" + kFull : "");
      EXPECT_EQ(result, 1);
    }
    for (int32_t i = 0; i < after; ++i) {
      const int16_t raw = scene[static_cast<size_t>(before + i)];
      ASSERT_EQ(second[static_cast<size_t>(i)],
                before + i < 160000 ? std::clamp<int16_t>(raw, -30000, 30000) : raw);
    }
    EXPECT_TRUE(Drain() == expected) << before << " and " << after;
    android_reset_frontend();
    EXPECT_EQ(Push(start), 0);
    EXPECT_EQ(android_get_available_frames(), 160);  // wrapped up: the history fills again
  }
}

TEST(FrontEnd, AFullQueueEndsTheUtteranceAndKeepsWhatFits) {
  Stream stream(1);
  const auto own = std::make_unique<frontend>();
  own->mode = 1;
  own->write_pos = 160000 - 200;
  Samples samples = Hiss(5, 3000, 4);
  int32_t result = 0;
  EXPECT_EQ(Hear([&] { result = ProcessSamples(*own, {stream.state}, samples).result; }).out,
            "ERROR: output queue" + kFull);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(own->write_pos, 160000);
  EXPECT_EQ(own->frame_pos, 3 * 160);  // the frame that ended it is kept
  EXPECT_EQ(stream.state.frames_in, 0);
  const Samples expected = Play(1, samples, 160)[0];
  EXPECT_TRUE(std::equal(&expected[0], &expected[200], own->frames + 160000 - 200));
}

TEST(FrontEnd, WithoutAnEngineNothingIsTaken) {
  for (const bool fails : {false, true}) {
    android_stop_frontend();
    android_reset_frontend();
    if (fails) {
      int32_t result = 1;
      Start(1);
      const Said said = Hear([&] { result = android_init_frontend(std::string(119, 'd').c_str(), 1); });
      EXPECT_EQ(result, 0);
      EXPECT_EQ(said.out, "ERROR: knowledge-base directory is too long\n");
      EXPECT_EQ(said.err, "  Vask EPD trailing silence (1) = 400 (ms)\n");
    }
    Samples piece(4000, 32767);
    EXPECT_EQ(Push(piece), -1);
    EXPECT_EQ(piece, Samples(4000, 32767));
    EXPECT_EQ(android_process_frame(4000, nullptr), 1);
    for (int32_t call = 0; call < 2; ++call) android_stop_frontend();
    EXPECT_EQ(android_init_frontend(std::string(118, 'd').c_str(), 1), 1);
    piece.resize(100);
    EXPECT_EQ(Push(piece), -1);  // nothing had been stored
    EXPECT_EQ(android_get_available_frames(), 0);
  }
}

}  // namespace
}  // namespace vask::test
