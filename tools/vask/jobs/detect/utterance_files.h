// The files of `vask detect -o DIR`: which may be written, which are whole, and which are over.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "files/inputs.h"
#include "jobs/detect/detect.h"
#include "jobs/detect/journal.h"
#include "sound/sound_writer.h"

namespace vask::command {

// What all inputs of a run share.
class UtteranceFiles {
 public:
  // Makes the folder and waits until it is this run's alone. `settings` is whatever changes the result, as
  // text; `inputs` are never overwritten.
  UtteranceFiles(const DetectArguments& arguments, const std::string& settings, Inputs inputs);
  ~UtteranceFiles();
  UtteranceFiles(const UtteranceFiles&) = delete;
  UtteranceFiles& operator=(const UtteranceFiles&) = delete;

 private:
  friend class InputFiles;

  std::string Whole(const std::string& name) const;
  bool IsThere(const std::string& name) const;
  // The file as it is now; none if it is not there or cannot be read.
  std::optional<FileStamp> StampOf(const std::string& name) const;
  void Sync() const;

  std::string folder_;
  const DetectArguments& arguments_;
  Journal journal_;
  std::map<std::string, std::string> bases_;  // by path
  Inputs inputs_;
  int fd_;  // of the folder
};

// DIR/BASE-001.wav and so on: the files of one input.
class InputFiles {
 public:
  InputFiles(UtteranceFiles& folder, const std::string& input);

  // What an earlier run has made of it, if it is finished and all of it is still as it was.
  std::optional<Finished> TakeFinished();

  // FileError if there are files in the folder that this input would write over and that are not its own.
  void Check() const;

  std::unique_ptr<SoundWriter> MakeUtterance(int number);
  void KeepUtterance(SoundWriter& writer, int number);
  std::string ListingToWrite(const std::string& ending);
  void KeepListing(const std::string& ending);

  // All is written: what an earlier run has left of it beside that goes. An input that was not whole does not
  // count as finished.
  void Finish(const Recording& recording, const SegmentNotes& notes, bool is_whole);

 private:
  std::string NameOf(int number) const;
  std::string ToWrite(const std::string& name);
  FileStamp StampOf(const std::string& name) const;
  bool RemoveWhatIsOver();  // whether there was any
  [[noreturn]] void Refuse(const std::string& name, const std::optional<std::string>& owner) const;

  UtteranceFiles& folder_;
  InputState state_;
  std::vector<FileStamp> made_;
  bool noted_ = false;  // the journal has them all
};

}  // namespace vask::command
