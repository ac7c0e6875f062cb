#include "files/input_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "files/readable_file.h"
#include "terminal/errors.h"
#include "terminal/signals.h"

namespace vask::command {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

InputFile::InputFile(const std::string& path, AtSignal at_signal)
    : name_(path == "-" ? "standard input" : path), at_signal_(at_signal), fd_(STDIN_FILENO) {
  if (path == "-") return;
  CheckIsReadableFile(path);
  // Otherwise opening a FIFO would wait for its writer.
  fd_ = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd_ < 0) throw FileError(name_, std::strerror(errno), "check the name and the permissions");
}

InputFile::InputFile(std::string name, int fd, AtSignal at_signal)
    : name_(std::move(name)), at_signal_(at_signal), fd_(fd) {}

InputFile::~InputFile() {
  if (fd_ != STDIN_FILENO) close(fd_);
}

size_t InputFile::ReadSome(std::span<uint8_t> out) {
  while (WaitToRead(fd_)) {
    const ssize_t n = read(fd_, out.data(), out.size());
    if (n >= 0) return static_cast<size_t>(n);
    if (errno != EINTR && errno != EAGAIN) {
      throw FileError(name_, std::string("cannot be read (") + std::strerror(errno) + ")",
                      fd_ == STDIN_FILENO ? "send samples to it" : "copy it to another disk");
    }
  }
  if (at_signal_ == AtSignal::kThrow) CheckSignals();
  return 0;
}

size_t InputFile::Read(std::span<uint8_t> out) {
  size_t done = 0;
  for (size_t n = 1; done < out.size() && n > 0; done += n) n = ReadSome(out.subspan(done));
  return done;
}

std::string ReadText(const std::string& path) {
  InputFile file(path);
  std::string text;
  std::array<uint8_t, 1 << 16> block;
  for (size_t n = 0; (n = file.ReadSome(block)) > 0;) text.append(block.begin(), block.begin() + n);
  if (text.starts_with(kByteOrderMark)) text.erase(0, kByteOrderMark.size());
  return text;
}

}  // namespace vask::command
