// A file that is there whole or not at all.
#ifndef TOOLS_VASK_OUTPUT_FILE_H_
#define TOOLS_VASK_OUTPUT_FILE_H_

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vask::command {

// Writes into a hidden file beside the target and renames it in Commit(); without Commit() nothing is left. A
// target that is no regular file (a device) is written in place. Every failure is a FileError.
class OutputFile {
 public:
  explicit OutputFile(const std::string& target);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void Write(std::span<const uint8_t> bytes);
  void WriteAtStart(std::span<const uint8_t> bytes);  // over what stands there: a header, once all is known
  void Commit();

  const std::string& name() const { return name_; }

 private:
  void Flush();
  void WriteAll(std::span<const uint8_t> bytes);
  [[noreturn]] void ThrowUnwritable() const;  // by errno

  std::string name_;       // as the user gave it, for messages
  std::string target_;     // with links resolved, so that a link is not replaced by a file
  std::string temporary_;  // empty: written in place, or already renamed
  int fd_ = -1;
  std::vector<uint8_t> pending_;
};

}  // namespace vask::command

#endif  // TOOLS_VASK_OUTPUT_FILE_H_
