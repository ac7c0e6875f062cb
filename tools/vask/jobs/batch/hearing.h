// What is found in spans of a recording, which is read once for all of them.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vask/stream.hpp>
#include <vector>

#include "jobs/batch/clips.h"
#include "jobs/batch/manifest.h"
#include "listen/listen_options.h"
#include "listing/listing.h"
#include "sound/sound_input.h"

namespace vask::command {

struct Findings {
  int32_t rate = 0, channels = 0;  // the recording's own; 0 if it could not be opened
  double duration = 0;             // s, of the span
  std::vector<Segment> segments;   // on the recording's clock; what was rejected too
  std::vector<Clip> clips;         // of the utterances, in their order
  double took = 0;                 // s of work
  std::optional<Refusal> failure;  // what was found before it stands
};

struct HearingOptions {
  const ListenOptions& listen;
  const ReadOptions& reading;
  const ListenSetup& setup;
  const Clips* clips = nullptr;  // null: none
};

// One thread's streams, which serve one recording after another.
class Hearing {
 public:
  explicit Hearing(const HearingOptions& options) : options_(options) {}

  // The items name spans of one recording and one of its channels. Calls `done` with each, in the order of
  // their ends. `stopped` throws what ends the run. Throws Interruption, FatalError, std::bad_alloc.
  using Done = std::function<void(const Item&, Findings)>;
  void Hear(const std::vector<Item>& items, const Done& done, const std::function<void()>& stopped);

 private:
  class Pass;

  std::unique_ptr<Stream> TakeStream();

  HearingOptions options_;
  std::vector<std::unique_ptr<Stream>> idle_;
};

}  // namespace vask::command
