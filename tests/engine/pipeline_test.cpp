// A frame's way through the engine, the log of detected speech, and the engine's life from start to stop.
#include "engine/pipeline.h"

#include <gtest/gtest.h>
#include <vask/vask.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/pcm_log.h"
#include "epd/energy.h"
#include "support/knowledge_base.h"
#include "support/stream.h"

namespace vask::test {
namespace {

TEST(Pipeline, SkipsZerosBeforeTheFirstSignalAndNotAfterIt) {
  const Samples scene = Join({Utterance(), Samples(30 * 160), Hiss(5, 20, 8)});
  const Samples late = Join({Samples(7 * 160), scene});
  for (const int32_t mode : {1, 2}) {
    Stream plain(mode), delayed(mode);
    for (size_t t = 0; t < 7; ++t) EXPECT_EQ(delayed.Process(mode, late, t), Emitted{}) << "frame " << t;
    for (size_t t = 0; t < scene.size() / 160; ++t) {
      ASSERT_EQ(delayed.Process(mode, late, t + 7), plain.Process(mode, scene, t)) << "frame " << t;
      ASSERT_EQ(delayed.log_frames, std::max(static_cast<int32_t>(t) - 1, 0));
    }
    EXPECT_EQ(delayed.energies, plain.energies);
    EXPECT_EQ(delayed.energies[0], SquareEnergy(std::span(scene).subspan(320, 160)));  // of the third frame
  }
}

TEST(Pipeline, TakesBadInputAsNothing) {
  Samples frame = Hiss(1, 20000, 11), out(160);
  Vask_epd_ecd_reset();
  int32_t count = 5;
  for (const bool is_up : {false, true}) {
    ASSERT_TRUE(!is_up || Vask_epd_init(".", 2) == 1);
    for (const auto entry : {Vask_epd_speechenhance, Vask_epd_frames}) {
      EXPECT_EQ(entry(is_up ? nullptr : frame.data(), 160, out.data(), &count), 0);
      EXPECT_EQ(count + sample_max, 0);
      count = 5;
    }
  }
  for (int32_t t = 0; t < 4; ++t) EXPECT_EQ(Vask_epd_speechenhance(frame.data(), -7, nullptr, nullptr), 0);
  Vask_EPD_Set_Mode(2);  // recorded only
  EXPECT_EQ(Vask_epd_frame_baseline(frame.data(), 0, nullptr, &count) + count, 0);
  EXPECT_EQ(Vask_epd_frame_baseline(frame.data(), 0, out.data(), &count) + count, 160);  // in the last mode
  EXPECT_EQ(Vask_epd_wrapup(nullptr, &count) + count, 1);
  Vask_epd_stop();
}

TEST(Lifecycle, StartsAndStopsAnyNumberOfTimes) {
  const Samples scene = Hiss(4, 20, 12);
  Stream stream;
  Emitted first, last;
  for (const int32_t mode : {2, 4097, 1}) {
    ASSERT_TRUE(stream.Start(mode));  // the second time while it is up
    EXPECT_EQ(stream.state.mode, mode);
    EXPECT_EQ(stream.energy_only, mode == 2 ? 0 : 1);  // the request stays
    WrapUp(stream.state);
    for (size_t t = 0; t < 4; ++t) last = stream.Process(1, scene, t);
    if (mode == 2) first = last;
    EXPECT_EQ(last, first);
    for (int32_t stop = 0; stop < (mode == 2 ? 0 : 2); ++stop) StopEngine(stream.engine);
    EXPECT_EQ(IsUp(stream.state), mode == 2);
  }
  WrapUp(stream.state);
  EXPECT_EQ(stream.Process(1, scene, 0), Emitted{});
}

TEST(PcmLog, PathsAreNeverCutAndFilesThatCannotBeOpenedGetAnotherNumber) {
  const Folder folder;
  Stream stream(2);
  const Samples faint = Hiss(3, 20, 1), utterance = Utterance();
  const auto play = [&](const Samples& scene) {  // true: something came out
    size_t count = 0;
    for (size_t t = 0; t < scene.size() / 160; ++t) count += stream.Process(2, scene, t).samples.size();
    return count > 0;
  };
  ASSERT_TRUE(LogInto(stream.state, folder.Filled(113).c_str()));  // 127 bytes with the name of a file
  bool taken = true;
  EXPECT_EQ(Hear([&] { taken = LogInto(stream.state, folder.Filled(114).c_str()); }).out,
            "ERROR: PCM log directory is too long\n");
  EXPECT_FALSE(taken);
  EXPECT_EQ(Hear([&] { LogInto(stream.state, nullptr); }).out, "ERROR: PCM log directory is missing\n");
  play(faint);
  WrapUp(stream.state);
  EXPECT_EQ(ContentOf(folder / "in_000001.pcm"), "");  // still in the one before
  stream.state.pcm_log_count = 1000000;                // too long after all
  EXPECT_EQ(Hear([&] { play(faint); }).out, "ERROR: PCM log path is too long, logging is off\n");
  EXPECT_EQ(stream.state.pcm_log_on, 0);
  ASSERT_TRUE(LogInto(stream.state, (folder / "later").c_str()));
  stream.state.pcm_log_count = 7;
  EXPECT_TRUE(play(utterance));
  EXPECT_EQ(stream.state.pcm_log_count, 317);  // tried in each of 310 frames
  fs::create_directory(folder / "later");
  stream.state.pcm_log_count = INT32_MAX;
  play(faint);
  EXPECT_EQ(ContentOf(folder / "later/in_2147483647.pcm"), "");
  EXPECT_EQ(stream.state.pcm_log_count, INT32_MIN);
}

}  // namespace
}  // namespace vask::test
