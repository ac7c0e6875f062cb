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

// Throws FileError for this recording, FatalError if every other would fail too.
void FindSegments(AudioReader& reader, Stream& stream, SegmentSink& sink);

// The event on the recording's own clock; the reader must have read at least that far.
Segment SegmentOf(const vask_stream_event& event, const AudioReader& reader);

}  // namespace vask::command
