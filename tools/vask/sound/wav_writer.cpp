#include "sound/wav_writer.h"

#include <vector>

#include "format.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr int64_t kMaxSamples = (0xFFFFFFFFLL - 36) / 2;  // 37 hours: the header counts bytes in 32 bits

void Append(std::vector<uint8_t>& bytes, const char* tag) { bytes.insert(bytes.end(), tag, tag + 4); }

void Append(std::vector<uint8_t>& bytes, uint32_t value, int count) {
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

std::vector<uint8_t> Header(int64_t samples) {
  const auto data_bytes = static_cast<uint32_t>(2 * samples);
  std::vector<uint8_t> header;
  Append(header, "RIFF");
  Append(header, 36 + data_bytes, 4);
  Append(header, "WAVE");
  Append(header, "fmt ");
  Append(header, 16, 4);
  Append(header, 1, 2);  // PCM
  Append(header, 1, 2);  // channel
  Append(header, kRateHz, 4);
  Append(header, 2 * kRateHz, 4);  // bytes a second
  Append(header, 2, 2);            // bytes a sample
  Append(header, 16, 2);           // bits a sample
  Append(header, "data");
  Append(header, data_bytes, 4);
  return header;
}

}  // namespace

WavWriter::WavWriter(const std::string& target) : file_(target) {
  file_.Append(Header(0));  // Commit() fills in the counts
}

void WavWriter::Write(std::span<const int16_t> samples) {
  samples_ += static_cast<int64_t>(samples.size());
  if (samples_ > kMaxSamples) {
    throw FileError(file_.name(), "would be longer than a WAV file can be",
                    "split the recording into parts of a day");
  }
  std::vector<uint8_t> bytes;
  bytes.reserve(2 * samples.size());
  for (const int16_t sample : samples) Append(bytes, static_cast<uint16_t>(sample), 2);
  file_.Append(bytes);
}

void WavWriter::Commit() {
  file_.WriteOverStart(Header(samples_));
  file_.Commit();
}

std::unique_ptr<SoundWriter> MakeWavWriter(const std::string& target) {
  return std::make_unique<WavWriter>(target);
}

}  // namespace vask::command
