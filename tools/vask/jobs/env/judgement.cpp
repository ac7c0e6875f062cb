#include "jobs/env/judgement.h"

#include <vask/ecd.h>

#include <algorithm>
#include <cmath>

#include "library/extractor.h"

namespace vask::command {
namespace {

constexpr int16_t kClip = 30000;  // the engine clips its input to this, in place

double Seconds(int64_t frames) { return static_cast<double>(frames) * kFrameSamples / kRateHz; }

}  // namespace

// Runs the engine and the extractor over the same frames, in mode 1.
Judgement Judge(EngineSession& engine, std::span<const int16_t> samples) {
  Extractor extractor;
  engine.WrapUp();
  Vask_epd_ecd_reset();

  Judgement judgement;
  int64_t t = 0, row_zero = 0;  // frames: the newest, and that of the histories' first entry
  for (; !samples.empty(); ++t) {
    const auto part = samples.first(std::min(samples.size(), size_t{kFrameSamples}));
    samples = samples.subspan(part.size());
    Frame frame = {};
    std::copy(part.begin(), part.end(), frame.begin());
    const int32_t entries = ecdorgFrames;
    engine.Feed(frame);
    // The engine takes two frames before it keeps one, and empties its history when it rejects a segment: the
    // extractor gets the frames that the engine kept.
    if (ecdorgFrames < entries) judgement.restarted = true;
    if (ecdorgFrames != entries + 1) continue;
    if (entries == 0) row_zero = t;
    for (int16_t& sample : frame) sample = std::clamp<int16_t>(sample, -kClip, kClip);
    extractor.Feed(frame, false);
  }
  judgement.judged_from = Seconds(ecdFrames > 0 ? row_zero : t);

  int32_t first = -1, last = -1;
  EnvChangeValue(&first, &last, &judgement.changes);
  if (first >= 0) judgement.first_change = Seconds(row_zero + first);
  if (last >= 0) judgement.last_change = Seconds(row_zero + last);
  judgement.code = Vask_epd_ecd();
  const float snr = Vask_epd_ecd_snr(&judgement.sample_min, &judgement.sample_max);
  if (judgement.code >= 0 && std::isfinite(snr)) judgement.snr_db = static_cast<double>(snr);
  return judgement;
}

}  // namespace vask::command
