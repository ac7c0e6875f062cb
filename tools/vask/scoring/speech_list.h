// Lists of where somebody speaks, as people and programs write them.
#pragma once

#include <compare>
#include <map>
#include <string>
#include <vector>

namespace vask::command {

struct SpeechInterval {
  double start, end;  // s
};

// Which recording, and which of its channels.
struct RecordingKey {
  std::string name;  // of its file, without folder and ending; or the id that a list has for it
  int channel;       // from 1

  auto operator<=>(const RecordingKey&) const = default;
};

struct RecordingSpeech {
  std::vector<SpeechInterval> speech;  // in order of their starts
  double seconds = 0;                  // how long the recording is, where the list says so; else 0
};

using SpeechLists = std::map<RecordingKey, RecordingSpeech>;

// Where speech is scored, by recording; of those that are not in it, nothing is.
using ScoredParts = std::map<RecordingKey, std::vector<SpeechInterval>>;

// Reads RTTM (.rttm), labels as Audacity writes them (.txt), Praat's TextGrid (.TextGrid, its first tier of
// intervals) or the records of `vask detect` and `vask batch` (.jsonl); a folder: all of these in it.
// Segments that were rejected are left out. With `delivered`, records are read for the spans that are
// delivered, padding included. Throws FileError.
SpeechLists ReadSpeechLists(const std::string& path, bool delivered);

// NIST's index of what is scored: NAME CHANNEL START END. Throws FileError.
ScoredParts ReadScoredParts(const std::string& path);

}  // namespace vask::command
