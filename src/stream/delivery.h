// The caller's side of the outbox: its audio, which is at 16 kHz, at the caller's rate. Sample q of the
// output stands at input time q / rate, whatever is delivered, so utterances that were split continue without
// a seam. Before and after an utterance the filter sees silence.
#pragma once

#include <vask/stream.h>

#include <cstdint>
#include <span>

#include "resample/rate_filter.h"
#include "stream/outbox.h"

namespace vask {

// What a stream emits.
struct Emission {
  bool is_continuous;
  bool is_over;  // nothing will follow
  int64_t last;  // the output ends here at the latest: samples at the caller's rate
};

class Delivery {
 public:
  bool Open(int32_t rate);  // Hz; false if there is no memory
  void Close();
  void Clear();

  int32_t rate() const { return rate_; }
  // Samples that the outbox must keep beside what waits.
  int32_t margin() const { return resamples_ ? filter_.taps() + kSlack : 0; }

  // The caller has taken this event, with positions at 16 kHz.
  void Follow(const vask_stream_event& event, const Outbox& outbox);

  int64_t Available(const Outbox& outbox, const Emission& emission) const;
  int32_t Read(Outbox& outbox, const Emission& emission, std::span<int16_t> out);

 private:
  static constexpr int32_t kSlack = 4;  // positions are rounded
  enum class Segment { kNone, kOpen, kEnded };

  int64_t Limit(const Outbox& outbox, const Emission& emission) const;
  void ReadBlock(Outbox& outbox, std::span<int16_t> out);

  RateFilter filter_;
  int32_t rate_;
  bool resamples_;
  Segment segment_;
  int64_t offset_;  // of a position from its place in the outbox
  int64_t known_;   // the first place whose samples are those of the input's line
  int64_t next_;    // sample of the output
};

}  // namespace vask
