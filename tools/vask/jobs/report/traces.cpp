#include "jobs/report/traces.h"

#include <algorithm>
#include <cmath>

#include "format.h"

namespace vask::command {
namespace {

constexpr int64_t kFramesOfStep = 2;                                              // of the learned detector
constexpr int64_t kLookBack = kRateHz / 5, kUtteranceLookBack = 2 * kRateHz / 5;  // samples

uint8_t DbInSteps(float db) {
  const long steps = std::lround(db * Traces::kStepsPerDb);
  return static_cast<uint8_t>(std::clamp(steps, 0L, long{Traces::kNone} - 1));
}

uint8_t ShareInSteps(float share) { return static_cast<uint8_t>(std::lround(share * Traces::kStepsOfOne)); }

void Raise(uint8_t& value, uint8_t candidate) {
  value = value == Traces::kNone ? candidate : std::max(value, candidate);
}

}  // namespace

void Traces::Add(const vask_stream_measures& measures, const std::optional<vask_stream_hearing>& hearing) {
  if (measures.heard > heard_) {
    heard_ = measures.heard;
    Raise(level_[ColumnAt(heard_ - kFrameSamples)], DbInSteps(measures.level_db - kLowestLevelDb));
  }
  if (measures.detector_at <= detector_at_) return;
  detector_at_ = measures.detector_at;
  if (hearing) {
    AddHeard(*hearing);
  } else {
    AddMeasured(measures);
  }
}

void Traces::AddMeasured(const vask_stream_measures& measures) {
  const size_t at = ColumnAt(detector_at_);
  Raise(energy_[at], DbInSteps(measures.energy_db));
  Raise(noise_[at], DbInSteps(measures.noise_db));
  if (measures.speech != 0) flags_[at] |= kSpeech;
  if (measures.voiced != 0) flags_[at] |= kVoiced;
}

// A step is judged again later, when more is known of what follows it: those verdicts are shown.
void Traces::AddHeard(const vask_stream_hearing& hearing) {
  const auto at_step = [&](int64_t look_back, auto note) {
    for (int64_t frame = 0; frame < kFramesOfStep; ++frame) {
      const int64_t position = detector_at_ - look_back + frame * kFrameSamples;
      if (position >= 0) note(ColumnAt(position));
    }
  };
  at_step(kLookBack, [&](size_t at) {
    Raise(speech_[at], ShareInSteps(hearing.speech_200ms_ago));
    Raise(music_[at], ShareInSteps(hearing.music));
    if (hearing.speech_200ms_ago >= 0.5f) flags_[at] |= kVoiced;
  });
  at_step(kUtteranceLookBack, [&](size_t at) {
    if (hearing.utterance >= 0.5f) flags_[at] |= kSpeech;
  });
}

size_t Traces::ColumnAt(int64_t position) {
  const auto column = static_cast<size_t>(position / kFrameSamples / frames_);
  if (column >= level_.size()) {
    for (std::vector<uint8_t>* values : {&level_, &energy_, &noise_, &speech_, &music_})
      values->resize(column + 1, kNone);
    flags_.resize(column + 1, 0);
  }
  return column;
}

}  // namespace vask::command
