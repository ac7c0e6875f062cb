// How well found speech agrees with what is spoken, in time and by utterance. Times in seconds.
#pragma once

#include <vector>

#include "scoring/speech_list.h"

namespace vask::command {

struct Score {
  // Time. What is within the collar of an edge that is true is not scored.
  double scored = 0;
  double speech = 0;  // true
  double missed = 0;
  double false_alarm = 0;

  // Utterances that are true.
  int utterances = 0;
  int found = 0;   // overlapped by a segment
  int usable = 0;  // exactly one segment overlaps it, which overlaps no other; that starts 0.5 s before to
                   // 0.1 s after it, and ends 0.15 s before to 0.7 s after it
  int split = 0;   // overlapped by several segments

  // Segments that were found.
  int segments = 0;
  int merging = 0;  // they overlap several utterances
  int wrong = 0;    // they overlap none

  // Found less true, of utterances and segments that overlap each other alone.
  std::vector<double> start_errors, end_errors;

  void Add(const Score& other);
};

// Scores one recording. `parts` is where its speech is scored; null: from 0 to its end or that of the last
// interval. Utterances and segments count where they overlap a scored part.
Score ScoreOf(const RecordingSpeech& truth, const RecordingSpeech& found,
              const std::vector<SpeechInterval>* parts, double collar);

// The value below which `percent` of the values are, between two of them in proportion; 0 of none.
double Percentile(std::vector<double> values, double percent);

}  // namespace vask::command
