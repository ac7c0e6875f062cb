// The front end as an application sees it: pieces of any length in, a queue out.

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

constexpr size_t kBlock = 128000;  // samples between two resets
const std::string kFull = " is full, the utterance is ended: reset the front end\n";

void Start(int32_t mode) {
  Samples frame(160);
  EXPECT_EQ(android_init_frontend(".", mode), 1);
  Vask_epd_features(frame.data(), 160, nullptr,
                    nullptr);  // a restart in mode 1 is not reported to the next run
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
  std::vector<Samples> queued(1);
  for (size_t at = 0, n; at < all.size(); at += n) {
    n = std::min({piece_size, all.size() - at, kBlock - at % kBlock});
    Samples piece(&all[at], &all[at] + n), nothing(1);
    for (int32_t result = Push(piece); result == 1; result = android_process_frame(0, nothing.data())) {
      queued.back() = Join({queued.back(), Drain()});
      queued.emplace_back();
    }
    if ((at + n) % kBlock != 0 && at + n < all.size()) continue;
    queued.back() = Join({queued.back(), Drain()});
    android_reset_frontend();
  }
  return queued;
}

TEST(FrontEnd, CutsFramesAndAnswersEveryCall) {
  enum { kNull = -1000, kReset, kWrapUp };
  struct Step {
    int32_t n, result, available;
  };
  const Step steps[] = {{100, -1, 0},   {60, 0, 0},        {0, -1, 0},      {-5, -1, 0},  {400, 0, 160},
                        {80, 0, 320},   {79, -1, 320},     {kNull, 1, 320}, {81, 0, 320}, {160, 0, 320},
                        {160, 0, 480},  {40, -1, 480},     {kReset, 0, 0},  {159, -1, 0}, {1, 0, 160},
                        {150, -1, 160}, {kWrapUp, 1, 160}, {10, 0, 160},    {320, 0, 320}};
  Samples samples = Hiss(4, 3000, 1);
  Start(1);
  for (const Step& s : steps) {
    int16_t* const pointer = s.n == kNull ? nullptr : samples.data();
    const int32_t result = s.n == kReset    ? android_reset_frontend()
                           : s.n == kWrapUp ? android_wrapup_frontend()
                                            : android_process_frame(s.n, pointer);
    EXPECT_EQ(result, s.result) << "step " << &s - steps;
    EXPECT_EQ(android_get_available_frames(), s.available) << "step " << &s - steps;
  }
  EXPECT_TRUE(ecdorgFrames > 0 && sample_max > 0 && sample_min < 0);
  android_reset_frontend();
  EXPECT_TRUE(ecdorgFrames == 0 && sample_max == 0 && sample_min == 0);
}

TEST(FrontEnd, HandsOutTheQueueInOrder) {
  Samples samples = Hiss(6, 3000, 2), out(2000, 7);
  const Samples whole = Play(1, samples, 960)[0];
  Start(1);
  Push(samples);
  EXPECT_EQ(android_get_frames(-1, out.data()) + android_get_frames(0, out.data()), 0);
  EXPECT_EQ(android_get_frames(5, nullptr) + android_get_features(5, nullptr), 0);
  EXPECT_EQ(out, Samples(2000, 7));
  EXPECT_EQ(android_get_frames(100, out.data()), 100);
  EXPECT_EQ(android_get_frames(1900, &out[100]), 540);
  EXPECT_EQ(out, Join({whole, Samples(1360, 7)}));
  int32_t features[200];  // taken from the same place
  samples.resize(160);
  Push(samples);
  EXPECT_EQ(android_get_features(200, features) + android_get_available_frames(), 160);
}

TEST(FrontEnd, GivesTheSameBitsForPiecesOfAnyLength) {
  const Samples room = Room();
  for (const int32_t mode : {1, 2}) {
    const std::vector<Samples> expected = Play(mode, room, 160);
    const auto silent = std::count(expected.begin(), expected.end(), Samples());
    EXPECT_EQ(expected.size() - static_cast<size_t>(silent),
              mode == 1 ? 1u : 5u);  // the sentences of room.json
    for (const size_t piece : {1, 80, 161, 4096})
      EXPECT_TRUE(Play(mode, room, piece) == expected) << "mode " << mode << ", pieces of " << piece;
  }
}

