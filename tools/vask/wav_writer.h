// A 16 kHz mono 16-bit WAV file that is there whole or not at all.
#ifndef TOOLS_VASK_WAV_WRITER_H_
#define TOOLS_VASK_WAV_WRITER_H_

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vask::command {

// Writes into a hidden file beside the target and renames it in Commit(); without Commit() nothing is left. A
// target that is no regular file (a device) is written in place. Every failure is a FileError.
class WavWriter {
 public:
  explicit WavWriter(const std::string& target);
  ~WavWriter();
  WavWriter(const WavWriter&) = delete;
  WavWriter& operator=(const WavWriter&) = delete;

  void Write(std::span<const int16_t> samples);
  void Commit();

  int64_t samples() const { return samples_; }

 private:
  void Flush();
  void WriteAll(std::span<const uint8_t> bytes);
  [[noreturn]] void ThrowUnwritable() const;  // by errno

  std::string name_;       // as the user gave it, for messages
  std::string target_;     // with links resolved, so that a link is not replaced by a file
  std::string temporary_;  // empty: written in place, or already renamed
  int fd_ = -1;
  int64_t samples_ = 0;
  std::vector<uint8_t> pending_;  // bytes, little endian
};

}  // namespace vask::command

#endif  // TOOLS_VASK_WAV_WRITER_H_
