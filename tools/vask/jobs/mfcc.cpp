#include "jobs/mfcc.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <vector>

#include "files/output_file.h"
#include "library/extractor.h"
#include "sound/audio_reader.h"
#include "terminal/errors.h"
#include "terminal/progress.h"

namespace vask::command {
namespace {

constexpr int kDerivativeDelay = 4;        // frames
constexpr int64_t kMostAveraged = 60'000;  // frames: the library's sums hold 65536

// Rows of float32, little endian, with a header of numpy's format version 1.0.
class RowWriter {
 public:
  RowWriter(const std::string& target, size_t columns, bool csv)
      : file_(target), columns_(columns), csv_(csv) {
    if (!csv_) file_.Append(Header());
  }

  void Write(const std::vector<float>& row) {
    std::vector<uint8_t> bytes;
    for (const float value : row) csv_ ? AppendText(bytes, value) : AppendBytes(bytes, value);
    if (csv_) bytes.back() = '\n';  // in the place of a comma
    file_.Append(bytes);
    ++rows_;
  }

  void Commit() {
    if (!csv_) file_.WriteOverStart(Header());  // now with the number of rows
    file_.Commit();
  }

 private:
  std::vector<uint8_t> Header() const {
    constexpr size_t kBytes = 128, kPreamble = 10;
    std::string text = "{'descr': '<f4', 'fortran_order': False, 'shape': (" + std::to_string(rows_) + ", " +
                       std::to_string(columns_) + "), }";
    text.resize(kBytes - kPreamble - 1, ' ');
    text = std::string("\x93NUMPY\1\0", 8) + static_cast<char>(kBytes - kPreamble) + '\0' + text + '\n';
    return {text.begin(), text.end()};
  }

  static void AppendBytes(std::vector<uint8_t>& bytes, float value) {
    const auto bits = std::bit_cast<uint32_t>(value);
    for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<uint8_t>(bits >> (8 * i)));
  }

  static void AppendText(std::vector<uint8_t>& bytes, float value) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;  // reads back to the same bits
    bytes.insert(bytes.end(), text, end);
    bytes.push_back(',');
  }

  OutputFile file_;
  size_t columns_;
  bool csv_;
  int64_t rows_ = 0;
};

size_t ColumnsOf(const MfccOptions& options) {
  if (options.log_energies) return Extractor::kChannels;
  return Extractor::kCoefficients * (options.deltas ? 3 : 1);
}

}  // namespace

void Mfcc(const std::string& input, const std::string& output, const MfccOptions& options) {
  AudioReader reader(input);
  const bool learns = !options.knowledge_base.empty();
  Extractor extractor(options.knowledge_base);
  RowWriter writer(output, ColumnsOf(options), options.csv);
  Progress progress(input, reader.ExpectedSamples());

  const auto write_if = [&](bool ready) {
    if (ready)
      writer.Write(options.log_energies ? extractor.LogEnergies() : extractor.Output(options.deltas));
  };
  Frame frame;
  int64_t frames = 0, length = 0;
  for (size_t n = kFrameSamples; n == kFrameSamples;) {
    n = reader.Read(frame);
    if (n == 0) break;
    std::fill(frame.begin() + static_cast<std::ptrdiff_t>(n), frame.end(), int16_t{0});
    length += static_cast<int64_t>(n);
    write_if(extractor.Feed(frame, options.deltas));
    if (learns && ++frames % kMostAveraged == 0) extractor.UpdateMean();
    progress.Update(length);
  }
  for (int t = 0; options.deltas && t < kDerivativeDelay; ++t) write_if(extractor.FeedAgain());
  if (learns) extractor.UpdateMean();
  writer.Commit();
  if (learns) extractor.SaveMean();
}

}  // namespace vask::command
