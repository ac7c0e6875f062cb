// What one stream finds in one span of a recording.
#pragma once

#include <memory>
#include <span>
#include <vask/stream.hpp>

#include "jobs/batch/hearing.h"
#include "listen/input_gain.h"
#include "listen/joiner.h"
#include "listen/levels.h"
#include "listen/segments.h"
#include "sound/sound_writer.h"

namespace vask::command {

class SpanEar : public SegmentSink {
 public:
  // `rate` is the recording's own, Hz.
  SpanEar(const HearingOptions& options, const Item& item, std::unique_ptr<Stream> stream,
          const InputGain& gain, int32_t rate);

  void Pass(std::span<const double> interleaved, int32_t channels);
  void Hear(std::span<const int16_t> samples);
  // The span is over, or the recording is: so many samples of its own rate were in the span.
  Findings Finish(int64_t frames);

  std::unique_ptr<Stream> TakeStream() { return std::move(stream_); }

  void Arrived(std::span<int16_t> samples) override;
  void Started(const vask_stream_event& event) override;
  void Audio(std::span<const int16_t> samples) override;
  void Ended(const vask_stream_event& event) override;
  void Rejected(const vask_stream_event& event) override;

 private:
  void Keep(const vask_stream_event& event);
  void Add(const std::vector<Segment>& segments);

  const HearingOptions& options_;
  const Item& item_;
  std::unique_ptr<Stream> stream_;
  InputGain gain_;
  Clock clock_;
  LevelTrack levels_;
  Joiner joiner_;
  SegmentFinder finder_;
  int64_t passed_ = 0;  // frames
  Findings heard_;
  std::optional<ClipWriter> writer_;
};

}  // namespace vask::command
