#include "sound/channel_reader.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "sound/command_sound.h"

namespace vask::command {
namespace {

constexpr double kCancelled = 15;  // dB of the mix under its channels
// Channels that have nothing in common, or only one of them with sound, add up to a mean that is lower by
// 10 log10 of their number; more than so much below that is not chance.
constexpr double kBeyondChance = 6;  // dB

std::unique_ptr<SoundSource> OpenSound(const SoundInput& input) {
  if (input.is_command) return OpenCommand(input.path, input.options);
  return input.path == "-" ? OpenStandardInput(input.options) : OpenSoundFile(input.path, input.options);
}

}  // namespace

ChannelReader::ChannelReader(const SoundInput& input)
    : name_(input.path == "-" ? "standard input" : input.path),
      source_(OpenSound(input)),
      channel_(input.channel) {
  if (rate() < kLowestRate || rate() > kHighestRate) {
    throw FileError(name_,
                    "its rate of " + std::to_string(rate()) + " Hz is not " + std::to_string(kLowestRate) +
                        " to " + std::to_string(kHighestRate) + " Hz",
                    "correct its header or convert it to 16000 Hz");
  }
  const int32_t count = source_->channels();
  if (channel_ > count) {
    throw FileError(name_, "has no channel " + std::to_string(channel_),
                    count == 1 ? "it has one" : "choose one of its " + std::to_string(count));
  }
}

size_t ChannelReader::Read(std::span<double> interleaved) {
  const bool as_it_is = channel_ == kAllChannels || source_->channels() == 1;
  const size_t frames = as_it_is ? source_->Read(interleaved) : ReadOne(interleaved);
  frames_read_ += static_cast<int64_t>(frames);
  if (frames == 0) ended_ = true;
  if (witness_) {
    const bool is_mix = !as_it_is && channel_ == kMixed;
    const int32_t count = is_mix ? source_->channels() : channels();
    const std::span<const double> seen = is_mix ? std::span(all_) : interleaved;
    witness_(seen.first(frames * static_cast<size_t>(count)), count);
  }
  return frames;
}

size_t ChannelReader::ReadOne(std::span<double> out) {
  const auto count = static_cast<size_t>(source_->channels());
  all_.resize(out.size() * count);
  const size_t frames = source_->Read(all_);
  for (size_t i = 0; i < frames; ++i) {
    const auto frame = std::span(all_).subspan(i * count, count);
    if (channel_ > 0) {
      out[i] = frame[static_cast<size_t>(channel_) - 1];
      continue;
    }
    double sum = 0.0, squares = 0.0;
    for (const double sample : frame) {
      sum += sample;
      squares += sample * sample;
    }
    out[i] = sum / static_cast<double>(count);
    power_of_mix_ += out[i] * out[i];
    power_of_all_ += squares / static_cast<double>(count);
  }
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

std::optional<std::string> ChannelReader::Cancellation() const {
  const double least =
      std::max(kCancelled, 10 * std::log10(static_cast<double>(source_->channels())) + kBeyondChance);
  if (power_of_all_ <= 0 || power_of_mix_ * std::pow(10.0, least / 10) > power_of_all_) return std::nullopt;
  // A mix of nothing but zeros is as far down as 16 bits go.
  const double db = std::min(96.0, 10 * std::log10(power_of_all_ / power_of_mix_));
  char text[120];
  std::snprintf(text, sizeof text, ": its channels cancel each other: their mix is %.0f dB below them: ", db);
  return Printable(name_) + text + "--channels 1 reads one of them";
}

void ChannelReader::Conclude() const {
  if (const std::optional<std::string> note = Cancellation()) Note(*note);
  if (const std::optional<FileError> shortfall = Shortfall()) throw FileError(*shortfall);
}

std::vector<SoundInput> EachChannel(const std::string& path, const ReadOptions& options) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (path == "-" || (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status) &&
                      !std::filesystem::is_directory(status))) {
    throw FileError(path == "-" ? "standard input" : path, "cannot be read once for each channel",
                    "give a file, or the number of one channel");
  }
  const ChannelReader reader(SoundInput(path, options, kAllChannels));
  std::vector<SoundInput> inputs;
  for (int32_t channel = 1; channel <= reader.channels(); ++channel)
    inputs.emplace_back(path, options, channel);
  return inputs;
}

}  // namespace vask::command
