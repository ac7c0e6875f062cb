#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "errors.h"

namespace vask::command {
namespace {

constexpr size_t kFlushBytes = 1 << 16;

// The mode that open() would have given: mkstemp() makes files for the owner alone.
mode_t NewFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

OutputFile::OutputFile(const std::string& target) : name_(target), target_(target) {
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
}

OutputFile::~OutputFile() {
  if (fd_ >= 0) close(fd_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

void OutputFile::Write(std::span<const uint8_t> bytes) {
  pending_.insert(pending_.end(), bytes.begin(), bytes.end());
  if (pending_.size() >= kFlushBytes) Flush();
}

void OutputFile::WriteAtStart(std::span<const uint8_t> bytes) {
  Flush();
  if (lseek(fd_, 0, SEEK_SET) != 0) ThrowUnwritable();
  WriteAll(bytes);
}

void OutputFile::Commit() {
  Flush();
  const int closed = close(fd_);
  fd_ = -1;
  if (closed != 0) ThrowUnwritable();  // a network file system may report a full disk only now
  if (temporary_.empty()) return;
  if (rename(temporary_.c_str(), target_.c_str()) != 0) ThrowUnwritable();
  temporary_.clear();
}

void OutputFile::Flush() {
  WriteAll(pending_);
  pending_.clear();
}

void OutputFile::WriteAll(std::span<const uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t n = write(fd_, bytes.data(), bytes.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) ThrowUnwritable();
    bytes = bytes.subspan(static_cast<size_t>(n));
  }
}

void OutputFile::ThrowUnwritable() const {
  const int error = errno;
  const char* remedy = "check the folder and its permissions";
  if (error == ENOSPC || error == EDQUOT) remedy = "make room or write to another disk";
  if (error == EISDIR) remedy = "give the name of a file";
  if (error == ESPIPE) remedy = "write to a file, its header is filled in at the end";
  throw FileError(name_, std::string("cannot be written (") + std::strerror(error) + ")", remedy);
}

}  // namespace vask::command
