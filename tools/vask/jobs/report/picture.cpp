#include "jobs/report/picture.h"

#include <algorithm>

#include "format.h"

namespace vask::command {
namespace {

constexpr int64_t kMostHeights = 400000;
constexpr int64_t kMostColumns = 36000;
constexpr int64_t kMostTraces = 360000;
constexpr int32_t kFinestEnvelope = 16;  // samples: 1 ms
constexpr int64_t kHour = int64_t{3600} * kRateHz;

int32_t Parts(int64_t whole, int64_t most) {
  return static_cast<int32_t>(std::max<int64_t>((whole + most - 1) / most, 1));
}

// Neighbouring columns are alike: their differences deflate to less than half.
std::vector<uint8_t> Differences(std::span<const uint8_t> columns) {
  std::vector<uint8_t> out(columns.begin(), columns.end());
  constexpr size_t kBands = Spectrogram::kBands;
  for (size_t i = out.size(); i-- > kBands;) out[i] = static_cast<uint8_t>(out[i] - out[i - kBands]);
  return out;
}

}  // namespace

Fineness Fineness::For(int64_t samples) {
  if (samples == 0) samples = kHour;
  const int64_t frames = samples / kFrameSamples;
  return {std::max(Parts(samples, kMostHeights), kFinestEnvelope), Parts(frames, kMostColumns),
          Parts(frames, kMostTraces)};
}

Picture::Picture(const Fineness& fineness, std::optional<Sound::Type> sound)
    : envelope_(fineness.envelope_step), spectrogram_(fineness.spectrogram_frames) {
  if (sound) sound_.emplace(*sound);
}

void Picture::Add(std::span<const int16_t> samples) {
  envelope_.Add(samples);
  spectrogram_.Add(samples);
  if (sound_) sound_->Add(samples);
}

void Picture::Finish() {
  envelope_.Finish();
  spectrogram_.Finish();
  if (sound_) sound_->Finish();
}

void Picture::WriteTo(Page& page, const std::string& name) const {
  page.AddValues("envelope-" + name, envelope_.values());
  page.AddValues("spectrogram-" + name, Differences(spectrogram_.values()));
  if (sound_) page.AddFile("sound-" + name, sound_->file());
}

}  // namespace vask::command
