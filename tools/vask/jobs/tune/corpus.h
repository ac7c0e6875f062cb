// Recordings with the true places of their utterances, and how well settings find these.
#pragma once

#include <vask/stream.h>

#include <cstdint>
#include <string>
#include <vector>

#include "scoring/score.h"
#include "scoring/speech_list.h"

namespace vask::command {

struct LabelledRecording {
  std::string name;
  std::vector<int16_t> samples;  // 16 kHz
  RecordingSpeech truth;
};

// The recordings in `folder` that one of the lists in it names, sorted by name; how many it does not name is
// told on standard error. They are kept in memory: 115 MB an hour. Throws FileError.
std::vector<LabelledRecording> ReadCorpus(const std::string& folder);

// Scores the spans that streams with this setup deliver: a score for each recording. Uses up to `jobs`
// threads; the result does not depend on how many.
std::vector<Score> ScoreCorpus(const std::vector<LabelledRecording>& corpus, const vask_stream_setup& setup,
                               int jobs);

}  // namespace vask::command
