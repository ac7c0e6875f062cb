// What somebody who is spoken to wants to know besides starts and ends: that the speaker may have finished,
// that this was wrong, and that nobody has spoken for some time. In: after each frame, for how long the open
// segment has been quiet. Out: events. Lengths in frames.
#pragma once

#include <vask/stream.h>

#include <cstdint>
#include <optional>

#include "stream/timeline.h"

namespace vask {

// How an open segment whose end is not known stands.
struct Quiet {
  int64_t frames;  // without speech until now; 0: there is speech
  int64_t since;   // one past the last frame of speech
  int64_t pause;   // so many would end it
};

class Conversation {
 public:
  void Open(const vask_stream_setup& setup);
  void Clear();

  // After each frame, the one in work. Without `quiet` no segment is open, or its end is known. `no_start`:
  // while none is open, no start will be found before this frame.
  void Follow(Timeline& line, const std::optional<Quiet>& quiet, int64_t no_start);

 private:
  void NoteEnds(const Timeline& line);
  void FollowOpen(Timeline& line, const Quiet& quiet);
  void FollowClosed(Timeline& line, int64_t no_start);

  int64_t may_end_frames_, start_frames_;  // 0: not asked for
  int64_t waiting_since_;                  // frame
  int32_t segment_;                        // the newest that has been seen
  bool was_open_;
  bool may_have_ended_;  // has been told of that segment
  bool has_told_;        // that nobody has spoken
};

}  // namespace vask
