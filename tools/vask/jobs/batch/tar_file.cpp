#include "jobs/batch/tar_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <span>
#include <utility>

#include "terminal/errors.h"
#include "terminal/signals.h"
#include "terminal/writing.h"

namespace vask::command {
namespace {

constexpr size_t kBlock = 512;

struct Header {
  std::array<char, kBlock> bytes = {};

  void Put(size_t at, size_t length, std::string_view text) {
    std::memcpy(&bytes[at], text.data(), std::min(length, text.size()));
  }
  std::string Octal(uint64_t value, int digits) const {
    char text[24];
    std::snprintf(text, sizeof text, "%0*llo", digits, static_cast<unsigned long long>(value));
    return text;
  }
};

// Owned by nobody and of no time, so that the same files make the same archive.
Header HeaderOf(const std::string& name, size_t size) {
  Header header;
  header.Put(0, 100, name);
  header.Put(100, 8, "0000644");
  header.Put(108, 8, "0000000");
  header.Put(116, 8, "0000000");
  header.Put(124, 12, header.Octal(size, 11));
  header.Put(136, 12, header.Octal(0, 11));
  header.Put(148, 8, "        ");
  header.Put(156, 1, "0");
  header.Put(257, 8, std::string_view("ustar\00000", 8));
  const uint64_t sum =
      std::accumulate(header.bytes.begin(), header.bytes.end(), uint64_t{0},
                      [](uint64_t total, char c) { return total + static_cast<unsigned char>(c); });
  header.Put(148, 8, header.Octal(sum, 6) + std::string("\0 ", 2));
  return header;
}

int64_t Padded(int64_t size) { return (size + int64_t{kBlock} - 1) / int64_t{kBlock} * int64_t{kBlock}; }

}  // namespace

TarFile::TarFile(std::string name, int64_t kept) : name_(std::move(name)), part_(name_ + ".part") {
  // A run may have ended between the last clip of a shard and the record of it.
  if (kept > 0 && access(part_.c_str(), F_OK) != 0 && rename(name_.c_str(), part_.c_str()) != 0) Fail();
  fd_ = open(part_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0666);
  if (fd_ < 0) Fail();
  Skip(kept);
}

TarFile::~TarFile() {
  if (fd_ >= 0) close(fd_);
}

void TarFile::Skip(int64_t files) {
  int64_t at = 0;
  for (int64_t k = 0; k < files; ++k) {
    Header header;
    if (pread(fd_, header.bytes.data(), kBlock, at) != ssize_t{kBlock}) {
      throw FatalError(Printable(part_) +
                       ": ends before the clips that are recorded: remove it and the records, " +
                       "and run again");
    }
    at += int64_t{kBlock} + Padded(std::strtoll(&header.bytes[124], nullptr, 8));
  }
  if (ftruncate(fd_, at) != 0 || lseek(fd_, at, SEEK_SET) != at) Fail();
}

void TarFile::Add(const std::string& name, std::string_view bytes) {
  const Header header = HeaderOf(name, bytes.size());
  const std::string fill(static_cast<size_t>(Padded(static_cast<int64_t>(bytes.size()))) - bytes.size(),
                         '\0');
  Write({header.bytes.data(), kBlock});
  Write(bytes);
  Write(fill);
}

void TarFile::Finish() {
  Write(std::string(2 * kBlock, '\0'));
  if ((fsync(fd_) != 0 && errno != EINVAL && errno != ENOSYS) || rename(part_.c_str(), name_.c_str()) != 0)
    Fail();
}

void TarFile::Write(std::string_view bytes) {
  errno = WriteAll(fd_, {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
  if (errno == EINTR) CheckSignals();
  if (errno != 0) Fail();
}

void TarFile::Fail() const {
  throw FatalError(Printable(part_) + ": cannot be written (" + std::strerror(errno) +
                   "): make room or check its permissions");
}

}  // namespace vask::command