TEST(FrontEnd, ComputesInItsOwnRoundingAndPutsTheCallersBack) {
  const Samples scene = Join({Burst(), Utterance()});
  std::vector<float> expected;
  for (const int rounding : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    std::fesetround(rounding);
    std::vector<float> values;
    for (const Samples& queued : Play(2, scene, 480))
      values.insert(values.end(), queued.begin(), queued.end());
    values.insert(values.end(), ecdorgLFBE, ecdorgLFBE + 200);  // not counted any more, but still there
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

TEST(FrontEnd, ClipsInThePieceThatBroughtTheSamplesOnceTheirFrameIsProcessed) {
  for (const int32_t mode : {1, 2, 4097}) {
    Start(mode);
    const int16_t clipped = mode == 4097 ? 32767 : 30000;
    for (const auto& [size, processed] : {std::pair(100, 0), {100, 60}, {120, 120}, {350, 320}}) {
      Samples piece(static_cast<size_t>(size), 32767);
      Push(piece);
      EXPECT_EQ(std::count(piece.begin(), piece.begin() + processed, clipped), processed) << "mode " << mode;
      EXPECT_EQ(std::count(piece.begin() + processed, piece.end(), 32767), size - processed)
          << "mode " << mode;
    }
  }
}

TEST(FrontEnd, OtherModesQueueNothing) {
  for (const int32_t mode : {0, 3, 4, 5, -1, 4097}) {
    Samples scene = Utterance();
    int32_t features[10];
    Start(mode);
    EXPECT_EQ(Push(scene), mode == 3 || mode == 4 ? 1 : -1)
        << "mode " << mode;  // the end is found all the same
    EXPECT_EQ(android_get_available_frames() + android_get_features(10, features), 0);
  }
}

// The frame that ended an utterance, and what is behind it, go to the fresh engine.
TEST(FrontEnd, GoesOnWithoutAResetAndDropsWhatIsRejected) {
  const Samples scene = Join({Burst(), Utterance()});  // no block is complete: nothing is reset
  const std::vector<Samples> queued = Play(2, scene, 160);
  ASSERT_EQ(queued.size(), 3u);
  Start(2);
  std::ptrdiff_t at = 0;
  int32_t most = 0;
  for (int32_t result = 0; result != 1; at += 160) {
    Samples frame(scene.begin() + at, scene.begin() + at + 160);
    most = std::max(most, android_get_available_frames());
    result = Push(frame);
  }
  EXPECT_GT(most, 0);
  EXPECT_EQ(android_get_available_frames(), 0);
  const std::vector<Samples> rest = Play(2, Samples(scene.begin() + at - 160, scene.end()), 800);
  EXPECT_FALSE(rest[0].empty());
  EXPECT_EQ(queued, (std::vector<Samples>{{}, rest[0], rest[1]}));
}

TEST(FrontEnd, ARestartInModeOneIsReportedWithTheZerosOfTheNextUtterance) {
  Samples scene = Burst(), zeros(160);
  Start(1);
  EXPECT_EQ(Push(scene), 0);
  android_wrapup_frontend();
  for (const int32_t result : {2, 0}) EXPECT_EQ(Push(zeros), result);
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
      EXPECT_EQ(Hear([&] { result = Push(second); }).out, "ERROR: input buffer" + kFull);
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
    EXPECT_EQ(android_get_available_frames(), 160);  // wrapped up: the history fills anew
  }
}

TEST(FrontEnd, AFullQueueEndsTheUtteranceAndKeepsWhatFits) {
  Stream stream(1);
  const auto own = std::make_unique<FrontEnd>();
  own->record.mode = 1;
  own->record.write_pos = 160000 - 200;
  Samples samples = Hiss(5, 3000, 4);
  int32_t result = 0;
  EXPECT_EQ(Hear([&] { result = ProcessSamples(*own, stream.engine, samples); }).out,
            "ERROR: output queue" + kFull);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(own->record.write_pos, 160000);
  EXPECT_EQ(own->record.frame_pos, 3 * 160);  // the frame of the end stays
  EXPECT_EQ(stream.state.frames_in, 0);
  const Samples expected = Play(1, samples, 160)[0];
  EXPECT_TRUE(std::equal(&expected[0], &expected[200], own->record.frames + 160000 - 200));
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
