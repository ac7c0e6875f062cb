// The files of `vask detect -o DIR`: which may be written, which are complete, and which are left over.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "files/inputs.h"
#include "jobs/detect/detect.h"
#include "jobs/detect/journal.h"
#include "sound/sound_input.h"
#include "sound/sound_writer.h"

namespace vask::command {

// What all inputs of a run share.
class UtteranceFiles {
 public:
  // Creates the folder and waits until no other run uses it. `sounds` are what is listened to, `settings`
  // is everything that changes the result, as text; `inputs` are never overwritten.
  UtteranceFiles(const DetectArguments& arguments, const std::vector<SoundInput>& sounds,
                 const std::string& settings, Inputs inputs);
  ~UtteranceFiles();
  UtteranceFiles(const UtteranceFiles&) = delete;
  UtteranceFiles& operator=(const UtteranceFiles&) = delete;

 private:
  friend class InputFiles;

  std::string Whole(const std::string& name) const;
  bool IsThere(const std::string& name) const;
  // The file as it is now; nullopt if it does not exist or cannot be read.
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
  InputFiles(UtteranceFiles& folder, const SoundInput& input);

  // What an earlier run made of it, if that run finished it and all of its files are unchanged.
  std::optional<Finished> TakeFinished();

  // Throws FileError if this input would overwrite files in the folder that are not its own.
  void Check() const;

  std::unique_ptr<SoundWriter> MakeUtterance(int number, const SoundForm& form = {});
  void KeepUtterance(SoundWriter& writer, int number);
  std::string ListingToWrite(const std::string& ending);
  void KeepListing(const std::string& ending);

  // Everything is written: removes whatever else an earlier run left of it. An input that was not complete
  // does not count as finished.
  void Finish(const Recording& recording, const SegmentNotes& notes, bool is_whole);

 private:
  std::string NameOf(int number) const;
  std::string ToWrite(const std::string& name);
  FileStamp StampOf(const std::string& name) const;
  bool RemoveWhatIsOver();  // returns whether there was any
  [[noreturn]] void Refuse(const std::string& name, const std::optional<std::string>& owner) const;

  UtteranceFiles& folder_;
  InputState state_;
  std::vector<FileStamp> made_;
  bool noted_ = false;  // the journal lists them all
};

}  // namespace vask::command
