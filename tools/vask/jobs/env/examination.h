// One recording: where it is judged, and what a person would say of it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "jobs/env/judgement.h"
#include "jobs/env/loudness.h"
#include "sound/sound_input.h"
#include "terminal/errors.h"

namespace vask::command {

enum class Quality { kGood, kFair, kPoor, kNoSpeech };

const char* NameOf(Quality quality);

// A recording, or the part of it about an utterance.
struct Finding {
  double from = 0, to = 0;             // s in the recording
  std::optional<Judgement> judgement;  // in a recording of more than 20.48 s only of its parts, and not of
                                       // the pieces of what somebody says in one go for longer than that
  std::optional<Loudness> loudness;
  double clipped = 0;  // share, of a recording only
  Quality quality = Quality::kNoSpeech;

  std::string Meaning() const;  // "good: the speech is 24 dB above the background"
};

struct Examination {
  Finding whole;
  std::vector<Finding> parts;  // of a recording of more than 20.48 s
  int32_t utterances = 0;
  double speech_seconds = 0;
  int16_t sample_min = 0, sample_max = 0;
  std::optional<std::string> cancellation;  // what is to be said of a mix of channels
  std::optional<FileError> shortfall;       // the recording is shorter than its header says

  int32_t Code() const;  // of the whole: the judgement's, else 0, 2 if the quality is poor, -1 without speech
};

// Throws FileError.
Examination Examine(EngineSession& engine, const EngineOptions& options, const SoundInput& input);

}  // namespace vask::command
