// Writes WAV. Into a pipe it says that the length is not known.
#include <bit>
#include <vector>

#include "files/output_file.h"
#include "sound/sound_writer.h"
#include "sound/wav_header.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr uint32_t kPcm = 1, kFloat = 3;           // format tags
constexpr int64_t kMostBytes = 0xFFFFFFFFLL - 36;  // the header counts them in 32 bits: 37 hours of 16 kHz

void Put(std::vector<uint8_t>& bytes, const char* tag) { bytes.insert(bytes.end(), tag, tag + 4); }

void Put(std::vector<uint8_t>& bytes, uint32_t value, int count) {
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

class WavWriter : public SoundWriter {
 public:
  WavWriter(const std::string& target, const SoundForm& form) : file_(target), form_(form) {
    file_.Append(Header(file_.can_go_back() ? 0 : kEndlessBytes));
  }

  void Write(std::span<const int16_t> samples) override {
    std::vector<uint8_t> bytes;
    bytes.reserve(2 * samples.size());
    for (const int16_t sample : samples) Put(bytes, static_cast<uint16_t>(sample), 2);
    Append(bytes);
  }

  void Write(std::span<const double> interleaved) override {
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
    Append(bytes);
  }

  void Commit() override {
    if (file_.can_go_back()) file_.WriteOverStart(Header(static_cast<uint32_t>(data_bytes_)));
    file_.Commit();
  }

 private:
  std::vector<uint8_t> Header(uint32_t data_bytes) const {
    const auto bytes = static_cast<uint32_t>(BytesOf(form_.samples));
    const auto rate = static_cast<uint32_t>(form_.rate), channels = static_cast<uint32_t>(form_.channels);
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

  void Append(const std::vector<uint8_t>& bytes) {
    data_bytes_ += static_cast<int64_t>(bytes.size());
    if (data_bytes_ > kMostBytes && file_.can_go_back()) {
      throw FileError(file_.name(), "would be longer than a WAV file can be",
                      form_.rate == kRateHz ? "split the recording into parts of a day"
                                            : "write FLAC, or split the recording");
    }
    file_.Append(bytes);
  }

  OutputFile file_;
  SoundForm form_;
  int64_t data_bytes_ = 0;
};

}  // namespace

std::unique_ptr<SoundWriter> MakeWavWriter(const std::string& target, const SoundForm& form) {
  return std::make_unique<WavWriter>(target, form);
}

}  // namespace vask::command
