// What `vask detect -o DIR` has written to DIR and what it has finished: so that --resume can go on after a
// run that was killed, and so that no run takes the files of another for its own.
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

// An input as it was when it was read. Changed in any of it, it is another one.
struct InputState {
  std::string path;  // from the root on
  std::string base;  // of its outputs' names
  int64_t size = 0;
  int64_t modified = 0;     // ns
  bool repeatable = false;  // a regular file: what came through a pipe can neither be skipped nor made again
};

InputState StateOf(const std::string& path, const std::string& base);

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

// The segments of an input as they are kept: as text, which is small where a recording is long.
class SegmentNotes {
 public:
  void Add(const Segment& segment);
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

// A line for each file before it gets its name, and a line an input, written when all that belongs to the
// input is whole and on the disk. Safe to call from any thread.
class Journal {
 public:
  // `options` is whatever changes the result, as text.
  Journal(const std::string& folder, std::string options, size_t recordings, bool wait);

  // The BASE of each recording that DIR holds files of, by its path.
  std::map<std::string, std::string> Bases();

  // The path of the recording that a file is of; one that an earlier version left has a path that no
  // recording has. None for what is not known here.
  std::optional<std::string> OwnerOf(const std::string& name);
  std::vector<std::string> NamesOf(const InputState& input);
  std::vector<std::string> RivalsOf(const InputState& input);  // files of others with this BASE

  // What is known to be finished; its segments come from a file and may be any.
  std::optional<Finished> Find(const InputState& input);

  void Claim(const InputState& input, const std::string& name);
  // All other files of the input are gone.
  void Add(const InputState& input, const Recording& recording, const std::vector<FileStamp>& files,
           const SegmentNotes& segments);

 private:
  struct Known;
  using Names = std::map<std::string, Known*>;  // null: not known any more
  struct Known {
    std::string path, base;
    std::vector<Names::iterator> names;  // some have got another owner
    size_t finished = 0;                 // so many of them are in `line`
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
