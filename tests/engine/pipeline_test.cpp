// A frame's way through the engine, the log of detected speech, and the engine's life from start to stop.

#include "engine/pipeline.h"

#include <gtest/gtest.h>
#include <vask/vask.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "engine/measures.h"
#include "engine/pcm_log.h"
#include "epd/energy.h"
#include "support/capture.h"
#include "support/folder.h"
#include "support/stream.h"

namespace vask::test {
namespace {

namespace fs = std::filesystem;

// A burst, an utterance and noise that is clipped, all with a DC offset.
Samples Scene() {
  Samples scene = Join({Burst(), Utterance(), Hiss(20, 32767, 7)});
  for (int16_t& s : scene) s = static_cast<int16_t>(std::min(s + 40, 32767));
  return scene;
}

// The first samples of a frame are `part`, the others `rest`.
Samples Frame(size_t count, int16_t part, int16_t rest = 0) {
  Samples frame(160, rest);
  std::fill_n(frame.begin(), count, part);
  return frame;
}

TEST(Measures, ClippingExtremesEnergyAndLoudness) {
  struct Case {
    Samples frame;
    int32_t energy, loudness;
  };
  Stream stream(1);
  for (const Case& c : {
           Case{Frame(0, 0), 0, 0},
           Case{Frame(1, 1), 1, 1},
           Case{Frame(1, -128), 16384, 1},
           Case{Frame(80, 187, 188), 5625040, 1},       // 30000 of 1500000: 0.02f is below 2 %
           Case{Frame(80, 468, -469), 35118800, 4},     // 74960: 4.997 %
           Case{Frame(80, 468, 470), 35193920, 5},      // 75040: 5.003 %
           Case{Frame(160, -3663), 2146811040, 39},     // 39.07 %
           Case{Frame(160, 3664), 2147483647, 39},      // 2147983360 is beyond 32 bits
           Case{Frame(1, 9374, 9375), 2147483647, 99},  // 1499999
           Case{Frame(160, 9375), 2147483647, 100},     // 1500000
           Case{Frame(2, 30001), 1800000000, 3},        // 60000 after clipping: 0.04f is below 4 %
           Case{Frame(1, -30001, 1), 900000159, 2},     // 30159
           Case{Frame(1, 32767, -32768), 2147483647, 100},
       }) {
    ClearExtremes(stream.history);
    Samples frame = c.frame;
    MeasureAndClip(stream.engine, frame);
    EXPECT_EQ(stream.state.energy, c.energy) << c.frame[0] << ", " << c.frame[159];
    EXPECT_EQ(stream.state.loudness, c.loudness) << c.frame[0] << ", " << c.frame[159];
    EXPECT_EQ(stream.energies[0], c.energy);
    EXPECT_EQ(stream.high, std::max({c.frame[0], c.frame[159], int16_t{0}}));
    EXPECT_EQ(stream.low, std::min({c.frame[0], c.frame[159], int16_t{0}}));
    for (const size_t i : {0, 159}) EXPECT_EQ(frame[i], std::clamp<int16_t>(c.frame[i], -30000, 30000));
    EXPECT_TRUE(std::equal(frame.begin(), frame.end(), stream.state.frame_copy));
  }
}

TEST(Measures, LoudnessIsTheLogarithmOfTheEnergyOnRequest) {
  ASSERT_EQ(Vask_epd_init(".", 1), 1);
  for (const auto& [sample, log2_energy] : {std::pair(1, 0), {2, 2}, {-128, 14}, {16384, 28}, {0, 0}}) {
    Samples frame = Frame(1, static_cast<int16_t>(sample));
    const auto entry = sample < 2 ? Vask_epd_features : Vask_epd_features_dsr;
    entry(frame.data(), 160, nullptr, nullptr);
    EXPECT_EQ(__compute_dynamic_feature__, sample < 2 ? 1 : 0);
    EXPECT_EQ(Vask_epd_frame_energy(), sample == 0 ? 0 : 1);
    __Calculate_frame_energy();
    EXPECT_EQ(Vask_epd_frame_energy(), log2_energy << 15) << sample;
  }
  Vask_epd_stop();
}

TEST(Pipeline, IsItsStagesInTheirOrder) {
  Stream enhanced(1), speech(2), features(3), stages(1), fresh(2);  // one with its stages called one by one
  wiener_filt& wiener = stages.state.wiener;
  energy_epd_prm& epd = stages.state.epd;
  sin_buff& queue = stages.state.speech_queue;
  const fft_tables& f = stages.state.tables;
  const Samples scene = Scene();
  std::vector<int32_t> x(160), results(3);
  for (size_t t = 0; t < scene.size() / 160; ++t) {
    Samples clean, drained;
    std::transform(&scene[160 * t], &scene[160 * t] + 160, wiener.sig_hist + 480,
                   [](int16_t s) { return std::clamp<int16_t>(s, -30000, 30000); });
    if (++wiener.frame_count > 2) {
      WienerFiltering(&wiener, &wiener.mel_fb, f.cc1, f.ss1, f.cc3, f.ss3);
      std::transform(wiener.out_frame, wiener.out_frame + 160, x.begin(),
                     [](int16_t s) { return s * 32768; });
      DCOffsetFil(x.data(), &stages.state.dc, 160);
      for (const int32_t v : x) clean.push_back(static_cast<int16_t>(v >> 15));
      PreEmphasis(&stages.state.pre, clean.data(), epd.win_emph + 160, 160);
      std::copy_n(clean.begin(), 160, epd.win_samples + 160);
      if (++epd.engine_frames > 1)
        epd_based_on_energy_feature(&epd, &queue, &stages.state.spectrum_queue, f.cc1, f.ss1, f.cc3, f.ss3);
      IFrameShifting(epd.win_emph, 160, 320);
      std::copy_n(epd.win_samples + 160, 160, epd.win_samples);
    }
    const int32_t result = epd.reset_request == 1 ? 2 : epd.end_found;
    if (result == 2) {
      wiener_filt_resetting(&wiener);
      energy_epd_resetting(&epd);
      sin_buff_setting(&queue);
      in64_buff_setting(&stages.state.spectrum_queue);
    }
    std::copy_n(wiener.sig_hist + 160, 480, wiener.sig_hist);
    for (Samples block(160); ReadFromSIn_Buff(&queue, block.data(), 160, 160) == 1;)
      drained = Join({drained, block});
    ASSERT_EQ(enhanced.Process(1, scene, t), (Emitted{0, clean})) << "frame " << t;
    ASSERT_EQ(speech.Process(2, scene, t), (Emitted{result, drained})) << "frame " << t;
    ASSERT_EQ(features.Process(3 + t % 2, scene, t), (Emitted{result, {}})) << "frame " << t;
    ASSERT_EQ(features.dynamic_feature, t % 2);
    ASSERT_EQ(speech.state.epd.vad.log_energy, epd.vad.log_energy) << "frame " << t;
    ASSERT_EQ(speech.state.epd.frame_index, epd.frame_index) << "frame " << t;
    const int32_t waiting = features.state.speech_queue.write_pos + features.state.spectrum_queue.write_pos;
    ASSERT_TRUE(result != 2 || waiting == 0) << waiting;
    results[static_cast<size_t>(result)]++;
  }
  EXPECT_EQ(results[2], 1);  // the burst
  EXPECT_GT(results[1], 1);  // the end stays until the wrap-up; after it all is as at the start
  EXPECT_EQ(speech.state.epd.speech_start_flag, 0);
  WrapUp(speech.state);
  EXPECT_EQ(speech.state.pre.prev + speech.state.spectrum_queue.write_pos, 0);
  for (size_t t = 0; t < scene.size() / 160; ++t)
    ASSERT_EQ(speech.Process(2, scene, t), fresh.Process(2, scene, t)) << "frame " << t;
}

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

TEST(Pipeline, ReportsEveryRestartAndForgetsTheHistories) {
  const Samples scene = Join({Samples(480), Burst(), Burst()});
  const std::string numbers[] = {"0", "1", "0", "1"};  // the wrap-up counts anew
  Stream stream(2);
  size_t restarts = 0;
  for (size_t t = 0; t < scene.size() / 80; ++t) {
    const size_t frame = t % (scene.size() / 160);
    if (frame == 0) WrapUp(stream.state);
    stream.mel_frames = 4;
    Emitted emitted;
    const Said said = Hear([&] { emitted = stream.Process(2, scene, frame); });
    const bool is_restart = emitted.result == 2;
    ASSERT_EQ(said.err,
              is_restart ? "EPD RESET(" + numbers[restarts] + ", f=" + std::to_string(frame + 1) + ") " : "");
    ASSERT_EQ(stream.mel_frames, is_restart ? 0 : 4);
    ASSERT_TRUE(!is_restart || (emitted.samples.empty() && stream.log_frames == 0));
    restarts += is_restart;
  }
  EXPECT_EQ(restarts, 4u);
}

TEST(Pipeline, ARestartInModeOneIsReportedByTheNextFrameOfAnotherMode) {
  const Samples scene = Burst();
  Stream stream(1);
  for (size_t t = 0; t < scene.size() / 160; ++t) EXPECT_EQ(stream.Process(1, scene, t).result, 0);
  for (const int32_t result : {2, 0}) EXPECT_EQ(stream.Process(3, scene, 0).result, result);
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

TEST(Pipeline, EnginesSideBySideGiveWhatEachGivesAlone) {
  const Samples scene = Scene(), others = Join({Utterance(), Burst()});
  for (const auto& [device, entry] : {std::pair(32, &Vask_epd_frames), {1, &Vask_epd_speechenhance}}) {
    const int32_t mode = device == 1 ? 1 : 2;
    Vask_epd_set_option(1, device);
    ASSERT_EQ(Vask_epd_init(".", mode), 1);  // the engine of the process
    Vask_epd_wrapup(nullptr, nullptr);
    Vask_epd_ecd_reset();
    Stream same(mode, device), other(1), third(2);
    for (size_t t = 0; t < scene.size() / 160; ++t) {
      Samples frame(&scene[160 * t], &scene[160 * t] + 160), out(14080);
      int32_t count = 0;
      const int32_t result = entry(frame.data(), 160, out.data(), &count);
      out.resize(static_cast<size_t>(count));
      other.Process(1, others, t * 7 % 300);
      ASSERT_EQ(same.Process(mode, scene, t), (Emitted{result, out})) << "frame " << t;
      third.Process(2, others, t * 3 % 300);
    }
    EXPECT_EQ(same.log_frames, ecdorgFrames);
    EXPECT_TRUE(std::equal(same.log_energies, same.log_energies + same.log_frames, ecdorgLFBE));
    EXPECT_TRUE(std::equal(same.energies.begin(), same.energies.begin() + same.log_frames, frame_energy));
    EXPECT_EQ(std::pair(same.low, same.high), std::pair(sample_min, sample_max));
    Vask_epd_stop();
  }
  Vask_epd_set_option(1, 2);
}

TEST(Lifecycle, StartsAndStopsAnyNumberOfTimes) {
  const Samples scene = Hiss(4, 20, 12);
  Stream stream;
  Emitted first, last;
  for (const int32_t mode : {2, 4097, 1}) {
    stream.enabled = 0;
    ASSERT_TRUE(stream.Start(mode));  // the second time while it is up
    EXPECT_EQ(stream.state.mode, mode);
    EXPECT_EQ(stream.energy_only, mode == 2 ? 0 : 1);  // the request stays
    EXPECT_EQ(stream.enabled, 1);
    EXPECT_EQ(stream.state.speech_queue.capacity, 88 * 160);
    EXPECT_EQ(stream.state.spectrum_queue.capacity, 88 * 257);
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

struct PcmLog : testing::Test {
  std::string Play(int32_t mode, const Samples& scene) {  // all that comes out, as bytes
    std::string bytes;
    for (size_t t = 0; t < scene.size() / 160; ++t) {
      const Samples out = stream.Process(mode, scene, t).samples;
      bytes.append(reinterpret_cast<const char*>(out.data()), 2 * out.size());
    }
    return bytes;
  }
  std::string Content(const std::string& name) const {
    std::ifstream file(folder / name, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "no file";
  }

  Folder folder;
  Stream stream{2};
  const Samples faint = Hiss(3, 20, 1);
};

TEST_F(PcmLog, EveryUtteranceGoesToTheNextNumberWithoutWhatWasRejectedBefore) {
  const std::string speech = Play(2, Utterance());
  ASSERT_FALSE(speech.empty());
  WrapUp(stream.state);
  ASSERT_TRUE(LogInto(stream.state, folder.path.c_str()));
  for (const auto& [mode, name] :
       {std::pair(2, "in_000001.pcm"), {1, "in_000002.pcm"}, {3, "in_000003.pcm"}}) {
    EXPECT_EQ(Play(mode, Utterance()).empty(), mode == 3);
    WrapUp(stream.state);
    EXPECT_EQ(Content(name), mode == 1 ? "" : speech) << name;  // in mode 1 it is opened and stays empty
  }
  Play(4, Burst());
  EXPECT_EQ(Content("in_000004.pcm"), "");
  Play(4, Utterance());
  StopEngine(stream.engine);  // closes the file
  EXPECT_NEAR(static_cast<double>(Content("in_000004.pcm").size()), static_cast<double>(speech.size()), 3200);
  EXPECT_EQ(stream.state.pcm_log_count, 5);
}

TEST_F(PcmLog, PathsAreNeverCutAndFilesThatCannotBeOpenedGetAnotherNumber) {
  ASSERT_TRUE(LogInto(stream.state, folder.Filled(113).c_str()));  // 127 bytes with the name of a file
  bool taken = true;
  EXPECT_EQ(Hear([&] { taken = LogInto(stream.state, folder.Filled(114).c_str()); }).out,
            "ERROR: PCM log directory is too long\n");
  EXPECT_FALSE(taken);
  EXPECT_EQ(Hear([&] { LogInto(stream.state, nullptr); }).out, "ERROR: PCM log directory is missing\n");
  Play(2, faint);
  WrapUp(stream.state);
  EXPECT_EQ(Content("in_000001.pcm"), "");  // still in the one before
  stream.state.pcm_log_count = 1000000;     // too long after all
  EXPECT_EQ(Hear([&] { Play(2, faint); }).out, "ERROR: PCM log path is too long, logging is off\n");
  EXPECT_EQ(stream.state.pcm_log_on, 0);
  ASSERT_TRUE(LogInto(stream.state, (folder / "later").c_str()));
  stream.state.pcm_log_count = 7;
  EXPECT_NE(Play(2, Utterance()), "");
  EXPECT_EQ(stream.state.pcm_log_count, 317);  // tried in each of 310 frames
  fs::create_directory(folder / "later");
  stream.state.pcm_log_count = INT32_MAX;
  Play(2, faint);
  EXPECT_EQ(Content("later/in_2147483647.pcm"), "");
  EXPECT_EQ(stream.state.pcm_log_count, INT32_MIN);
}

TEST_F(PcmLog, SettersSwitchItAndKeepItsDirectory) {
  const fs::path here = fs::current_path();
  fs::current_path(folder.path);
  fs::create_directory("sub");
  ASSERT_EQ(Vask_epd_init(".", 2), 1);
  struct Case {
    void (*set)();
    std::string file;
  };
  for (const Case& c : {Case{[] { Vask_epd_save_pcm_valid(1); }, "./in_000001.pcm"},
                        Case{[] { Vask_epd_save_pcm_dir(0, "sub"); }, ""},
                        Case{[] { Vask_epd_save_pcm_dir(1, "sub"); }, "./sub/in_000002.pcm"},
                        Case{[] { android_enable_log(2, "elsewhere"); }, ""},
                        Case{[] { Vask_epd_save_pcm_valid(1); }, "./sub/in_000003.pcm"},
                        Case{[] { Vask_epd_save_pcm_count(0, 70); }, "./sub/in_000004.pcm"},
                        Case{[] { Vask_epd_save_pcm_count(1, 70); }, "./sub/in_000070.pcm"},
                        Case{[] { android_enable_log(1, ""); }, "./in_000071.pcm"},
                        Case{[] { Vask_epd_save_pcm_valid(2); }, ""}}) {
    c.set();
    Samples frame(160);
    Vask_epd_features(frame.data(), 160, nullptr, nullptr);
    Vask_epd_wrapup(nullptr, nullptr);
    std::string files;
    for (const auto& entry : fs::recursive_directory_iterator("."))
      files += entry.is_regular_file() ? entry.path().string() : "";
    EXPECT_EQ(files, c.file);
    fs::remove(files);
  }
  Vask_epd_stop();
  fs::current_path(here);
}

}  // namespace
}  // namespace vask::test
