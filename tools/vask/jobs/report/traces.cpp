#include "jobs/report/traces.h"

#include <algorithm>
#include <cmath>

#include "format.h"

namespace vask::command {
namespace {

uint8_t InSteps(float db) {
  const long steps = std::lround(db * Traces::kStepsPerDb);
  return static_cast<uint8_t>(std::clamp(steps, 0L, long{Traces::kNone} - 1));
}

void Raise(uint8_t& value, uint8_t candidate) {
  value = value == Traces::kNone ? candidate : std::max(value, candidate);
}

}  // namespace

void Traces::Add(const vask_stream_measures& measures) {
  if (measures.heard > heard_) {
    heard_ = measures.heard;
    Raise(level_[ColumnAt(heard_ - kFrameSamples)], InSteps(measures.level_db - kLowestLevelDb));
  }
  if (measures.detector_at > detector_at_) {
    detector_at_ = measures.detector_at;
    const size_t at = ColumnAt(detector_at_);
    Raise(energy_[at], InSteps(measures.energy_db));
    Raise(noise_[at], InSteps(measures.noise_db));
    if (measures.speech != 0) flags_[at] |= kSpeech;
    if (measures.voiced != 0) flags_[at] |= kVoiced;
  }
}

size_t Traces::ColumnAt(int64_t position) {
  const auto column = static_cast<size_t>(position / kFrameSamples / frames_);
  if (column >= level_.size()) {
    for (std::vector<uint8_t>* values : {&level_, &energy_, &noise_}) values->resize(column + 1, kNone);
    flags_.resize(column + 1, 0);
  }
  return column;
}

}  // namespace vask::command
