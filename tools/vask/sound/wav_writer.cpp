#include "sound/wav_writer.h"

#include <algorithm>
#include <bit>

#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr uint32_t kPcm = 1, kFloat = 3;           // format tags
constexpr int64_t kMostBytes = 0xFFFFFFFFLL - 36;  // the header counts them in 32 bits: 37 hours of 16 kHz

void Put(std::vector<uint8_t>& bytes, const char* tag) { bytes.insert(bytes.end(), tag, tag + 4); }

void Put(std::vector<uint8_t>& bytes, uint32_t value, int count) {
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

}  // namespace

WavWriter::WavWriter(const std::string& target, const SoundForm& form) : file_(target), form_(form) {
  file_.Append(Header());  // Commit() fills in the counts
}

void WavWriter::Write(std::span<const int16_t> samples) {
  std::vector<uint8_t> bytes;
  bytes.reserve(2 * samples.size());
  for (const int16_t sample : samples) Put(bytes, static_cast<uint16_t>(sample), 2);
  Append(bytes, samples.size());
}

void WavWriter::Write(std::span<const double> interleaved) {
  const int32_t count = BytesOf(form_.samples);
  std::vector<uint8_t> bytes;
  bytes.reserve(static_cast<size_t>(count) * interleaved.size());
  for (const double value : interleaved) {
    const bool is_float = form_.samples == SampleForm::kFloat;
    Put(bytes,
        is_float ? std::bit_cast<uint32_t>(static_cast<float>(value))
                 : static_cast<uint32_t>(ToInteger(value, 8 * count)),
        count);
  }
  Append(bytes, interleaved.size());
}

void WavWriter::Commit() {
  file_.WriteOverStart(Header());
  file_.Commit();
}

std::vector<uint8_t> WavWriter::Header() const {
  const auto bytes = static_cast<uint32_t>(BytesOf(form_.samples));
  const auto rate = static_cast<uint32_t>(form_.rate), channels = static_cast<uint32_t>(form_.channels);
  const auto data_bytes = static_cast<uint32_t>(samples_ * bytes);
  std::vector<uint8_t> header;
  Put(header, "RIFF");
  Put(header, 36 + data_bytes, 4);
  Put(header, "WAVE");
  Put(header, "fmt ");
  Put(header, 16, 4);
  Put(header, form_.samples == SampleForm::kFloat ? kFloat : kPcm, 2);
  Put(header, channels, 2);
  Put(header, rate, 4);
  Put(header, rate * channels * bytes, 4);  // bytes a second
  Put(header, channels * bytes, 2);         // bytes a frame
  Put(header, 8 * bytes, 2);                // bits a sample
  Put(header, "data");
  Put(header, data_bytes, 4);
  return header;
}

void WavWriter::Append(const std::vector<uint8_t>& bytes, size_t samples) {
  samples_ += static_cast<int64_t>(samples);
  if (samples_ * BytesOf(form_.samples) > kMostBytes) {
    throw FileError(file_.name(), "would be longer than a WAV file can be",
                    form_.rate == kRateHz ? "split the recording into parts of a day"
                                          : "write FLAC, or split the recording");
  }
  file_.Append(bytes);
}

std::unique_ptr<SoundWriter> MakeWavWriter(const std::string& target, const SoundForm& form) {
  return std::make_unique<WavWriter>(target, form);
}

}  // namespace vask::command
