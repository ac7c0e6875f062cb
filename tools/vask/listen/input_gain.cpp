#include "listen/input_gain.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "sound/audio_reader.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr double kFullScale = 32768;
constexpr double kWantedDb = -20, kMostDb = 40;  // of "auto"
constexpr double kShareBelow = 0.95;
constexpr int32_t kFewZeros = 16;                // in a row: sound may cross zero
constexpr double kQuietDb = -20, kGoodDb = -10;  // peaks: where a gain is suggested, and to what it leads

double Db(double ratio) { return 20 * std::log10(ratio); }

// The level that this share of the frames stays below; of frames with any sound in them.
double HighLevelDb(const SoundInput& input) {
  AudioReader reader(input);
  std::vector<float> levels;
  Frame frame;
  while (reader.Read(frame) == frame.size()) {
    double sum = 0;
    for (const int16_t sample : frame) sum += double{1} * sample * sample;
    if (sum > 0) levels.push_back(static_cast<float>(std::sqrt(sum / kFrameSamples) / kFullScale));
  }
  if (levels.empty()) return 0;
  const auto place =
      levels.begin() + static_cast<std::ptrdiff_t>(kShareBelow * static_cast<double>(levels.size() - 1));
  std::nth_element(levels.begin(), place, levels.end());
  return Db(static_cast<double>(*place));
}

double GainDb(const std::string& gain, const SoundInput& input) {
  if (gain.empty()) return 0;
  if (gain != "auto") return std::strtod(gain.c_str(), nullptr);
  if (!std::filesystem::is_regular_file(input.path)) {
    throw FileError(input.path == "-" ? "standard input" : input.path,
                    "cannot be read twice, as --gain auto does", "give it a number of dB, or a file");
  }
  return std::clamp(kWantedDb - HighLevelDb(input), 0.0, kMostDb);
}

}  // namespace

InputGain::InputGain(const std::string& gain, const SoundInput& input)
    : is_on_(!gain.empty()), factor_(std::pow(10.0, GainDb(gain, input) / 20)) {}

void InputGain::Apply(std::span<int16_t> samples) {
  for (int16_t& sample : samples) {
    peak_ = std::max(peak_, std::abs(int32_t{sample}));
    if (!is_on_) continue;
    zeros_ = sample == 0 ? std::min(zeros_ + 1, kFewZeros + 1) : 0;
    const double louder = zeros_ > kFewZeros ? Dither() : std::round(sample * factor_);
    sample = static_cast<int16_t>(std::clamp(louder, -kFullScale, kFullScale - 1));
  }
}

// A linear congruential generator of 32 bits: the same dither for the same recording.
int32_t InputGain::Dither() {
  random_ = random_ * 1664525U + 1013904223U;
  return static_cast<int32_t>((random_ >> 16) % 3) - 1;
}

std::optional<double> InputGain::PeakDb() const {
  if (peak_ == 0) return std::nullopt;
  return Db(peak_ / kFullScale);
}

std::string NothingFound(const InputGain& gain, bool suggests_gain) {
  const std::optional<double> peak = gain.PeakDb();
  if (!peak) return "no utterance; it is silent";
  char text[100];
  if (suggests_gain && *peak < kQuietDb) {
    std::snprintf(text, sizeof text, "no utterance; its peak is %.0f dBFS: try --gain %.0f", *peak,
                  kGoodDb - *peak);
  } else {
    std::snprintf(text, sizeof text, "no utterance; its peak is %.0f dBFS", *peak);
  }
  return text;
}

}  // namespace vask::command
