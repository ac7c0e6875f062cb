// What a stream returns for a recording: its segments with their audio, or continuous audio.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <tuple>
#include <utility>
#include <vask/stream.hpp>
#include <vector>

#include "support/inputs.h"

namespace vask::test {

struct Heard {
  vask_stream_event event;  // the one that ended it
  Samples audio;
};

inline bool operator==(const Heard& a, const Heard& b) {
  const auto fields = [](const vask_stream_event& e) {
    return std::tuple(e.kind, e.reason, e.segment, e.continues, e.start, e.end, e.span_start, e.span_end,
                      e.heard, e.voiced_frames, e.voiced, e.level_db);
  };
  return fields(a.event) == fields(b.event) && a.audio == b.audio;
}

class Listener {
 public:
  // When an utterance's audio is read: once it has ended, or as soon as it is available.
  enum class Reads { kAtTheEnd, kEagerly };

  template <typename Options>  // options, or a setup
  explicit Listener(const Options& options, Reads reads = Reads::kAtTheEnd)
      : stream_(options), is_eager_(reads == Reads::kEagerly) {}

  // Write the next `piece` samples of the input; after the last, end it. False when all is done.
  bool Step(std::span<const int16_t> input, size_t piece) {
    const auto rest = input.subspan(done_);
    const int32_t result =
        rest.empty() ? stream_.Flush() : stream_.Write(rest.first(std::min(rest.size(), piece)));
    done_ += static_cast<size_t>(std::max(result, int32_t{0}));
    Take();
    return !rest.empty() || result != 0;
  }

  void Hear(std::span<const int16_t> input, size_t piece = 1000) {
    while (Step(input, piece)) {
    }
  }

  void Reset() {
    stream_.Reset();
    done_ = 0;
    segments_.clear();
    open_.clear();
  }

  const std::vector<Heard>& segments() const { return segments_; }
  const Samples& audio() const { return open_; }  // in continuous mode
  bool operator==(const Listener& other) const {
    return segments_ == other.segments_ && open_ == other.open_;
  }

 private:
  void Read() {
    Samples room(1234);
    for (auto got = stream_.Read(room); !got.empty(); got = stream_.Read(room))
      open_.insert(open_.end(), got.begin(), got.end());
  }

  void Take() {
    if (is_eager_) Read();
    while (const auto event = stream_.Next()) {
      if (is_eager_ || event->kind == VASK_STREAM_ENDED) Read();
      if (event->kind == VASK_STREAM_REJECTED) open_.clear();  // some may have been read before
      if (event->kind != VASK_STREAM_STARTED) segments_.push_back({*event, std::exchange(open_, {})});
    }
  }

  vask::Stream stream_;
  bool is_eager_;
  size_t done_ = 0;
  std::vector<Heard> segments_;
  Samples open_;
};

}  // namespace vask::test
