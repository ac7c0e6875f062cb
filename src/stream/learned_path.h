// A stream with the learned detector: the gate hears each frame, a tracker turns its verdicts into starts and
// ends, and the audio, whatever its delay, is delivered at its place on the input's time line.
#pragma once

#include <vask/stream.h>

#include <cstdint>
#include <optional>
#include <span>

#include "gate/gate.h"
#include "stream/audio_source.h"
#include "stream/conversation.h"
#include "stream/setup.h"
#include "stream/timeline.h"
#include "stream/tracker.h"

namespace vask {

class LearnedPath {
 public:
  // `setup` has passed the check for complaints. False if there is no memory.
  bool Open(Timeline& line, const vask_stream_setup& setup);
  void Close();
  void Clear();

  // Take one frame of the input, or of the silence after it.
  void Take(Timeline& line, std::span<const int16_t, kFrame> frame);

  // After the last of TotalFrames(): the input's frames and the silence that brings out what is in flight.
  void EndInput(Timeline& line);
  int64_t TotalFrames(const Timeline& line) const;

  // The most samples that one frame emits: the margin before a start and what has arrived since.
  int64_t most_out() const { return most_out_; }

  // How the open segment stands; nothing if its end is known.
  std::optional<Quiet> QuietNow() const;

  int64_t NoStartBefore(const Timeline& line) const;

  // Change the pause. False if there is no memory, and then nothing has changed.
  bool SetPause(Timeline& line, int32_t steps);

  // What the detector knows; the rest is filled in already.
  void Measure(const Timeline& line, vask_stream_measures& measures) const;
  void Hearing(vask_stream_hearing& hearing) const;

 private:
  // Frames whose notes and samples are kept, and the most that one frame can emit.
  struct Sizes {
    int64_t notes, samples, most_out;
  };
  Sizes SizesFor(const Timeline& line, const TrackerRules& rules) const;

  void Judge(Timeline& line);
  void NoteJudged(Timeline& line);
  void FollowChanges(Timeline& line);
  void DeliverNew(Timeline& line) const;
  void Settle(Timeline& line);

  Gate gate_;
  Tracker tracker_;
  AudioSource source_;
  TrackerRules rules_;
  int64_t most_out_;
  int64_t steps_;   // heard
  int64_t noted_;   // steps whose frames have their notes
  int64_t end_;     // of the segment that is complete but for its margin: frame
  bool is_ending_;  // there is one
};

}  // namespace vask
