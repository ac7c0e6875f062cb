#include "audio_reader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>

#include "errors.h"
#include "format.h"
#include "signals.h"

namespace vask::command {
namespace {

constexpr size_t kBlockFrames = 4096;

std::string Reason(SNDFILE* file) {
  std::string text = sf_strerror(file);
  while (!text.empty() && (text.back() == '.' || text.back() == '\n')) text.pop_back();
  return text;
}

int16_t ToSample(double value) {
  if (std::isnan(value)) return 0;  // a file of floats may hold anything
  return static_cast<int16_t>(std::clamp(std::floor(value * 32768.0 + 0.5), -32768.0, 32767.0));
}

}  // namespace

// libsndfile's own words for these cases are "System error" and "Format not recognised".
void CheckIsReadableFile(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) throw FileError(path, "no such file", "check the name");
    throw FileError(path, std::strerror(errno), "check the name and the permissions");
  }
  if (S_ISDIR(status.st_mode)) throw FileError(path, "is a directory", "name the audio files in it");
  if (S_ISREG(status.st_mode) && status.st_size == 0) {
    throw FileError(path, "is empty", "record or copy it again");
  }
  if (access(path.c_str(), R_OK) != 0) {
    throw FileError(path, std::strerror(errno), "ask its owner for the right to read it");
  }
}

AudioReader::AudioReader(const std::string& path) : path_(path) {
  CheckIsReadableFile(path);
  file_.reset(sf_open(path.c_str(), SFM_READ, &info_));
  if (!file_) {
    throw FileError(path, "cannot be read as audio (" + Reason(nullptr) + ")", "convert it to WAV or FLAC");
  }
  if (info_.frames == 0) throw FileError(path, "holds no samples", "record or copy it again");
  exact_ = info_.samplerate == kRateHz && info_.channels == 1 &&
           (info_.format & SF_FORMAT_SUBMASK) == SF_FORMAT_PCM_16;
  if (exact_) return;

  interleaved_.resize(kBlockFrames * static_cast<size_t>(info_.channels));
  converted_.resize(kBlockFrames);
  if (info_.samplerate == kRateHz) return;
  mono_.resize(kBlockFrames);
  const soxr_io_spec_t doubles = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
  const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
  const soxr_runtime_spec_t one_thread = soxr_runtime_spec(1);
  soxr_error_t error = nullptr;
  resampler_.reset(soxr_create(info_.samplerate, kRateHz, 1, &error, &doubles, &quality, &one_thread));
  if (error != nullptr || !resampler_) {
    throw FileError(path, "its rate of " + std::to_string(info_.samplerate) + " Hz cannot be resampled",
                    "convert it to 16000 Hz");
  }
}

size_t AudioReader::Read(std::span<int16_t> out) {
  CheckSignals();
  if (!exact_) return ReadConverted(out);
  const sf_count_t n = sf_readf_short(file_.get(), out.data(), static_cast<sf_count_t>(out.size()));
  if (sf_error(file_.get()) != SF_ERR_NO_ERROR) ThrowDamaged();
  return static_cast<size_t>(std::max<sf_count_t>(n, 0));
}

int64_t AudioReader::ExpectedSamples() const {
  if (info_.frames == SF_COUNT_MAX) return 0;
  return std::llround(static_cast<double>(info_.frames) * kRateHz / info_.samplerate);
}

size_t AudioReader::ReadConverted(std::span<int16_t> out) {
  size_t done = 0;
  while (done < out.size()) {
    const auto block = std::span(converted_).first(std::min(converted_.size(), out.size() - done));
    const size_t n = resampler_ ? Resample(block) : ReadMono(block);
    if (n == 0) break;
    std::transform(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(n),
                   out.begin() + static_cast<std::ptrdiff_t>(done), ToSample);
    done += n;
  }
  return done;
}

size_t AudioReader::ReadMono(std::span<double> out) {
  const auto channels = static_cast<size_t>(info_.channels);
  const size_t wanted = std::min(out.size(), kBlockFrames);
  const sf_count_t n = sf_readf_double(file_.get(), interleaved_.data(), static_cast<sf_count_t>(wanted));
  if (sf_error(file_.get()) != SF_ERR_NO_ERROR) ThrowDamaged();
  const size_t frames = static_cast<size_t>(std::max<sf_count_t>(n, 0));
  for (size_t i = 0; i < frames; ++i) {
    double sum = 0.0;
    for (size_t c = 0; c < channels; ++c) sum += interleaved_[i * channels + c];
    out[i] = sum / static_cast<double>(channels);
  }
  return frames;
}

size_t AudioReader::Resample(std::span<double> out) {
  for (;;) {
    if (mono_begin_ == mono_end_) {
      mono_begin_ = 0;
      mono_end_ = ReadMono(mono_);
    }
    const bool at_end = mono_begin_ == mono_end_;  // the resampler then gives what it still holds
    size_t taken = 0, given = 0;
    const soxr_error_t error = soxr_process(resampler_.get(), at_end ? nullptr : &mono_[mono_begin_],
                                            mono_end_ - mono_begin_, &taken, out.data(), out.size(), &given);
    if (error != nullptr) throw FileError(path_, "cannot be resampled", "convert it to 16000 Hz");
    mono_begin_ += taken;
    if (given > 0 || at_end) return given;
  }
}

void AudioReader::ThrowDamaged() const {
  throw FileError(path_, "is damaged (" + Reason(file_.get()) + ")", "record or copy it again");
}

}  // namespace vask::command
