// Lengths in samples at 16 kHz, profile values in their own units.
#include "stream/options.h"

#include <algorithm>

#include "engine/record.h"
#include "epd/profiles.h"

namespace vask {
namespace {

constexpr int32_t kSecond = 16000;
constexpr int32_t kGeneralDevice = 2, kGeneralOs = 2;
constexpr int32_t kDefaultQueue = 600 * kSecond;
constexpr int32_t kMostHangover = 3000;      // frames
constexpr int32_t kMostLength = 1000000000;  // samples: 17 hours
constexpr int32_t kLeastLongest = 24000;     // leaves room for speech after a margin of 0.35 s
constexpr int32_t kWholePercent = 100;

// Unvoiced frames that may follow the last voiced one of an utterance before silence begins, plus the lag of
// the detector. The preset for noisy rooms allows no more.
constexpr int32_t kUnvoicedTail = 30;  // frames

bool IsIn(int32_t value, int32_t least, int32_t most) { return value >= least && value <= most; }

}  // namespace

vask_stream_options DefaultOptions() {
  return {.mode = VASK_STREAM_UTTERANCES,
          .audio = VASK_STREAM_CLEAN,
          .profile = DeviceProfile(kGeneralDevice, kGeneralOs),
          .pad_start = -1,
          .pad_end = -1,
          .min_samples = 0,
          .max_samples = 0,
          .min_voiced_frames = 0,
          .max_tone_percent = kWholePercent,
          .tone_tonality = 60000,
          .queue_samples = kDefaultQueue};
}

void MakeRobust(vask_stream_options& options) {
  epd_profile& profile = options.profile;
  profile = DeviceProfile(kGeneralDevice, kGeneralOs);
  profile.hangover_frames = 70;
  profile.long_speech_frames = 100;
  profile.max_unvoiced_run = 100;
  profile.vad_threshold = 28;
  profile.h2l_ratio_max = 32768;  // 0.5
  profile.uv_energy_offset = 0;
  options.pad_start = kSecond / 10;
  options.pad_end = kSecond / 4;
  options.min_voiced_frames = 15;
  options.min_samples = 20 * kFrame;
  options.max_tone_percent = 50;
}

int32_t LongestPadEnd(const vask_stream_options& options) {
  const int32_t hangover = options.profile.hangover_frames * kFrame;
  return options.pad_end < 0 ? hangover : std::min(options.pad_end, hangover);
}

epd_profile ProfileInForce(epd_profile profile) {
  profile.max_unvoiced_run = std::max(profile.max_unvoiced_run, profile.hangover_frames + kUnvoicedTail);
  return profile;
}

const char* ComplaintAbout(const vask_stream_options& options) {
  const epd_profile& profile = options.profile;
  if (!IsIn(options.mode, VASK_STREAM_CONTINUOUS, VASK_STREAM_UTTERANCES)) return "mode is not 1 or 2";
  if (!IsIn(options.audio, VASK_STREAM_CLEAN, VASK_STREAM_NO_AUDIO)) return "audio is not 0, 1 or 2";
  if (!IsIn(profile.hangover_frames, 0, kMostHangover)) return "hangover_frames is not 0 to 3000";
  if (!IsIn(profile.sample_shift, 0, 15)) return "sample_shift is not 0 to 15";
  if (!IsIn(profile.energy_shift, 0, 30)) return "energy_shift is not 0 to 30";
  if (!IsIn(options.pad_start, -1, kMostLength)) return "pad_start is not -1 to 1000000000 samples";
  if (!IsIn(options.pad_end, -1, kMostLength)) return "pad_end is not -1 to 1000000000 samples";
  if (!IsIn(options.min_samples, 0, kMostLength)) return "min_samples is not 0 to 1000000000";
  if (options.max_samples != 0 && !IsIn(options.max_samples, kLeastLongest, kMostLength)) {
    return "max_samples is not 0 or 24000 to 1000000000";
  }
  if (options.max_samples != 0 && options.min_samples > options.max_samples) {
    return "min_samples is above max_samples";
  }
  if (options.min_voiced_frames < 0) return "min_voiced_frames is negative";
  if (!IsIn(options.max_tone_percent, 0, kWholePercent)) return "max_tone_percent is not 0 to 100";
  if (!IsIn(options.queue_samples, 0, kMostLength)) return "queue_samples is not 0 to 1000000000";
  if (options.queue_samples != 0 && options.queue_samples < 2 * kSecond + profile.hangover_frames * kFrame) {
    return "queue_samples is under 2 s and the hangover";
  }
  return nullptr;
}

}  // namespace vask

extern "C" {

void vask_stream_defaults(vask_stream_options* options) {
  if (options != nullptr) *options = vask::DefaultOptions();
}

void vask_stream_robust(vask_stream_options* options) {
  if (options != nullptr) vask::MakeRobust(*options);
}

void vask_stream_profile(int32_t device, int32_t os, epd_profile* profile) {
  if (profile != nullptr) *profile = vask::DeviceProfile(device, os);
}

const char* vask_stream_complaint(const vask_stream_options* options) {
  return options != nullptr ? vask::ComplaintAbout(*options) : "there are no options";
}

}  // extern "C"
