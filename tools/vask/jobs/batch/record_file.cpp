#include "jobs/batch/record_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "terminal/errors.h"
#include "terminal/signals.h"
#include "terminal/writing.h"

namespace vask::command {
namespace {

constexpr size_t kBlockBytes = 1 << 16;
constexpr int kLookAgain = 50, kLongestWait = 2000;  // ms

}  // namespace

RecordFile::RecordFile(const std::string& name, bool resume) : name_(name), part_(name + ".part") {
  struct stat status;
  is_in_place_ = stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
  if (is_in_place_) part_ = name_;
  try {
    Open(resume);
  } catch (...) {
    if (fd_ >= 0) close(fd_);
    throw;
  }
}

void RecordFile::Open(bool resume) {
  if (is_in_place_) {
    if (resume) throw FatalError(Printable(name_) + ": is not a file, so --resume cannot go on with it");
    fd_ = open(name_.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    if (fd_ < 0) Fail();
    return;
  }
  is_finished_ = resume && access(part_.c_str(), F_OK) != 0 && access(name_.c_str(), F_OK) == 0;
  const std::string& file = is_finished_ ? name_ : part_;
  fd_ = open(file.c_str(), O_RDWR | (is_finished_ ? 0 : O_CREAT) | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666);
  if (fd_ < 0) Fail();
  if (!is_finished_) Lock();
  struct stat status;
  if (fstat(fd_, &status) != 0) Fail();
  if (!S_ISREG(status.st_mode)) throw FatalError(Printable(file) + ": is not a file: choose another name");
  if (!resume && status.st_size > 0) {
    throw FatalError(Printable(part_) +
                     ": an earlier run was not finished: go on with it by --resume, or remove it");
  }
}

RecordFile::~RecordFile() { close(fd_); }

// A file system without locks has none. A run that was killed may take a moment to go.
void RecordFile::Lock() {
  for (int waited = 0; flock(fd_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK; waited += kLookAgain) {
    if (waited >= kLongestWait) {
      throw FatalError(Printable(name_) +
                       ": another run is writing it: wait until it ends or choose another name");
    }
    if (WaitForSignal(kLookAgain)) CheckSignals();
  }
  struct stat held, named;
  if (fstat(fd_, &held) == 0 && stat(part_.c_str(), &named) == 0 && held.st_ino == named.st_ino) return;
  throw FatalError(Printable(name_) + ": another run has just finished it: look at it first");
}

std::optional<std::string> RecordFile::Old() {
  if (is_in_place_) return std::nullopt;
  size_t end;
  while ((end = block_.find('\n', begin_)) == std::string::npos) {
    block_.erase(0, std::exchange(begin_, 0));
    const size_t had = block_.size();
    block_.resize(had + kBlockBytes);
    const ssize_t n = pread(fd_, block_.data() + had, kBlockBytes, read_);
    block_.resize(had + static_cast<size_t>(std::max<ssize_t>(n, 0)));
    if (n < 0) Fail();
    if (n == 0) return std::nullopt;
    read_ += n;
  }
  std::string line = block_.substr(begin_, end - begin_);
  begin_ = end + 1;
  kept_ += static_cast<int64_t>(line.size()) + 1;
  return line;
}

void RecordFile::Append(const std::string& lines) {
  if (!is_appending_ && !is_in_place_ && (ftruncate(fd_, kept_) != 0 || lseek(fd_, kept_, SEEK_SET) != kept_))
    Fail();
  is_appending_ = true;
  errno = WriteAll(fd_, {reinterpret_cast<const uint8_t*>(lines.data()), lines.size()});
  if (errno == EINTR) CheckSignals();
  if (errno != 0) Fail();
}

void RecordFile::Finish() {
  if (is_finished_ || is_in_place_) return;
  Append("");
  if ((fsync(fd_) != 0 && errno != EINVAL && errno != ENOSYS) || rename(part_.c_str(), name_.c_str()) != 0)
    Fail();
}

void RecordFile::Fail() const {
  throw FatalError(Printable(part_) + ": cannot be written (" + std::strerror(errno) +
                   "): make room or check the folder, then go on with --resume");
}

}  // namespace vask::command
