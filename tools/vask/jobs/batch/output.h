// Where the records of a batch go, and what an earlier run has written of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>

#include "files/json_text.h"
#include "jobs/batch/batch.h"
#include "jobs/batch/clips.h"
#include "jobs/batch/desk.h"
#include "jobs/batch/record_file.h"
#include "terminal/terminal_line.h"

namespace vask::command {

class BatchOutput {
 public:
  // `settings` is what the records of an earlier run must have. `clips` is null if there are none.
  BatchOutput(const BatchArguments& arguments, const std::string& settings, Clips* clips);

  // An earlier run has finished: there is nothing to do.
  bool is_finished() const { return file_ && file_->is_finished(); }

  // Whether an earlier run has written the record of this line. Asked for each line in its order, before the
  // records of those after it are written. Throws FatalError if that run did something else.
  bool Has(const Item& item);
  void EndOfManifest();  // likewise if it did more

  void Write(Result result);
  void Finish();

  int64_t records() const { return records_; }
  int64_t failures() const { return failures_; }

 private:
  std::optional<Json> Old();
  void Count(const Json& record);
  void CheckFailures() const;

  const BatchArguments& arguments_;
  const std::string& settings_;
  Clips* clips_;
  std::optional<RecordFile> file_;                       // none: standard output
  std::unordered_map<uint64_t, int64_t> old_unordered_;  // records of an earlier run, by hashes of their keys
  bool is_past_old_ = false;
  int64_t records_ = 0, failures_ = 0;
  TerminalLine line_;
};

}  // namespace vask::command
