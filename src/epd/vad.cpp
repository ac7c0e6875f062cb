// Voice activity of a frame. Log energies and noise level in Q16 units, 16 units per doubling of energy.
#include "epd/vad.h"

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/filters.h"
#include "dsp/ring.h"
#include "epd/levels.h"

namespace vask {
namespace {

constexpr int32_t kLearningFrames = 10;  // without a decision; the noise level is their running mean
constexpr int32_t kMaxRise = Units(15);  // a frame more than this above the noise does not count as noise
constexpr int32_t kLeastNoise = Units(120);
constexpr int64_t kFallRateQ30 = 1932735284;   // 1.8: the estimate is pulled past a falling energy
constexpr int32_t kRiseRateQ30 = 10737419;     // 0.01
constexpr int32_t kCheckedFrames = 50;         // length of the span during which a segment must have voice
constexpr int32_t kLeastVoicedQ30 = 10737418;  // 0.01
constexpr int16_t kOnsetFrames = 9;

void LearnNoise(energy_vad_prm& vad, int32_t distance) {
  const int32_t count = vad.vad_frames;
  const bool learning = count <= kLearningFrames;
  if (distance > kMaxRise && !learning) return;
  if (learning || vad.log_energy < vad.noise_level) {
    // The mean of the frames so far: one part in `count` is new.
    const int64_t rate = learning ? kOneQ30 / std::max(count, 1) : kFallRateQ30;
    vad.noise_level = Low32(vad.noise_level + ((distance * rate) >> 30));
  } else {
    vad.noise_level = Low32(vad.noise_level + MulShift<30>(distance, kRiseRateQ30));
  }
  vad.noise_level = std::max(vad.noise_level, kLeastNoise);
}

// Loud speech needs a larger distance: its echo and the breathing are loud too.
constexpr int32_t LoudnessMargin(int32_t peak) {
  if (peak > 20000) return Units(20);
  if (peak > 10000) return Units(15);
  if (peak > 2000) return Units(10);
  return 0;
}

bool ExceedsNoise(const energy_vad_prm& vad) {
  const int32_t base = BaseLevel(vad.noise_level) + LoudnessMargin(vad.peak_amplitude);
  return vad.vad_frames > kLearningFrames && (WrapSub(vad.log_energy, base) >> 16) > vad.vad_threshold;
}

// A segment that has reached some length without voice is not speech.
bool LacksVoice(const energy_epd_prm& prm) {
  if (prm.speech_on != 1) return false;
  const int64_t total = int64_t{prm.uv.voiced_frames} + prm.uv.unvoiced_frames;
  const int64_t least = prm.profile.voiced_check_frames;
  if (total <= least || total >= least + kCheckedFrames || total == 0) return false;
  return prm.uv.voiced_frames == 0 || int64_t{prm.uv.voiced_frames} * kOneQ30 / total < kLeastVoicedQ30;
}

// The countdown after silence, then the run of speech and the hangover after it. Returns the output.
int16_t StepOnsetAndHangover(energy_vad_prm& vad, bool is_speech, int32_t hangover_frames) {
  if (is_speech) {
    if (vad.silence_run > 0) vad.onset_count = kOnsetFrames;
    CountUp(vad.speech_run);
  }
  if (vad.onset_count != 0) {
    vad.silence_run = 0;
    --vad.onset_count;
    return 0;
  }
  if (is_speech) {
    vad.silence_run = 0;
    return 1;
  }
  if (vad.speech_run > 0) vad.hangover_count = Low16(hangover_frames);
  vad.speech_run = 0;
  if (vad.hangover_count != 0) {
    --vad.hangover_count;
    return 1;
  }
  CountUp(vad.silence_run);
  return 0;
}

bool IsLongWithoutVoice(const energy_epd_prm& prm) {
  return prm.speech_on == 1 &&
         int64_t{prm.uv.voiced_frames} + prm.uv.unvoiced_frames > prm.profile.long_speech_frames &&
         prm.uv.frames_since_voiced > prm.profile.max_unvoiced_run;
}

}  // namespace

int32_t DecideOnEnergy(energy_vad_prm& vad, const energy_epd_prm& prm) {
  CountUp(vad.vad_frames);
  WriteRing(vad.energy_hist, vad.log_energy);
  LearnNoise(vad, WrapSub(vad.log_energy, vad.noise_level));
  vad.vad_raw = ExceedsNoise(vad) && !LacksVoice(prm) ? 1 : 0;
  WriteRing(vad.vad_raw_hist, vad.vad_raw);
  vad.vad_flag = static_cast<int16_t>(Majority(SlotsOf(vad.vad_raw_hist)));
  return vad.vad_flag;
}

void ApplyOnsetAndHangover(int32_t smoothed, energy_epd_prm& prm) {
  const int16_t output = StepOnsetAndHangover(prm.vad, smoothed == 1, prm.profile.hangover_frames);
  prm.vad.vad_flag = IsLongWithoutVoice(prm) ? int16_t{0} : output;
}

}  // namespace vask

extern "C" {

int32_t energy_based_VAD_with_UV(energy_vad_prm* vad, energy_epd_prm* prm) {
  if (vad == nullptr || prm == nullptr || !vask::IsUsable(vad->vad_raw_hist)) return 0;
  return vask::DecideOnEnergy(*vad, *prm);
}

void voice_activity_detection(int32_t flag, energy_epd_prm* prm) {
  if (prm != nullptr) vask::ApplyOnsetAndHangover(flag, *prm);
}

}  // extern "C"
