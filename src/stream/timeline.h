// What the two detectors' paths have in common: the input's time line, and what goes out along it.
#pragma once

#include <vask/stream.h>

#include <algorithm>
#include <cstdint>
#include <span>

#include "dsp/arith.h"
#include "stream/history.h"
#include "stream/outbox.h"
#include "stream/segment.h"

namespace vask {

inline constexpr int64_t kNoEnd = kMax64;

struct Timeline {
  bool is_continuous;
  int32_t audio;  // VASK_STREAM_CLEAN ...
  SegmentRules rules;
  History history;
  Segment segment;
  Outbox outbox;
  int64_t paused;     // frames of the open segment
  int64_t frames;     // taken by the path, without the one in work
  int64_t input_end;  // positions; kNoEnd until the input ends
  int64_t emitted;    // samples, in continuous mode

  void Clear() {
    segment.Clear();
    outbox.Clear();
    paused = frames = emitted = 0;
    input_end = kNoEnd;
  }

  void Close() {
    history.Close();
    outbox.Close();
  }

  // Of the input, with those that are only part of a frame and with the frame in work.
  int64_t InputFrames() const { return (input_end + kFrame - 1) / kFrame; }

  // `next_start`: no segment after the open one can start before this position.
  SegmentContext Context(int64_t next_start = kNoEnd) {
    return {rules,     history,    outbox, std::min((frames + 1) * kFrame, input_end),
            input_end, next_start, paused};
  }

  // In continuous mode: the next samples, up to the length of the input.
  void Emit(std::span<const int16_t> samples) {
    const int64_t count = std::min(static_cast<int64_t>(samples.size()), input_end - emitted);
    if (count <= 0) return;
    emitted += count;
    if (rules.has_audio) outbox.Push(samples.first(static_cast<size_t>(count)));
  }
};

}  // namespace vask
