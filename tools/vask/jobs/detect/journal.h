// What `vask detect -o DIR` has written to DIR and what it has finished, so that --resume can continue after
// a run that was killed, and no run takes the files of another for its own.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "jobs/detect/ledger_file.h"
#include "listing/listing.h"

namespace vask::command {

// An input as it was when it was read. If any of this changes, it is another input.
struct InputState {
  std::string path;  // absolute, and the channel
  std::string base;  // of its outputs' names
  int64_t size = 0;
  int64_t modified = 0;     // ns
  bool repeatable = false;  // a regular file: what came through a pipe can neither be skipped nor made again
};

InputState StateOf(const std::string& path, const std::string& base, const std::string& file);

// A file in DIR as it was when it was complete.
struct FileStamp {
  std::string name;  // in DIR
  int64_t size = 0;
  uint32_t crc = 0;

  bool operator==(const FileStamp&) const = default;
};

struct Finished {
  Recording recording;
  std::vector<Segment> segments;  // the rejected ones too
  std::vector<FileStamp> files;
};

// The segments of an input in stored form: text, which stays small when a recording is long.
class SegmentNotes {
 public:
  void Add(const Segment& segment);
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

// One line per file, written before it gets its name, and one line per input, written once everything that
// belongs to the input is complete and on the disk. Safe to call from any thread.
class Journal {
 public:
  // `options` is everything that changes the result, as text.
  Journal(const std::string& folder, std::string options, size_t recordings, bool wait);

  // The BASE of each recording with files in DIR, by its path.
  std::map<std::string, std::string> Bases();

  // The path of the recording that a file belongs to; a file that an earlier version left has a path that no
  // recording has. nullopt for an unknown file.
  std::optional<std::string> OwnerOf(const std::string& name);
  std::vector<std::string> NamesOf(const InputState& input);
  std::vector<std::string> RivalsOf(const InputState& input);  // files of others with this BASE

  // What is recorded as finished; its segments come from a file and may have any values.
  std::optional<Finished> Find(const InputState& input);

  void Claim(const InputState& input, const std::string& name);
  // Records the input as finished, with these files only.
  void Add(const InputState& input, const Recording& recording, const std::vector<FileStamp>& files,
           const SegmentNotes& segments);

 private:
  struct Known;
  using Names = std::map<std::string, Known*>;  // null: no longer known
  struct Known {
    std::string path, base;
    std::vector<Names::iterator> names;  // some have a new owner
    size_t finished = 0;                 // the first this many are in `line`
    std::optional<LedgerFile::Place> line;
  };

  void Load();
  void Take(LedgerFile::Place place, const std::string& line);
  void Own(const std::string& path, const std::string& base, const std::string& name);
  void Finish(const std::string& path, const std::string& base, const std::vector<FileStamp>& files,
              LedgerFile::Place place);
  void LeaveOutWhatIsOver();
  std::string Key(const InputState& input) const;

  std::string options_;
  std::mutex mutex_;
  LedgerFile file_;
  std::map<std::string, Known> inputs_;  // by path; what an earlier version left: "?BASE"
  Names names_;
  size_t lines_ = 0;
};

}  // namespace vask::command
