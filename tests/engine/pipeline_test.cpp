// A frame's path through the engine, the log of detected speech, and the engine's life cycle.
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

// One frame through the engine of the process.
Emitted ProcessHere(int32_t mode, const Samples& samples, size_t t) {
  Samples frame(&samples[160 * t], &samples[160 * t] + 160), out(kMostEmitted);
  int32_t count = -1;
  const int32_t result =
      (mode == 1 ? Vask_epd_speechenhance : Vask_epd_frames)(frame.data(), 160, out.data(), &count);
  out.resize(static_cast<size_t>(count));
  return {result, out};
}

TEST(Pipeline, SkipsZerosBeforeTheFirstSignalButNotAfterIt) {
  const Samples scene = Join({Utterance(), Samples(30 * 160), Hiss(5, 20, 8)});
  const Samples late = Join({Samples(7 * 160), scene});
  for (const int32_t mode : {1, 2}) {
    Stream plain(mode);
    ASSERT_EQ(Vask_epd_init(".", mode), 1);
    Vask_epd_wrapup(nullptr, nullptr);
    Vask_epd_ecd_reset();
    for (size_t t = 0; t < 7; ++t) EXPECT_EQ(ProcessHere(mode, late, t), Emitted{}) << "frame " << t;
    for (size_t t = 0; t < scene.size() / 160; ++t) {
      ASSERT_EQ(ProcessHere(mode, late, t + 7), plain.Process(mode, scene, t))
          << "frame " << t << " in mode " << mode;
      // The two frames that the history waits for are not noted.
      ASSERT_EQ(ecdorgFrames, std::max(static_cast<int32_t>(t) - 1, 0))
          << "frame " << t << " in mode " << mode;
      if (t < 2) continue;
      ASSERT_EQ(frame_energy[t - 2], SquareEnergy(std::span(scene).subspan(160 * t, 160))) << "frame " << t;
    }
    Vask_epd_stop();
  }
}

TEST(Pipeline, IgnoresBadInput) {
  Samples frame = Hiss(1, 20000, 11), out(160);
  Vask_epd_ecd_reset();
  int32_t count = 5;
  for (const bool is_up : {false, true}) {
    ASSERT_TRUE(!is_up || Vask_epd_init(".", 2) == 1);
    for (const auto entry : {Vask_epd_speechenhance, Vask_epd_frames}) {
      EXPECT_EQ(entry(is_up ? nullptr : frame.data(), 160, out.data(), &count), 0) << "up: " << is_up;
      EXPECT_EQ(count, 0) << "up: " << is_up;
      EXPECT_EQ(sample_max, 0) << "up: " << is_up;
      count = 5;
    }
  }
  for (int32_t t = 0; t < 4; ++t) EXPECT_EQ(Vask_epd_speechenhance(frame.data(), -7, nullptr, nullptr), 0);
  Vask_EPD_Set_Mode(2);  // recorded only
  EXPECT_EQ(Vask_epd_frame_baseline(frame.data(), 0, nullptr, &count), 0);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(Vask_epd_frame_baseline(frame.data(), 0, out.data(), &count), 0);
  EXPECT_EQ(count, 160);  // in the last mode
  EXPECT_EQ(Vask_epd_wrapup(nullptr, &count), 1);
  EXPECT_EQ(count, 0);
  Vask_epd_stop();
}

// The counts of a year, of which some are full in the middle of the utterance. The queue of spectra has no
// reader.
TEST(Pipeline, AnUtteranceIsTheSameWhenItsCountersAreNearlyFull) {
  for (const int32_t left : {0, 3, 60, 110, 200}) {
    const Samples scene = Join({Hiss(150, 20, 9), Burst(), Utterance()});
    Stream fresh(2), old(2);
    for (size_t t = 0; t < scene.size() / 160; ++t) {
      if (t == 140) {
        epd_engine& e = old.state;
        for (int32_t* counter : {&e.frames_in, &e.restart_count, &e.wiener.frame_count,
                                 &e.wiener.vad.frame_count, &e.epd.engine_frames, &e.epd.frame_index,
                                 &e.epd.vad.vad_frames, &e.epd.uv.frames_since_voiced}) {
          *counter = INT32_MAX - left;
        }
        e.epd.vad.silence_run = 32764;
        e.spectrum_queue.write_pos = INT32_MAX / 257 * 257;
      }
      const Emitted expected = fresh.Process(2, scene, t);
      ASSERT_EQ(old.Process(2, scene, t), expected) << "frame " << t << ", " << left << " left";
    }
    EXPECT_EQ(fresh.state.end_latched, 1);
  }
}

