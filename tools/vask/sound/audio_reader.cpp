#include "sound/audio_reader.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "format.h"

namespace vask::command {
namespace {

constexpr size_t kBlockFrames = 4096;

// Turns numbers that were 16-bit samples back into these, several at a time; false if one is another number.
bool ConvertExactly(std::span<const double> values, std::span<int16_t> out) {
  constexpr double kToLowBits = 0x1.8p52;  // added to an integer, it leaves that in the low bits
  int64_t difference = 0;
  for (size_t i = 0; i < values.size(); ++i) {
    const double scaled = values[i] * 32768.0;
    const auto sample = static_cast<int16_t>(std::bit_cast<int64_t>(scaled + kToLowBits));
    difference |= std::bit_cast<int64_t>(scaled) ^ std::bit_cast<int64_t>(static_cast<double>(sample));
    out[i] = sample;
  }
  return difference == 0;
}

SoundInput Mono(SoundInput input) {
  input.channel = std::max(input.channel, kMixed);
  return input;
}

}  // namespace

AudioReader::AudioReader(const SoundInput& input) : source_(Mono(input)) {
  converted_.resize(kBlockFrames);
  if (rate() == kRateHz) return;
  mono_.resize(kBlockFrames);
  resampler_.emplace(source_.name(), rate(), kRateHz);
}

size_t AudioReader::Read(std::span<int16_t> out) {
  size_t done = 0;
  for (size_t n = 1; done < out.size() && n > 0; done += n) n = ReadSome(out.subspan(done));
  return done;
}

size_t AudioReader::ReadSome(std::span<int16_t> out) {
  const auto block = std::span(converted_).first(std::min(converted_.size(), out.size()));
  const size_t n = resampler_ ? Resample(block) : ReadMono(block);
  if (ConvertExactly(block.first(n), out)) return n;
  std::transform(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(n), out.begin(),
                 [](double value) { return static_cast<int16_t>(ToInteger(value, 16)); });
  return n;
}

int64_t AudioReader::ExpectedSamples() const {
  return std::llround(static_cast<double>(source_.expected()) * kRateHz / rate());
}

size_t AudioReader::ReadMono(std::span<double> out) {
  return source_.Read(out.first(std::min(out.size(), kBlockFrames)));
}

size_t AudioReader::Resample(std::span<double> out) {
  for (;;) {
    if (mono_begin_ == mono_end_) {
      mono_begin_ = 0;
      mono_end_ = ReadMono(mono_);
    }
    const bool at_end = mono_begin_ == mono_end_;  // the resampler then returns what it still holds
    size_t taken = 0;
    const size_t given =
        resampler_->Convert(std::span(mono_).subspan(mono_begin_, mono_end_ - mono_begin_), taken, out);
    mono_begin_ += taken;
    if (given > 0 || at_end) return given;
  }
}

}  // namespace vask::command
