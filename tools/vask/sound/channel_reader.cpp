#include "sound/channel_reader.h"

#include <algorithm>
#include <cstdio>

namespace vask::command {
namespace {

// Hz. At the lowest rate a block of 4096 lasts 4 s; at the 1 Hz of a damaged header it would last an hour.
constexpr int32_t kLowestRate = 1000, kHighestRate = 1'000'000;

}  // namespace

ChannelReader::ChannelReader(const std::string& path)
    : name_(path == "-" ? "standard input" : path),
      source_(path == "-" ? OpenStandardInput() : OpenSoundFile(path)) {
  if (rate() < kLowestRate || rate() > kHighestRate) {
    throw FileError(name_,
                    "its rate of " + std::to_string(rate()) + " Hz is not " + std::to_string(kLowestRate) +
                        " to " + std::to_string(kHighestRate) + " Hz",
                    "correct its header or convert it to 16000 Hz");
  }
}

size_t ChannelReader::Read(std::span<double> interleaved) {
  const size_t frames = source_->Read(interleaved);
  frames_read_ += static_cast<int64_t>(frames);
  if (frames == 0) ended_ = true;
  if (witness_) witness_(interleaved.first(frames * static_cast<size_t>(channels())));
  return frames;
}

std::optional<FileError> ChannelReader::Shortfall() const {
  const int64_t promised = std::max(source_->promised(), frames_read_);
  if (!ended_ || (promised == frames_read_ && source_->damage().empty())) return std::nullopt;
  const double length = static_cast<double>(frames_read_) / rate();
  const double missing = static_cast<double>(promised) / rate() - length;
  char place[120];
  if (missing > 0) {
    const int decimals = missing < 0.01 ? 6 : 2;
    std::snprintf(place, sizeof place, " after %.*f of the %.*f s that its header promises", decimals, length,
                  decimals, length + missing);
  } else {
    std::snprintf(place, sizeof place, " after %.2f s", length);
  }
  const std::string wrong =
      (source_->damage().empty() ? "ends" : "is damaged (" + source_->damage() + ")") + place;
  return FileError(name_, wrong, "what is there is used; record or copy it again");
}

void ChannelReader::CheckWhole() const {
  if (const std::optional<FileError> shortfall = Shortfall()) throw FileError(*shortfall);
}

}  // namespace vask::command
