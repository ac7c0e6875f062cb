#include "ecd/environment.h"

#include <algorithm>

#include "dsp/logarithm.h"
#include "dsp/memory.h"
#include "dsp/sample_range.h"
#include "ecd/matrix.h"
#include "ecd/report.h"
#include "ecd/scoring.h"

namespace vask {
namespace {

int32_t CountOf(int32_t frames) { return std::clamp(frames, 0, kHistoryLimit); }

// Move the log energies so that entry i belongs to row i of the mel energies: the rows are the most recent
// frames.
void AlignLogEnergies(EnvironmentHistory& history) {
  const int32_t rows = MelRowsOf(history);
  const int32_t first = std::max(CountOf(history.log_frames) - rows, 0);
  if (history.log_energies != nullptr) {
    std::copy_n(history.log_energies + first, rows, history.log_energies);
  }
}

void ReleaseHistories(EnvironmentHistory& history) {
  ReleaseMatrix(history.mel_energies);
  Release(history.log_energies);
}

}  // namespace

int32_t CreateEnvironment(EnvironmentDetector& detector, EnvironmentHistory& history) {
  ReleaseEnvironment(detector, history);
  EnvChangeDetect& window = detector.matrices;
  window.dim = kScoredColumns;
  window.block = MakeMatrix(kBlockRows, window.dim);
  window.left = MakeMatrix(kHalfRows, window.dim);
  window.right = MakeMatrix(kHalfRows, window.dim);
  ZeroMatrix(window.left);
  ZeroMatrix(window.right);
  history.mel_energies = MakeMatrix(kHistoryCapacity, kMelColumns);
  history.log_energies = NewZeroed<float>(kHistoryCapacity);
  if (history.log_energies != nullptr) return 1;
  ReleaseEnvironment(detector, history);
  return 0;
}

void ReleaseEnvironment(EnvironmentDetector& detector, EnvironmentHistory& history) {
  ReleaseWindow(detector.matrices);
  ReleaseHistories(history);
}

void ReleaseWindow(EnvChangeDetect& window) {
  ReleaseMatrix(window.block);
  ReleaseMatrix(window.left);
  ReleaseMatrix(window.right);
}

void NoteEnergy(EnvironmentHistory& history, int32_t energy) {
  if (history.enabled == 0) return;
  history.frame_energies[static_cast<size_t>(CountOf(history.log_frames))] = energy;
}

void NoteLogEnergy(EnvironmentHistory& history, int32_t energy) {
  const int32_t slot = CountOf(history.log_frames);
  if (history.enabled == 0 || history.log_energies == nullptr || slot == kHistoryLimit) return;
  history.log_energies[slot] = NaturalLogOfEnergy(energy);
  history.log_frames = slot + 1;
}

bool TakesMelRows(const EnvironmentHistory& history) {
  return history.enabled != 0 && history.mel_energies != nullptr &&
         CountOf(history.mel_frames) < kHistoryLimit;
}

void NoteMelRow(EnvironmentHistory& history, const MelRow& row) {
  if (!TakesMelRows(history)) return;
  const int32_t slot = CountOf(history.mel_frames);
  std::copy(row.begin(), row.end(), history.mel_energies[slot]);
  history.mel_frames = slot + 1;
}

int32_t MelRowsOf(const EnvironmentHistory& history) {
  return history.mel_energies == nullptr ? 0 : CountOf(history.mel_frames);
}

// The extremes of the unclipped input. A sample above the maximum is not compared with the minimum: that
// matters only if they are out of order, as a caller can set them.
void NoteSamples(EnvironmentHistory& history, std::span<const int16_t> samples) {
  SampleRange range = {history.sample_min, history.sample_max};
  if (range.low <= range.high) {  // speed only
    range = WidenedBy(samples, range);
  } else {
    for (const int16_t sample : samples) {
      if (sample > range.high) {
        range.high = sample;
      } else if (sample < range.low) {
        range.low = sample;
      }
    }
  }
  history.sample_min = range.low;
  history.sample_max = range.high;
}

void ClearHistories(EnvironmentHistory& history) { history.mel_frames = history.log_frames = 0; }

void ClearExtremes(EnvironmentHistory& history) { history.sample_min = history.sample_max = 0; }

int32_t AnalyzeChange(EnvironmentDetector& detector, EnvironmentHistory& history) {
  for (const fmatrix m : {detector.matrices.block, detector.matrices.left, detector.matrices.right})
    ZeroMatrix(m);
  AlignLogEnergies(history);
  const Changes changes = FindChanges(detector.matrices, history.mel_energies, MelRowsOf(history));
  if (changes.last == -1) return -1;
  return ReportChange(detector, history, changes);
}

int32_t SetSensitivity(EnvironmentDetector& detector, int32_t level, float rise) {
  detector.snr_threshold = static_cast<float>(std::clamp(level, 0, 9));
  if (level < 0) return 0;
  detector.level_threshold = std::clamp(rise, 0.0f, 10.0f);
  return 1;
}

}  // namespace vask

extern "C" void free_env_change_detect(EnvChangeDetect* d) {
  if (d != nullptr) vask::ReleaseWindow(*d);
}
