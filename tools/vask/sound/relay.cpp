#include "sound/relay.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>
#include <utility>

#include "terminal/errors.h"
#include "terminal/signals.h"
#include "terminal/writing.h"

namespace vask::command {

Relay::Relay(std::unique_ptr<InputFile> input, std::vector<uint8_t> first) : input_(std::move(input)) {
  const auto fail = [&](int error) {
    throw FileError(input_->name(), std::string("cannot be read (") + std::strerror(error) + ")",
                    "close other programs");
  };
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) fail(errno);
  reader_ = ends[0];
  writer_ = ends[1];
  try {
    thread_ = std::thread([this, first = std::move(first)] { Run(first); });
  } catch (const std::system_error& error) {
    close(reader_);
    close(writer_);
    fail(error.code().value());
  }
}

Relay::~Relay() {
  close(reader_);  // the thread ends when nobody reads
  thread_.join();
}

void Relay::CheckEnd() {
  if (!ends_at_signal()) CheckSignals();
  if (over_ && failure_) std::rethrow_exception(failure_);
}

void Relay::Run(const std::vector<uint8_t>& first) {
  try {
    std::array<uint8_t, 1 << 16> block;
    int error = WriteAll(writer_, first);
    while (error == 0 && WaitToRead(input_->fd(), writer_)) {
      const size_t n = input_->ReadSome(block);
      if (n == 0) break;
      error = WriteAll(writer_, std::span(block).first(n));
    }
  } catch (...) {
    failure_ = std::current_exception();  // Interruption too
  }
  over_ = true;  // before the library sees the end
  close(writer_);
}

}  // namespace vask::command
