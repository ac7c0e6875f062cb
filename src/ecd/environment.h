// The environment-change detector of a stream: its histories, filled frame by frame, and its control calls.
#pragma once

#include <vask/ecd.h>

#include <array>
#include <cstdint>
#include <span>

namespace vask {

inline constexpr int32_t kHistoryLimit = 2048;     // frames that a history accepts
inline constexpr int32_t kHistoryCapacity = 2050;  // allocated rows, entries
inline constexpr int32_t kMelColumns = 24;         // 23 log mel energies and one log energy

// The histories and extremes of one stream, wherever they are stored: the process-wide stream keeps them in
// exported variables, which an application may write between calls. Counts out of range are read as the
// nearest valid ones.
struct EnvironmentHistory {
  int32_t& enabled;       // nonzero: the producers write
  fmatrix& mel_energies;  // 2050 x 24, natural logarithms
  int32_t& mel_frames;
  float*& log_energies;  // 2050, natural logarithms of the frames' energies
  int32_t& log_frames;
  std::span<int32_t, kHistoryLimit + 1> frame_energies;
  int16_t& sample_min;  // extremes of the unclipped input
  int16_t& sample_max;
};

// Working storage and results of the analysis.
struct EnvironmentDetector {
  EnvChangeDetect matrices = {};
  float snr = 0.0f;              // dB, of the last report
  float snr_threshold = 0.5f;    // natural-log units
  float level_threshold = 1.0f;  // natural-log units
};

// 1: the detector is ready; 0: there is no memory for the log energies, and everything has been released.
// Ends the process if there is none for a matrix.
int32_t CreateEnvironment(EnvironmentDetector& detector, EnvironmentHistory& history);
void ReleaseEnvironment(EnvironmentDetector& detector, EnvironmentHistory& history);
void ReleaseWindow(EnvChangeDetect& window);

// Producers, called once per frame.
void NoteSamples(EnvironmentHistory& history, std::span<const int16_t> samples);  // not clipped
void NoteEnergy(EnvironmentHistory& history, int32_t energy);     // into the slot of the next log energy
void NoteLogEnergy(EnvironmentHistory& history, int32_t energy);  // and advance to the next slot

// A row of 23 log mel energies and a log energy, from the extractor, which sees the same frames.
using MelRow = std::array<float, kMelColumns>;
bool TakesMelRows(const EnvironmentHistory& history);
void NoteMelRow(EnvironmentHistory& history, const MelRow& row);

void ClearHistories(EnvironmentHistory& history);
void ClearExtremes(EnvironmentHistory& history);

// Rows of mel energies that the analysis may read: the counter, limited to the rows that exist.
int32_t MelRowsOf(const EnvironmentHistory& history);

// Align the two histories and look for changes. Returns -1 for fewer than two, else the report's code.
int32_t AnalyzeChange(EnvironmentDetector& detector, EnvironmentHistory& history);

// Set the report's thresholds. Returns 0 for a negative level, else 1.
int32_t SetSensitivity(EnvironmentDetector& detector, int32_t level, float rise);

}  // namespace vask