TEST(Lifecycle, StartsAndStopsAnyNumberOfTimes) {
  const Samples scene = Hiss(4, 20, 12);
  Stream stream;
  Emitted first, last;
  for (const int32_t mode : {2, 4097, 1}) {
    ASSERT_TRUE(stream.Start(mode));  // the second time while it is running
    EXPECT_EQ(stream.state.mode, mode);
    WrapUp(stream.engine());
    for (size_t t = 0; t < 4; ++t) last = stream.Process(1, scene, t);
    if (mode == 2) first = last;
    EXPECT_EQ(last, first) << "mode " << mode;
    for (int32_t stop = 0; stop < (mode == 2 ? 0 : 2); ++stop) ReleaseEngine(stream.state);
    EXPECT_EQ(IsUp(stream.state), mode == 2) << "mode " << mode;
  }
  WrapUp(stream.engine());
  EXPECT_EQ(stream.Process(1, scene, 0), Emitted{});
}

TEST(Flags, AreTheRequestAndTheModeOfTheLastFrameProcessed) {
  Vask_EPD_Energy_Only = 0;
  for (const int32_t mode : {2, 4097, 1}) {
    ASSERT_EQ(Vask_epd_init(".", mode), 1);
    EXPECT_EQ(Vask_EPD_Energy_Only, mode == 2 ? 0 : 1) << "mode " << mode;  // the request is kept
  }
  Samples frame = Hiss(1, 20, 13);
  const auto flag_after = [](auto call) {
    __compute_dynamic_feature__ = 7;
    Hear(call);
    return __compute_dynamic_feature__;
  };
  EXPECT_EQ(flag_after([&] { Vask_epd_features(frame.data(), 160, nullptr, nullptr); }), 1);
  EXPECT_EQ(flag_after([&] { Vask_epd_features(nullptr, 160, nullptr, nullptr); }), 1);
  EXPECT_EQ(flag_after([&] { Vask_epd_features_dsr(frame.data(), 160, nullptr, nullptr); }), 0);
  EXPECT_EQ(flag_after([&] { Vask_epd_frame_baseline(frame.data(), 160, nullptr, nullptr); }), 7);
  for (const int32_t mode : {4, 2, 5}) {
    const int32_t processed = mode == 5 ? 7 : mode == 4 ? 1 : 0;  // no frame runs in an unknown mode
    EXPECT_EQ(flag_after([&] { android_init_frontend(".", mode); }), 7) << "mode " << mode;
    android_reset_frontend();
    EXPECT_EQ(flag_after([&] { android_process_frame(100, frame.data()); }), 7) << "mode " << mode;
    EXPECT_EQ(flag_after([&] { android_process_frame(60, frame.data()); }), processed) << "mode " << mode;
    Samples rest(160000);  // more than fits ends the utterance, with or without a frame before
    EXPECT_EQ(flag_after([&] { android_process_frame(160000, rest.data()); }), processed) << "mode " << mode;
    EXPECT_EQ(flag_after([&] { android_process_frame(1, rest.data()); }), 7) << "mode " << mode;
    android_stop_frontend();
  }
}

TEST(PcmLog, PathsAreNeverTruncatedAndAFailedOpenIsRetriedWithTheNextNumber) {
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
  WrapUp(stream.engine());
  EXPECT_EQ(ContentOf(folder / "in_000001.pcm"), "");  // still in the previous folder
  stream.state.pcm_log_count = 1000000;                // now it is too long
  EXPECT_EQ(Hear([&] { play(faint); }).out, "ERROR: PCM log path is too long, logging is off\n");
  EXPECT_EQ(stream.state.pcm_log_on, 0);
  ASSERT_TRUE(LogInto(stream.state, (folder / "later").c_str()));
  stream.state.pcm_log_count = 7;
  const auto fault = [&](const char* name) {
    return "ERROR: PCM log " + folder / name +
           " cannot be written: check the folder and the room on the disk\n";
  };
  bool is_heard = false;
  EXPECT_EQ(Hear([&] { is_heard = play(utterance); }).out, fault("later/in_000007.pcm"));
  EXPECT_TRUE(is_heard);
  EXPECT_EQ(stream.state.pcm_log_count, 317);  // tried in each of 310 frames
  fs::create_directory(folder / "later");
  ASSERT_TRUE(LogInto(stream.state, (folder / "later").c_str()));
  for (const char* full : {"later/in_000317.pcm", "later/in_000318.pcm"}) {
    fs::create_symlink("/dev/full", folder / full);
    WrapUp(stream.engine());
    EXPECT_EQ(Hear([&] { play(utterance); }).out, full[14] == '7' ? fault(full) : "");
  }
  WrapUp(stream.engine());
  stream.state.pcm_log_count = INT32_MAX;
  play(faint);
  EXPECT_EQ(ContentOf(folder / "later/in_2147483647.pcm"), "");
  EXPECT_EQ(stream.state.pcm_log_count, INT32_MIN);
}

}  // namespace
}  // namespace vask::test
