// What `vask detect -o DIR` has finished, so that --resume can go on after a run that was killed.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "listing/listing.h"

namespace vask::command {

// An input as it was when it was read. Changed in any of it, it is another one.
struct InputState {
  std::string file;
  std::string base;  // of its outputs' names
  int64_t size = 0;
  int64_t modified = 0;  // ns
};

// The state of a regular file; none for anything else: what came through a pipe cannot be skipped.
std::optional<InputState> StateOf(const std::string& file, const std::string& base);

struct Finished {
  Recording recording;
  std::vector<Segment> segments;  // the rejected ones too
};

// The segments of an input as they are kept: as text, which is small where a recording is long.
class SegmentNotes {
 public:
  void Add(const Segment& segment);
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

// A hidden file in DIR with a line an input, each written at once when all that belongs to the input is
// whole. Safe to call from any thread.
class Journal {
 public:
  // `options` is whatever changes the result, as text. Without `resume` what is there is forgotten.
  Journal(const std::string& folder, const std::string& options, bool resume);
  ~Journal();
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  std::optional<Finished> Find(const InputState& input);
  void Add(const InputState& input, const Recording& recording, const SegmentNotes& segments);

 private:
  std::string Key(const InputState& input) const;
  void Index();

  std::string name_, options_;
  int fd_ = -1;
  std::mutex mutex_;
  std::map<std::string, std::pair<int64_t, size_t>> lines_;  // by key: place and length in the file
};

}  // namespace vask::command
