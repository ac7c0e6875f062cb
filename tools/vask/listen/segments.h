// A recording's path through a stream: its utterances, and their audio, as they arrive.
#pragma once

#include <cstdint>
#include <span>
#include <vask/stream.hpp>

#include "listing/listing.h"
#include "sound/audio_reader.h"

namespace vask::command {

class SegmentSink {
 public:
  virtual ~SegmentSink() = default;
  virtual void Arrived(std::span<int16_t> /*samples*/) {
  }  // of the recording; may change before they are heard
  virtual void Started(const vask_stream_event& event) = 0;
  virtual void Audio(std::span<const int16_t> samples) = 0;  // of the open segment
  virtual void Ended(const vask_stream_event& event) = 0;    // it is an utterance
  virtual void Rejected(const vask_stream_event& event) = 0;
  virtual void Heard(int64_t /*samples*/) {}  // that many of the recording so far
};

// A stream that hears a recording, or a part of one, piece by piece.
class SegmentFinder {
 public:
  SegmentFinder(Stream& stream, SegmentSink& sink);  // resets the stream

  void Hear(std::span<int16_t> samples);  // throws what the sink throws
  void End();                             // what is open is judged

 private:
  void Empty();
  void PassAudio();

  Stream& stream_;
  SegmentSink& sink_;
  int64_t heard_ = 0;  // samples
  bool is_open_ = false;
};

// A whole recording. Throws FileError for it, FatalError if every other would fail too.
void FindSegments(AudioReader& reader, Stream& stream, SegmentSink& sink);

// What the stream hears of a recording, on its own clock: seconds.
struct Clock {
  int32_t rate = 0;  // Hz
  double start = 0;  // of what is heard
  double end = 0;    // of what has been heard so far, or more
};

Clock ClockOf(const AudioReader& reader);  // all that it has read

Segment SegmentOf(const vask_stream_event& event, const Clock& clock);

}  // namespace vask::command
