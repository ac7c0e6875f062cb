#include "wav_writer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "errors.h"
#include "format.h"

namespace vask::command {
namespace {

constexpr size_t kFlushBytes = 1 << 16;
constexpr int64_t kMaxSamples = (0xFFFFFFFFLL - 36) / 2;  // 37 hours: the header counts bytes in 32 bits

void Append(std::vector<uint8_t>& bytes, const char* tag) { bytes.insert(bytes.end(), tag, tag + 4); }

void Append(std::vector<uint8_t>& bytes, uint32_t value, int count) {
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

std::vector<uint8_t> Header(int64_t samples) {
  const auto data_bytes = static_cast<uint32_t>(2 * samples);
  std::vector<uint8_t> header;
  Append(header, "RIFF");
  Append(header, 36 + data_bytes, 4);
  Append(header, "WAVE");
  Append(header, "fmt ");
  Append(header, 16, 4);
  Append(header, 1, 2);  // PCM
  Append(header, 1, 2);  // channel
  Append(header, kRateHz, 4);
  Append(header, 2 * kRateHz, 4);  // bytes a second
  Append(header, 2, 2);            // bytes a sample
  Append(header, 16, 2);           // bits a sample
  Append(header, "data");
  Append(header, data_bytes, 4);
  return header;
}

// The mode that open() would have given: mkstemp() makes files for the owner alone.
mode_t NewFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

WavWriter::WavWriter(const std::string& target) : name_(target), target_(target) {
  std::error_code ignored;
  const std::filesystem::path resolved = std::filesystem::canonical(target, ignored);
  if (!resolved.empty()) target_ = resolved.string();
  struct stat status;
  const bool exists = stat(target_.c_str(), &status) == 0;
  if (exists && !S_ISREG(status.st_mode)) {
    fd_ = open(target_.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd_ < 0) ThrowUnwritable();
  } else {
    if (exists && access(target_.c_str(), W_OK) != 0) ThrowUnwritable();
    temporary_ = (std::filesystem::path(target_).parent_path() / ".vask-XXXXXX").string();
    fd_ = mkstemp(temporary_.data());
    if (fd_ < 0) {
      temporary_.clear();
      ThrowUnwritable();
    }
    // The file is ours; if its mode cannot be set it merely stays private.
    static_cast<void>(fchmod(fd_, exists ? (status.st_mode & 07777) : NewFileMode()));
  }
  pending_ = Header(0);  // Commit() puts the counts right
}

WavWriter::~WavWriter() {
  if (fd_ >= 0) close(fd_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

void WavWriter::Write(std::span<const int16_t> samples) {
  samples_ += static_cast<int64_t>(samples.size());
  if (samples_ > kMaxSamples) {
    throw FileError(name_, "would be longer than a WAV file can be", "cut the recording in parts of a day");
  }
  for (const int16_t sample : samples) Append(pending_, static_cast<uint16_t>(sample), 2);
  if (pending_.size() >= kFlushBytes) Flush();
}

void WavWriter::Commit() {
  Flush();
  if (lseek(fd_, 0, SEEK_SET) != 0) ThrowUnwritable();
  WriteAll(Header(samples_));
  const int closed = close(fd_);
  fd_ = -1;
  if (closed != 0) ThrowUnwritable();  // a network file system may report a full disk only now
  if (temporary_.empty()) return;
  if (rename(temporary_.c_str(), target_.c_str()) != 0) ThrowUnwritable();
  temporary_.clear();
}

void WavWriter::Flush() {
  WriteAll(pending_);
  pending_.clear();
}

void WavWriter::WriteAll(std::span<const uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t n = write(fd_, bytes.data(), bytes.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) ThrowUnwritable();
    bytes = bytes.subspan(static_cast<size_t>(n));
  }
}

void WavWriter::ThrowUnwritable() const {
  const int error = errno;
  const char* remedy = "check the folder and its permissions";
  if (error == ENOSPC || error == EDQUOT) remedy = "make room or write to another disk";
  if (error == EISDIR) remedy = "give the name of a file";
  if (error == ESPIPE) remedy = "write to a file, a WAV header is filled in at the end";
  throw FileError(name_, std::string("cannot be written (") + std::strerror(error) + ")", remedy);
}

}  // namespace vask::command
