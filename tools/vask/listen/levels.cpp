#include "listen/levels.h"

#include <algorithm>
#include <cmath>

#include "format.h"

namespace vask::command {
namespace {

constexpr int64_t kFramesASecond = kRateHz / kFrameSamples;
constexpr int64_t kKept = 60 * kFramesASecond;
constexpr int64_t kFloorBefore = 10 * kFramesASecond, kFloorLength = 50 * kFramesASecond;
constexpr int64_t kFloorShare = 10;               // one in so many frames is below the floor
constexpr double kFullPower = 32768.0 * 32768.0;  // of a sample
constexpr double kQuietestPower = 0.107;          // -100 dB full scale, for digital silence
constexpr double kFullScale = 32767.0 / 32768.0;  // the highest sample of 16 bits, and what is above it

double Db(double power) { return 10 * std::log10(std::max(power, kQuietestPower) / kFullPower); }

double Tenths(double db) { return std::round(db * 10) / 10; }

}  // namespace

LevelTrack::Sums::Sums() : sums_(kKept + 1) {}

void LevelTrack::Sums::Push(int64_t add) {
  const auto size = static_cast<int64_t>(sums_.size());
  const int64_t sum = sums_[static_cast<size_t>(count_ % size)] + add;
  sums_[static_cast<size_t>(++count_ % size)] = sum;
}

int64_t LevelTrack::Sums::Before(int64_t frame) const {
  const int64_t kept = std::clamp(frame, std::max(count_ - kKept, int64_t{0}), count_);
  return sums_[static_cast<size_t>(kept % static_cast<int64_t>(sums_.size()))];
}

LevelTrack::LevelTrack(int32_t rate) : rate_(rate), next_edge_(rate / kFramesASecond) {}

void LevelTrack::Passed(std::span<const double> interleaved, int32_t channels) {
  channels_ = channels;
  while (!interleaved.empty()) {
    const auto frames = static_cast<int64_t>(interleaved.size()) / channels_;
    const int64_t taken = std::min(frames, next_edge_ - frames_passed_);
    const auto piece = interleaved.first(static_cast<size_t>(taken * channels_));
    clipping_ +=
        std::count_if(piece.begin(), piece.end(), [](double value) { return std::abs(value) >= kFullScale; });
    interleaved = interleaved.subspan(piece.size());
    frames_passed_ += taken;
    if (frames_passed_ < next_edge_) continue;
    clipped_.Push(clipping_);
    clipping_ = 0;
    next_edge_ = (clipped_.count() + 1) * rate_ / kFramesASecond;
  }
}

void LevelTrack::Heard(std::span<const int16_t> samples) {
  for (const int16_t sample : samples) {
    power_ += int32_t{sample} * sample;
    if (++in_frame_ < kFrameSamples) continue;
    powers_.Push(power_);
    power_ = in_frame_ = 0;
  }
}

void LevelTrack::Start(int64_t start) {
  start_ = start / kFrameSamples;
  power_before_ = powers_.Before(start_);
  clipped_before_ = clipped_.Before(start_);
}

SegmentLevels LevelTrack::End(int64_t end, int64_t heard) const {
  const int64_t last = std::max(end / kFrameSamples, start_ + 1);
  const auto frames = static_cast<double>(last - start_);
  const double power = static_cast<double>(powers_.Before(last) - power_before_) / frames;
  const double samples = frames * rate_ / kFramesASecond * static_cast<double>(channels_);
  const auto floor = static_cast<double>(FloorOf(start_ - kFloorBefore, heard / kFrameSamples));
  const auto clipped = static_cast<double>(clipped_.Before(last) - clipped_before_);
  SegmentLevels levels;
  levels.level_db = Tenths(Db(power / kFrameSamples));
  levels.snr_db = Tenths(Db(power / kFrameSamples) - Db(floor / kFrameSamples));
  levels.clipped = std::min(clipped / samples, 1.0);
  return levels;
}

int64_t LevelTrack::FloorOf(int64_t first, int64_t last) const {
  std::vector<int64_t> powers;
  for (int64_t frame = std::max({first, last - kFloorLength, int64_t{0}}); frame < last; ++frame)
    powers.push_back(powers_.Before(frame + 1) - powers_.Before(frame));
  if (powers.empty()) return 0;
  const auto place = powers.begin() + static_cast<std::ptrdiff_t>(powers.size()) / kFloorShare;
  std::nth_element(powers.begin(), place, powers.end());
  return *place;
}

}  // namespace vask::command
