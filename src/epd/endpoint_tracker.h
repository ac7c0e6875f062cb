// Start and end of a segment from the rises and falls of the voice-activity flag.
#pragma once

#include <cstdint>

#include "dsp/arith.h"

namespace vask {

// The fields of a detector record that the tracker works on; their widths differ between records.
template <typename Flag>
struct EndpointFields {
  Flag& speech_on;
  Flag& speech_end;
  int32_t& start_frame;
  int32_t& end_frame;
  int32_t& transitions;
  int32_t& previous;
};

inline constexpr int32_t kStartLag = 12;  // frames by which a rise trails the first speech frame
inline constexpr int32_t kEndLag = 3;     // frames by which a fall trails the last one, besides the hangover

// The first rise marks the start, the first fall after it the end; later changes are ignored.
template <typename Flag>
void TrackEndpoints(const EndpointFields<Flag>& fields, int32_t flag, int32_t frame,
                    int32_t hangover_frames) {
  if (flag != fields.previous) {
    if (fields.speech_on == 0) {
      fields.speech_on = 1;
      if (fields.transitions == 0) {
        fields.transitions = 1;
        fields.start_frame = WrapSub(frame, kStartLag);
      }
    } else if (fields.speech_end == 0) {
      fields.speech_end = 1;
      CountUp(fields.transitions);
      fields.end_frame = WrapSub(WrapSub(frame, hangover_frames), kEndLag);
    }
  }
  fields.previous = flag;
}

}  // namespace vask
