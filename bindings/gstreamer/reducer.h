// What vaskdenoise does with samples: each channel goes through a stream of its own, and what all of them
// have ready comes out as buffers with the times of the input. Only the thread that the audio comes in uses
// it.
#pragma once

#include <gst/audio/audio.h>
#include <gst/gst.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "channel.h"
#include "media_time.h"

namespace vask::gst {

enum ReducerMode : int32_t { kForListening, kForRecognition };

struct ReducerSettings {
  int32_t mode = kForListening;
  int32_t detector = VASK_STREAM_ENERGY;  // for recognition; listening needs the learned one
  double limit = 18;                      // dB
  double mix = 1;                         // share of the filtered sound
  bool keeps_highs = true;

  vask_stream_setup Setup(int32_t rate, const vask_model* model) const;
};

class Reducer {
 public:
  // False: there is no memory.
  bool Open(const GstAudioInfo& info, const ReducerSettings& settings, const vask_model* model);
  void Close() { channels_.clear(); }
  bool is_open() const { return !channels_.empty(); }

  MediaTime& time() { return time_; }
  // The most that the output is behind the input.
  GstClockTime latency() const { return latency_; }

  // False: there is no memory, or the buffer cannot be read.
  bool Take(GstBuffer* buffer);
  bool TakeSilence(int64_t samples);
  bool Drain();
  void Reset();
  // What is ready; null: nothing.
  GstBuffer* Pop();

 private:
  bool TakeChannels(const uint8_t* data, size_t frames);

  GstAudioInfo info_ = {};
  MediaTime time_;
  GstClockTime latency_ = 0;
  int64_t given_ = 0;  // samples that have come out
  std::vector<Channel> channels_;
  std::vector<float> samples_;
};

}  // namespace vask::gst
