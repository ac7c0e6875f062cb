#include "files/output_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <utility>

#include "terminal/errors.h"
#include "terminal/signals.h"
#include "terminal/writing.h"

namespace vask::command {
namespace {

constexpr size_t kFlushBytes = 1 << 16;
constexpr int kLookForReader = 50;                       // ms
constexpr std::string_view kTemporary = ".vask-XXXXXX";  // the last six are arbitrary

// The mode that open() would have given: mkostemp() creates files for the owner only. Before there are
// threads, whose files the mask of this moment would open to everybody.
const mode_t new_file_mode = [] {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}();

// A list of all that there are, which takes no memory.
std::mutex all_lock;
OutputFile* all = nullptr;

[[noreturn]] void ThrowUnwritableFile(const std::string& name, int error) {
  const char* remedy = "check the folder and its permissions";
  if (error == ENOSPC || error == EDQUOT) remedy = "make room or write to another disk";
  if (error == EISDIR) remedy = "give the name of a file";
  if (error == ESPIPE) remedy = "write to a file: its header is filled in at the end";
  throw FileError(name, std::string("cannot be written (") + std::strerror(error) + ")", remedy);
}

// Throws if a link may be there that cannot be followed: it would be replaced by a file.
std::string Resolved(const std::string& target) {
  std::error_code error;
  const std::filesystem::path resolved = std::filesystem::canonical(target, error);
  if (error && error != std::errc::no_such_file_or_directory)
    ThrowUnwritableFile(target, error.default_error_condition().value());
  return error ? target : resolved.string();
}

}  // namespace

OutputFile::OutputFile(const std::string& target, Content content)
    : name_(target == "-" ? "standard output" : target), target_(target == "-" ? target : Resolved(target)) {
  if (target == "-") {
    fd_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    if (fd_ < 0) ThrowUnwritable(errno);
  } else {
    Open();
  }
  if (content == Content::kBinary && isatty(fd_) != 0) {
    close(fd_);
    throw FileError(name_, "is a terminal, which cannot show this", "name a file, or pipe it to a program");
  }
  if (temporary_.empty()) NoteStart();
  const std::lock_guard lock(all_lock);
  next_ = std::exchange(all, this);
}

void OutputFile::Open() {
  struct stat status;
  const bool exists = stat(target_.c_str(), &status) == 0;
  if (exists && !S_ISREG(status.st_mode)) {
    OpenInPlace(S_ISFIFO(status.st_mode));
  } else {
    if (exists && access(target_.c_str(), W_OK) != 0) ThrowUnwritable(errno);
    MakeTemporary();
    // The file is ours; if its mode cannot be set it merely stays private.
    static_cast<void>(fchmod(fd_, exists ? (status.st_mode & 07777) : new_file_mode));
  }
}

OutputFile::~OutputFile() {
  if (fd_ >= 0) close(fd_);
  Remove();
  const std::lock_guard lock(all_lock);
  OutputFile** link = &all;
  while (*link != this) link = &(*link)->next_;
  *link = next_;
}

void OutputFile::Remove() const {
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

void OutputFile::OpenInPlace(bool fifo) {
  for (;;) {
    fd_ = open(target_.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd_ >= 0) return;
    if (!fifo || errno != ENXIO) ThrowUnwritable(errno);
    if (WaitForSignal(kLookForReader)) CheckSignals();
  }
}

void OutputFile::NoteStart() {
  const int flags = fcntl(fd_, F_GETFL);
  start_ = -1;
  // Appended bytes always go to the end.
  if (flags >= 0 && (flags & O_APPEND) == 0) start_ = lseek(fd_, 0, SEEK_CUR);
}

// Its lock says that it is still being written: RemoveLeftovers() of another run may have removed it first.
void OutputFile::MakeTemporary() {
  struct stat status = {};
  while (status.st_nlink == 0) {
    if (fd_ >= 0) close(fd_);
    temporary_ = (std::filesystem::path(target_).parent_path() / kTemporary).string();
    fd_ = mkostemp(temporary_.data(), O_CLOEXEC);
    if (fd_ < 0) {
      temporary_.clear();
      ThrowUnwritable(errno);
    }
    // Where files cannot be locked, nothing is removed either.
    if (flock(fd_, LOCK_EX) != 0 || fstat(fd_, &status) != 0) break;
  }
}

void OutputFile::Append(std::span<const uint8_t> bytes) {
  pending_.insert(pending_.end(), bytes.begin(), bytes.end());
  if (pending_.size() >= kFlushBytes) Flush();
}

void OutputFile::WriteOverStart(std::span<const uint8_t> bytes) {
  Flush();
  if (!can_go_back()) ThrowUnwritable(ESPIPE);
  const off_t end = lseek(fd_, 0, SEEK_CUR);
  if (end < 0 || lseek(fd_, start_, SEEK_SET) != start_) ThrowUnwritable(errno);
  WriteAll(bytes);
  if (lseek(fd_, end, SEEK_SET) != end) ThrowUnwritable(errno);
}

void OutputFile::Commit() {
  Flush();
  // Otherwise a power cut could leave an empty file under the new name. Some file systems cannot sync.
  if (!temporary_.empty() && fsync(fd_) != 0 && errno != EINVAL && errno != ENOSYS) ThrowUnwritable(errno);
  // A network file system may report a full disk only in close(); the lock lasts until the second close().
  const int again = fcntl(fd_, F_DUPFD_CLOEXEC, 0);
  const int closed = close(fd_);
  fd_ = again;
  if (closed != 0 || again < 0) ThrowUnwritable(errno);
  if (temporary_.empty()) return;
  const std::lock_guard lock(all_lock);
  if (rename(temporary_.c_str(), target_.c_str()) != 0) ThrowUnwritable(errno);
  temporary_.clear();
}

void OutputFile::Flush() {
  WriteAll(pending_);
  pending_.clear();
}

void OutputFile::WriteAll(std::span<const uint8_t> bytes) {
  if (const int error = vask::command::WriteAll(fd_, bytes); error != 0) ThrowUnwritable(error);
}

void OutputFile::ThrowUnwritable(int error) const {
  if (error == EINTR) CheckSignals();
  if (error == EPIPE && target_ == "-") throw Interruption{SIGPIPE};  // its reader has had enough
  ThrowUnwritableFile(name_, error);
}

void RemoveUnfinished() {
  const std::lock_guard lock(all_lock);
  for (const OutputFile* file = all; file != nullptr; file = file->next_) file->Remove();
}

void RemoveLeftovers(const std::string& folder) {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    const std::string name = entry.path().filename().string();
    const size_t fixed = kTemporary.find('X');
    if (name.size() != kTemporary.size() || name.compare(0, fixed, kTemporary, 0, fixed) != 0) continue;
    const std::string path = entry.path().string();
    const int fd = open(path.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) continue;
    struct stat status;
    const bool regular = fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
    if (regular && flock(fd, LOCK_EX | LOCK_NB) == 0) unlink(path.c_str());
    close(fd);
  }
}

void RemoveLeftoversOf(const std::string& target) {
  const std::string folder = std::filesystem::path(Resolved(target)).parent_path().string();
  RemoveLeftovers(folder.empty() ? "." : folder);
}

}  // namespace vask::command
