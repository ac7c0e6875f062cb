// A file that appears complete or not at all, or standard output.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vask::command {

// Writes to a hidden file next to the target and renames it in Commit(); without Commit() nothing is left. A
// target that is not a regular file (a device) is written in place, a FIFO once it has a reader. "-" is
// standard output. Every failure is a FileError.
class OutputFile {
 public:
  enum class Content { kText, kBinary };  // binary is not written to a terminal

  explicit OutputFile(const std::string& target, Content content = Content::kBinary);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Whether its start can still be written once more follows: not in a pipe.
  bool can_go_back() const { return start_ >= 0; }

  void Append(std::span<const uint8_t> bytes);
  void WriteOverStart(std::span<const uint8_t> bytes);  // the last call before Commit()
  void Commit();

  const std::string& name() const { return name_; }
  int fd() const { return fd_; }  // for a library that does its own writing, instead of Append()
  [[noreturn]] void ThrowUnwritable(int error) const;  // an errno

 private:
  friend void RemoveUnfinished();

  void Open();
  void OpenInPlace(bool fifo);
  void MakeTemporary();
  void NoteStart();
  void Remove() const;
  void Flush();
  void WriteAll(std::span<const uint8_t> bytes);

  std::string name_;       // as the user gave it, for messages
  std::string target_;     // with links resolved, so that a link is not replaced by a file
  std::string temporary_;  // empty: written in place, or already renamed
  int fd_ = -1;
  OutputFile* next_ = nullptr;  // of all that there are
  int64_t start_ = 0;           // of what is written, in the file; -1: it cannot be reached again
  std::vector<uint8_t> pending_;
};

// Removes the temporary files of all OutputFiles, for an end without their destructors.
void RemoveUnfinished();

// Removes from `folder` what OutputFiles of runs that were killed have left. Those of a run that is still
// going on are kept.
void RemoveLeftovers(const std::string& folder);

// The same for the folder in which an OutputFile for `target` would write.
void RemoveLeftoversOf(const std::string& target);

}  // namespace vask::command
