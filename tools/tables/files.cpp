#include "files.h"

#include <string_view>

namespace vask::tables {
namespace {

// A header declares std::array constants. A list (.inc) holds bare values.
bool IsHeader(const File& file) { return file.name.ends_with(".h"); }

// A table of several rows in a header is an array of arrays and has braces around each row.
bool HasNestedRows(const Table& table, const Rows& rows) {
  return !table.declaration.empty() && rows.size() > 1;
}

void AppendRow(std::string& text, const Row& row, int32_t per_line) {
  for (size_t i = 0; i < row.size(); ++i) {
    const bool starts_line = i % static_cast<size_t>(per_line) == 0;
    if (starts_line && i > 0) text += '\n';
    text += starts_line ? "    " : " ";
    text += std::to_string(row[i]) + ',';
  }
  text += '\n';
}

void AppendTable(std::string& text, const Table& table) {
  const Rows rows = table.rows();
  const bool nested = HasNestedRows(table, rows);
  text += "// " + table.rule + '\n';
  if (!table.declaration.empty()) text += table.declaration + (nested ? " = {{\n" : " = {\n");
  for (const Row& row : rows) {
    if (nested) text += "  {\n";
    AppendRow(text, row, table.per_line);
    if (nested) text += "  },\n";
  }
  if (!table.declaration.empty()) text += nested ? "}};\n" : "};\n";
}

}  // namespace

std::vector<File> Files() {
  const auto cosines = [](int32_t multiple) { return [multiple] { return TwiddleCosines(multiple); }; };
  const auto sines = [](int32_t multiple) { return [multiple] { return TwiddleSines(multiple); }; };
  return {
      {"cc1.inc",
       {{"cos(2 pi j / points), j = 1 ... points/8 - 1, points = 16 ... 512; Q30", "", 8, cosines(1)}}},
      {"ss1.inc",
       {{"sin(2 pi j / points), j = 1 ... points/8 - 1, points = 16 ... 512; Q30", "", 8, sines(1)}}},
      {"cc3.inc",
       {{"cos(6 pi j / points), j = 1 ... points/8 - 1, points = 16 ... 512; Q30", "", 8, cosines(3)}}},
      {"ss3.inc",
       {{"sin(6 pi j / points), j = 1 ... points/8 - 1, points = 16 ... 512; Q30", "", 8, sines(3)}}},
      {"mel_filt.inc",
       {{"For each of the 35 mel bands: first bin, number of bins, weights in Q30 that sum to 1", "", 8,
         MelFilters}}},
      {"lo_chan.inc", {{"For bins 1 ... 256 of 512: the mel channel below, 0 to 23", "", 10, LowerChannels}}},
      {"init_fbank.inc",
       {{"For bins 1 ... 256 of 512: the share of the channel below, Q30", "", 8, LowerChannelWeights}}},
      {"init_dct_matrix.inc",
       {{"cos(pi k (j + 0.5) / 23), row k = 0 ... 12, column j = 0 ... 22; Q30", "", 8, CepstrumBasis}}},
      {"pre_emph.inc",
       {{"|1 - 0.97 exp(-i pi k / 256)|^2, k = 0 ... 256; Q29", "", 8, PreEmphasisResponses}}},
      {"windows.h",
       {{"0.5 - 0.5 cos(2 pi (i + 0.5) / 400)", "inline constexpr std::array<int32_t, 400> kHanningQ30", 8,
         HanningWindow},
        {"0.54 - 0.46 cos(2 pi i / 319), through single precision: not quite symmetric",
         "inline constexpr std::array<int32_t, 320> kHammingQ30", 8, HammingWindow},
        {"0.5 - 0.5 cos(2 pi (i + 0.5) / 24), through single precision",
         "inline constexpr std::array<int32_t, 24> kFilterWindowQ30", 8, FilterWindow}}},
      {"ear.h",
       {{"Square root of the amplitude response of outer and middle ear (ITU-R BS.1387) at k * 62.5 Hz",
         "inline constexpr std::array<int32_t, 129> kEarWeightQ30", 8, EarWeights}}},
      {"mel_idct.h",
       {{"Row n = tap, column k = band: cos(2 pi n f(k)) (f(k+1) - f(k-1)), f = centroid / sampling rate",
         "inline constexpr std::array<std::array<int32_t, 35>, 35> kMelIdctBasisQ30", 8, MelIdctBasis}}},
      {"logarithm.h",
       {{"log2(1 + k/1024), rounded", "inline constexpr std::array<int32_t, 1025> kLog2Q30", 8, Logarithms},
        {"log2(k/1024), truncated toward zero; entry 0 is never read",
         "inline constexpr std::array<int32_t, 1025> kFractionLog2Q26", 8, FractionLogarithms},
        {"log2(1 + i/32), with 1.0 as 32767", "inline constexpr std::array<int16_t, 33> kShortLog2Q15", 10,
         ShortLogarithms}}},
      {"square_root.h",
       {{"sqrt(k/1024), rounded", "inline constexpr std::array<int32_t, 1025> kSquareRootQ30", 8,
         SquareRoots},
        {"1/sqrt(1 + i/16), with 1.0 as 32767", "inline constexpr std::array<int16_t, 49> kInverseRootQ15",
         10, InverseRoots}}},
      {"low_pass.h",
       {{"Low-pass filter i / 24 samples of the lower rate from its middle: 0.45 of that rate passes, 0.5 "
         "does not",
         "inline constexpr std::array<int32_t, 887> kLowPassQ24", 8, LowPass},
        {"Half-band filter: the taps at distances -23, -21 ... 23",
         "inline constexpr std::array<int16_t, 24> kHalfBandQ16", 8, HalfBand}}},
  };
}

std::string Render(const File& file) {
  std::string text =
      "// Written by `vask-tables write`; tools/tables has each recipe in full. Do not edit.\n";
  if (IsHeader(file)) text += "#pragma once\n\n#include <array>\n#include <cstdint>\n\nnamespace vask {\n\n";
  text += "// clang-format off\n\n";
  for (const Table& table : file.tables) {
    AppendTable(text, table);
    text += '\n';
  }
  text += "// clang-format on\n";
  if (IsHeader(file)) text += "\n}  // namespace vask\n";
  return text;
}

}  // namespace vask::tables
