#include "sound/sound_writer.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "sound/resampler.h"

namespace vask::command {
namespace {

class RateChanger : public SoundWriter {
 public:
  RateChanger(const std::string& name, const SoundForm& form, int32_t rate, std::unique_ptr<SoundWriter> next)
      : next_(std::move(next)), converted_(static_cast<size_t>(form.channels)) {
    resamplers_.reserve(converted_.size());
    for (size_t c = 0; c < converted_.size(); ++c) resamplers_.emplace_back(name, form.rate, rate);
  }

  void Write(std::span<const int16_t> samples) override {
    std::vector<double> values(samples.size());
    std::transform(samples.begin(), samples.end(), values.begin(), [](int16_t s) { return s / 32768.0; });
    Write(values);
  }

  void Write(std::span<const double> interleaved) override {
    if (interleaved.empty()) return;  // it would end the resamplers
    const size_t count = converted_.size();
    std::vector<double> channel(interleaved.size() / count);
    for (size_t c = 0; c < count; ++c) {
      for (size_t i = 0; i < channel.size(); ++i) channel[i] = interleaved[i * count + c];
      resamplers_[c].Append(channel, converted_[c]);
    }
    Pass();
  }

  void Commit() override {
    for (size_t c = 0; c < converted_.size(); ++c) resamplers_[c].Append({}, converted_[c]);
    Pass();
    next_->Commit();
  }

 private:
  // What all channels have; they are equally far.
  void Pass() {
    const size_t count = converted_.size();
    std::vector<double> interleaved(converted_[0].size() * count);
    for (size_t c = 0; c < count; ++c) {
      for (size_t i = 0; i < converted_[c].size(); ++i) interleaved[i * count + c] = converted_[c][i];
      converted_[c].clear();
    }
    next_->Write(interleaved);
  }

  std::unique_ptr<SoundWriter> next_;
  std::vector<Resampler> resamplers_;
  std::vector<std::vector<double>> converted_;  // by channel
};

}  // namespace

std::unique_ptr<SoundWriter> MakeSoundWriter(const std::string& target, const SoundForm& form) {
  const SoundKind& kind = SoundKindOf(target);
  if (kind.container == SF_FORMAT_WAV) return MakeWavWriter(target, form);
  SoundForm own = form;
  own.rate = RateFor(kind, form.rate);
  std::unique_ptr<SoundWriter> writer = MakeSndfileWriter(target, kind, own);
  if (own.rate == form.rate) return writer;
  return std::make_unique<RateChanger>(target, form, own.rate, std::move(writer));
}

}  // namespace vask::command
