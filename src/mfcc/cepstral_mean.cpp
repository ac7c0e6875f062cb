#include "mfcc/cepstral_mean.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <string_view>

#include "dsp/arith.h"
#include "dsp/message.h"
#include "kb/coefficient_file.h"
#include "kb/paths.h"
#include "kb/text_file.h"
#include "mfcc/tables.h"

namespace vask {
namespace {

constexpr const char* kFileName = "global_cms";
constexpr int32_t kUpdatesPerFile = 3;
constexpr double kKeep = 0.8f, kTake = 0.2f;  // single precision: together a little more than 1
constexpr double kOneQ20 = 1 << 20;
constexpr std::string_view kBlanks = " \t\n\v\f\r";

using Line = std::array<char, kLineBytes + 1>;  // with its line end and a terminating zero

// Read a line and drop the part that does not fit; false at the end of the file.
bool ReadLine(FILE* file, Line& line) {
  if (std::fgets(line.data(), static_cast<int>(line.size()), file) == nullptr) return false;
  char& last = line[kLineBytes - 1];
  if (std::strlen(line.data()) < kLineBytes || last == '\n') return true;
  last = '\n';
  for (int c = 0; c != '\n' && c != EOF;) c = std::fgetc(file);
  return true;
}

// The number that a word begins with.
bool ParseNumber(const char* word, int32_t& value) {
  if (word[0] == '+' && word[1] != '-') ++word;
  return std::from_chars(word, word + std::strlen(word), value).ec == std::errc();
}

int32_t CutQ20(double value) {
  return static_cast<int32_t>(std::clamp<double>(value * kOneQ20, kMin32, kMax32));
}

void Report(const mfcc_prm& m) {
  char text[512];
  int length = std::snprintf(text, sizeof text, "[ %d ] ", m.frames);
  for (int32_t k = 0; k < kCepstra; ++k) {
    const auto value = static_cast<float>(m.cms_new[k] / kOneQ20);
    length += std::snprintf(text + length, sizeof text - static_cast<size_t>(length), "%.3f ",
                            static_cast<double>(value));
  }
  Say(Message::kFailure, "%s\n", text);
}

}  // namespace

bool ReadWord(FILE* file, std::span<char, kLineBytes> word) {
  Line line;
  while (ReadLine(file, line)) {
    if (line[0] == '#') Say(Message::kFailure, "%s", line.data() + 1);
    if (line[0] == '#' || line[0] == ' ') continue;
    const std::string_view text(line.data());
    const size_t first = std::min(text.find_first_not_of(kBlanks), text.size());
    const size_t end = std::min(text.find_first_of(kBlanks, first), text.size());
    if (first == end) continue;
    *std::copy(text.begin() + first, text.begin() + end, word.begin()) = '\0';
    return true;
  }
  return false;
}

bool ReadMean(mfcc_prm& m, const char* base_dir) {
  char path[256], word[kLineBytes];
  FILE* file = JoinPath(path, base_dir, kFileName) ? OpenText(path) : nullptr;
  if (file == nullptr) {
    Say(Message::kFailure, "ERROR: can't open global_cms\n");
    return false;
  }
  int32_t read = 0;
  while (read < kCepstra && ReadWord(file, word) && ParseNumber(word, m.cms[read])) ++read;
  if (read < kCepstra) Say(Message::kFailure, "ERROR: read global_cms\n");
  std::fclose(file);
  return read == kCepstra;
}

bool WriteMean(std::span<const int32_t> mean_q20, const char* base_dir) {
  char path[256];
  if (JoinPath(path, base_dir, kFileName) && WriteCoefficients(path, mean_q20)) return true;
  Say(Message::kFailure, "ERROR: can't write global_cms\n");
  return false;
}

void UpdateMean(mfcc_prm& m, int32_t& updates, const char* base_dir) {
  if (m.frames <= 0) return;
  const int64_t share_q30 = kOneQ30 / m.frames;
  for (int32_t k = 0; k < kCepstra; ++k) {
    // The halves count in units of 2^16 and 2: Q4 * Q30 / 2^14 and Q19 * Q30 / 2^29 = Q20. The sums wrap
    // after 65536 frames.
    m.cms_utt[k] =
        WrapAdd(Low32(m.cms_sum_lo[k] * share_q30 >> 29), Low32(m.cms_sum_hi[k] * share_q30 >> 14));
    m.cms_new[k] = CutQ20(m.cms[k] / kOneQ20 * kKeep + m.cms_utt[k] / kOneQ20 * kTake);
  }
  CountUp(updates);
  if (updates >= kUpdatesPerFile) {
    WriteMean({m.cms_new, kCepstra}, base_dir);
    Report(m);
    updates = 0;
  }
  std::copy_n(m.cms_new, kCepstra, m.cms);
  std::fill_n(m.cms_sum_hi, kCepstra, 0);
  std::fill_n(m.cms_sum_lo, kCepstra, 0);
  m.frames = 0;
}

}  // namespace vask

extern "C" int32_t read_params(char* token, FILE* file) {
  if (token == nullptr || file == nullptr) return 0;
  return vask::ReadWord(file, std::span<char, vask::kLineBytes>(token, vask::kLineBytes)) ? 1 : 0;
}
