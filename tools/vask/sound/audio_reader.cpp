#include "sound/audio_reader.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "format.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr size_t kBlockFrames = 4096;
// Hz. At the lowest rate a block lasts 4 s; at the 1 Hz of a damaged header it would last an hour.
constexpr int32_t kLowestRate = 1000, kHighestRate = 1'000'000;

int16_t ToSample(double value) {
  if (std::isnan(value)) return 0;  // a file of floats may hold anything
  return static_cast<int16_t>(std::clamp(std::floor(value * 32768.0 + 0.5), -32768.0, 32767.0));
}

}  // namespace

AudioReader::AudioReader(const std::string& path)
    : name_(path == "-" ? "standard input" : path),
      source_(path == "-" ? OpenStandardInput() : OpenSoundFile(path)) {
  if (rate() < kLowestRate || rate() > kHighestRate) {
    throw FileError(name_,
                    "its rate of " + std::to_string(rate()) + " Hz is not " + std::to_string(kLowestRate) +
                        " to " + std::to_string(kHighestRate) + " Hz",
                    "correct its header or convert it to 16000 Hz");
  }
  interleaved_.resize(kBlockFrames * static_cast<size_t>(channels()));
  converted_.resize(kBlockFrames);
  if (rate() == kRateHz) return;
  mono_.resize(kBlockFrames);
  const soxr_io_spec_t doubles = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
  const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
  const soxr_runtime_spec_t one_thread = soxr_runtime_spec(1);
  soxr_error_t error = nullptr;
  resampler_.reset(soxr_create(rate(), kRateHz, 1, &error, &doubles, &quality, &one_thread));
  if (error != nullptr || !resampler_) {
    throw FileError(name_, "its rate of " + std::to_string(rate()) + " Hz cannot be resampled",
                    "convert it to 16000 Hz");
  }
}

size_t AudioReader::Read(std::span<int16_t> out) {
  size_t done = 0;
  for (size_t n = 1; done < out.size() && n > 0; done += n) n = ReadSome(out.subspan(done));
  return done;
}

size_t AudioReader::ReadSome(std::span<int16_t> out) {
  const auto block = std::span(converted_).first(std::min(converted_.size(), out.size()));
  const size_t n = resampler_ ? Resample(block) : ReadMono(block);
  std::transform(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(n), out.begin(), ToSample);
  return n;
}

int64_t AudioReader::ExpectedSamples() const {
  return std::llround(static_cast<double>(source_->frames()) * kRateHz / rate());
}

std::optional<FileError> AudioReader::Shortfall() const {
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

void AudioReader::CheckWhole() const {
  if (const std::optional<FileError> shortfall = Shortfall()) throw FileError(*shortfall);
}

size_t AudioReader::ReadMono(std::span<double> out) {
  const auto channels = static_cast<size_t>(source_->channels());
  const size_t wanted = std::min(out.size(), kBlockFrames);
  const size_t frames = source_->Read(std::span(interleaved_).first(wanted * channels));
  for (size_t i = 0; i < frames; ++i) {
    double sum = 0.0;
    for (size_t c = 0; c < channels; ++c) sum += interleaved_[i * channels + c];
    out[i] = sum / static_cast<double>(channels);
  }
  frames_read_ += static_cast<int64_t>(frames);
  if (frames == 0) ended_ = true;
  return frames;
}

size_t AudioReader::Resample(std::span<double> out) {
  for (;;) {
    if (mono_begin_ == mono_end_) {
      mono_begin_ = 0;
      mono_end_ = ReadMono(mono_);
    }
    const bool at_end = mono_begin_ == mono_end_;  // the resampler then returns what it still holds
    size_t taken = 0, given = 0;
    const soxr_error_t error = soxr_process(resampler_.get(), at_end ? nullptr : &mono_[mono_begin_],
                                            mono_end_ - mono_begin_, &taken, out.data(), out.size(), &given);
    if (error != nullptr) throw FileError(name_, "cannot be resampled", "convert it to 16000 Hz");
    mono_begin_ += taken;
    if (given > 0 || at_end) return given;
  }
}

}  // namespace vask::command
