#include "jobs/detect/ledger_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

#include "files/output_file.h"
#include "terminal/errors.h"
#include "terminal/signals.h"

namespace vask::command {
namespace {

constexpr const char* kHeadForm = "{\"process\":%ld,\"recordings\":%zu}";
constexpr size_t kHeadBytes = 64;        // padded with blanks and a newline
constexpr size_t kBlockBytes = 1 << 16;  // read at a time
constexpr int kLookAgain = 50;           // ms

bool IsTheFile(int fd, const std::string& name) {
  struct stat held, named;
  return fstat(fd, &held) == 0 && lstat(name.c_str(), &named) == 0 && held.st_dev == named.st_dev &&
         held.st_ino == named.st_ino;
}

bool WriteAt(int fd, const std::string& text, int64_t at) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t n = pwrite(fd, text.data() + done, text.size() - done, at + static_cast<int64_t>(done));
    if (n < 0 && errno != EINTR) return false;
    if (n > 0) done += static_cast<size_t>(n);
  }
  return true;
}

}  // namespace

LedgerFile::LedgerFile(const std::string& folder, size_t recordings, bool wait)
    : name_(folder + "/.vask-detect.jsonl"), folder_(folder), recordings_(recordings) {
  try {
    do {
      Open();
      Hold(wait);
    } while (!IsTheFile(fd_, name_));  // the previous run has put a new one in its place
  } catch (...) {
    if (fd_ >= 0) close(fd_);
    throw;
  }
}

LedgerFile::~LedgerFile() { close(fd_); }

// Not through a link, which would lead to writing a file elsewhere.
void LedgerFile::Open() {
  if (fd_ >= 0) close(fd_);
  fd_ = open(name_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666);
  struct stat status;
  const bool link = fd_ < 0 && errno == ELOOP;
  if (link || (fd_ >= 0 && fstat(fd_, &status) == 0 && !S_ISREG(status.st_mode))) {
    throw FatalError(Printable(name_) + (link ? ": is a link" : ": is not a regular file") +
                     ": remove it or choose another folder");
  }
  if (fd_ < 0) {
    throw FatalError(Printable(name_) + ": cannot be written (" + std::strerror(errno) +
                     "): check the folder and its permissions");
  }
}

void LedgerFile::Hold(bool wait) {
  while (flock(fd_, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    if (errno != EWOULDBLOCK) return;  // a file system without locks
    std::string holder = Holder();
    if (holder.empty()) holder = "another run";
    if (!wait) {
      throw FatalError(Printable(folder_) + ": " + holder +
                       " is writing to it: wait until it ends or choose another folder");
    }
    if (!told_) {
      std::fprintf(stderr, "vask: %s: waiting for %s, which is writing to it\n", Printable(folder_).c_str(),
                   holder.c_str());
    }
    told_ = true;
    if (WaitForSignal(kLookAgain)) CheckSignals();
  }
}

// "" if the file has no header.
std::string LedgerFile::Holder() const {
  long process = 0;
  size_t recordings = 0;
  if (std::sscanf(Line({0, kHeadBytes}).c_str(), kHeadForm, &process, &recordings) != 2) return "";
  return "process " + std::to_string(process) + " (vask detect of " + std::to_string(recordings) +
         (recordings == 1 ? " recording)" : " recordings)");
}

std::string LedgerFile::Head() const {
  char text[kHeadBytes];
  std::snprintf(text, sizeof text, kHeadForm, static_cast<long>(getpid()), recordings_);
  std::string head = text;
  head.resize(kHeadBytes - 1, ' ');
  return head + "\n";
}

void LedgerFile::ReadLines(const std::function<void(Place, const std::string&)>& call) {
  has_head_ = !Holder().empty();
  std::string block(kBlockBytes, '\0'), line;
  int64_t at = 0, line_at = 0;
  for (size_t n; (n = ReadAt(at, block)) > 0; at += static_cast<int64_t>(n)) {
    std::string_view rest(block.data(), n);
    for (size_t end; (end = rest.find('\n')) != std::string_view::npos; rest.remove_prefix(end + 1)) {
      line += rest.substr(0, end);
      call({line_at, line.size()}, line);
      line_at += static_cast<int64_t>(line.size()) + 1;
      line.clear();
    }
    line += rest;
  }
  end_ = line_at;
  if (end_ == 0) end_ = kHeadBytes, has_head_ = true;
  // The last line may be incomplete.
  if (ftruncate(fd_, end_) != 0 || (has_head_ && !WriteAt(fd_, Head(), 0))) ThrowUnwritable();
}

std::string LedgerFile::Line(Place place) const {
  std::string line(place.length, '\0');
  line.resize(ReadAt(place.at, line));
  return line;
}

// Fewer bytes only at the end. A failure must not pass for the end: what follows would be cut off.
size_t LedgerFile::ReadAt(int64_t at, std::span<char> out) const {
  size_t done = 0;
  while (done < out.size()) {
    const ssize_t n = pread(fd_, out.data() + done, out.size() - done, at + static_cast<int64_t>(done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      throw FileError(name_, std::string("cannot be read (") + std::strerror(errno) + ")",
                      "check the disk, then try again");
    }
    if (n == 0) break;
    done += static_cast<size_t>(n);
  }
  return done;
}

LedgerFile::Place LedgerFile::Append(const std::string& line) {
  if (!WriteAt(fd_, line + "\n", end_)) {
    const int error = errno;
    [[maybe_unused]] const int cut =
        ftruncate(fd_, end_);  // so that the next one begins on a line of its own
    errno = error;
    ThrowUnwritable();
  }
  return {std::exchange(end_, end_ + static_cast<int64_t>(line.size()) + 1), line.size()};
}

void LedgerFile::Sync() const {
  if (fdatasync(fd_) != 0 && errno != EINVAL && errno != ENOSYS) ThrowUnwritable();
}

void LedgerFile::Replace(const std::string& lines) {
  const std::string text = Head() + lines;
  OutputFile file(name_);
  file.Append({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  file.Commit();
  const int fd =
      fcntl(file.fd(), F_DUPFD_CLOEXEC, 0);  // shares the lock that the new file has had from the start
  if (fd < 0) ThrowUnwritable();
  close(fd_);
  fd_ = fd;
  end_ = static_cast<int64_t>(text.size());
  has_head_ = true;
}

void LedgerFile::ThrowUnwritable() const {
  throw FileError(name_, std::string("cannot be written (") + std::strerror(errno) + ")",
                  "make room; --resume will process this input again");
}

}  // namespace vask::command
