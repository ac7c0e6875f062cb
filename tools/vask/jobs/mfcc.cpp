// `vask mfcc`: the cepstra of a recording, as an array for numpy or as text.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <bit>
#include <charconv>
#include <filesystem>
#include <memory>
#include <vector>

#include "files/inputs.h"
#include "files/output_file.h"
#include "jobs/jobs.h"
#include "library/extractor.h"
#include "sound/audio_reader.h"
#include "terminal/arguments.h"
#include "terminal/errors.h"
#include "terminal/progress.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(For whom: recognisers and researchers that take cepstra instead of sound.
OUT: float32, one row per 10 ms and 13 columns, c0 to c12, as numpy.load() reads them; with --deltas 39
columns, the first and second derivatives after them. If its name ends in .csv, or with --csv or -, which is
standard output, it is text, without a header line. It appears only once it is complete. A row's window is
20 ms long and ends with its 10 ms.
With --kb DIR the cepstral mean in DIR/Vask.db/global_cms is subtracted, then updated with this recording
(a fifth of the new mean); table files in DIR/Vask.db replace the built-in tables.
Examples:
  vask mfcc call.wav -o call.npy
  vask tables kb && vask mfcc call.wav --deltas --kb kb -o call.npy)";

constexpr int kDerivativeDelay = 4;        // frames
constexpr int64_t kMostAveraged = 60'000;  // frames: the library's sums hold 65536

struct Arguments {
  ReadOptions reading;
  std::string input, output;
  bool log_energies = false;   // 23 columns: natural logarithms of the mel energies instead of cepstra
  bool deltas = false;         // 39 columns: cepstra, first and second derivatives
  bool csv = false;            // otherwise by the name: CSV for .csv and standard output, else NPY
  std::string knowledge_base;  // whose mean is subtracted and updated; empty: none
};

// Rows of little-endian float32 after a header of numpy's format, version 1.0.
class RowWriter {
 public:
  RowWriter(const std::string& target, size_t columns, bool csv)
      : file_(target, csv ? OutputFile::Content::kText : OutputFile::Content::kBinary),
        columns_(columns),
        csv_(csv) {
    if (!csv_) file_.Append(Header());
  }

  void Write(const std::vector<float>& row) {
    std::vector<uint8_t> bytes;
    for (const float value : row) csv_ ? AppendText(bytes, value) : AppendBytes(bytes, value);
    if (csv_) bytes.back() = '\n';  // instead of a comma
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

bool WritesCsv(const Arguments& arguments) {
  return arguments.csv || arguments.output == "-" || HasEnding(arguments.output, ".csv");
}

void CheckKind(const Arguments& arguments) {
  if (arguments.csv && HasEnding(arguments.output, ".npy")) {
    throw UsageError("--csv writes text, which " + arguments.output + " is not by its name");
  }
  const std::string complaint = CheckEnding(arguments.output, {".npy", ".csv"});
  if (!arguments.csv && !complaint.empty()) throw UsageError("--output: " + complaint);
}

size_t ColumnsOf(const Arguments& arguments) {
  if (arguments.log_energies) return Extractor::kChannels;
  return Extractor::kCoefficients * (arguments.deltas ? 3 : 1);
}

// One row per 10 ms.
void Mfcc(const Arguments& arguments) {
  AudioReader reader({arguments.input, arguments.reading});
  const bool learns = !arguments.knowledge_base.empty();
  Extractor extractor(arguments.knowledge_base);
  RowWriter writer(arguments.output, ColumnsOf(arguments), WritesCsv(arguments));
  Progress progress(arguments.input, reader.ExpectedSamples());

  const auto write_if = [&](bool ready) {
    if (ready)
      writer.Write(arguments.log_energies ? extractor.LogEnergies() : extractor.Output(arguments.deltas));
  };
  Frame frame;
  int64_t frames = 0, length = 0;
  for (size_t n = kFrameSamples; n == kFrameSamples;) {
    n = reader.Read(frame);
    if (n == 0) break;
    std::fill(frame.begin() + static_cast<std::ptrdiff_t>(n), frame.end(), int16_t{0});
    length += static_cast<int64_t>(n);
    write_if(extractor.Feed(frame, arguments.deltas));
    if (learns && ++frames % kMostAveraged == 0) extractor.UpdateMean();
    progress.Update(length);
  }
  for (int t = 0; arguments.deltas && t < kDerivativeDelay; ++t) write_if(extractor.FeedAgain());
  if (learns) extractor.UpdateMean();
  writer.Commit();
  if (learns) extractor.SaveMean();
  reader.Conclude();
}

// The recording and the files of the knowledge base.
Inputs InputsOf(const Arguments& arguments) {
  Inputs inputs({arguments.input});
  if (arguments.knowledge_base.empty()) return inputs;
  std::error_code ignored;
  for (const auto& file :
       std::filesystem::directory_iterator(arguments.knowledge_base + "/Vask.db", ignored)) {
    inputs.Add(file.path().string());
  }
  return inputs;
}

std::string CheckKnowledgeBase(const std::string& dir) {
  if (const std::string complaint = LengthComplaint(dir); !complaint.empty()) return complaint;
  const bool usable = access((dir + "/Vask.db/.").c_str(), W_OK) == 0;
  return usable ? "" : Printable(dir) + " contains no writable folder Vask.db: vask tables creates one";
}

}  // namespace

Job MfccJob(CLI::App& app) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* mfcc = app.add_subcommand("mfcc", "Compute the mel-frequency cepstra of a file");
  mfcc->footer(kFooter);
  AddInput(*mfcc, arguments->input);
  AddOutput(*mfcc, arguments->output, "File to write: .npy, .csv, or - for CSV to standard output");
  CLI::Option* deltas =
      mfcc->add_flag("--deltas", arguments->deltas, "Add first and second derivatives: 39 columns");
  mfcc->add_flag("--log-energies", arguments->log_energies, "Log mel energies instead: 23 columns")
      ->excludes(deltas);
  mfcc->add_flag("--csv", arguments->csv, "Write comma-separated text whatever the name");
  AddReadOptions(*mfcc, arguments->reading);
  mfcc->add_option("--kb", arguments->knowledge_base, "Knowledge base that keeps the cepstral mean")
      ->type_name("DIR")
      ->check(CheckKnowledgeBase);
  return {mfcc, [arguments] {
            CheckKind(*arguments);
            InputsOf(*arguments).CheckIsNone(arguments->output);
            Mfcc(*arguments);
            return EXIT_SUCCESS;
          }};
}

}  // namespace vask::command
