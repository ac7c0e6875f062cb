#include "sound/streamed_sound.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

#include "terminal/errors.h"
#include "terminal/signals.h"

namespace vask::command {
namespace {

[[noreturn]] void ThrowNoSamples(const std::string& name) {
  throw FileError(name, "holds no samples", "send some to it");
}

class StreamedSound : public SoundSource {
 public:
  StreamedSound(std::unique_ptr<InputFile> input, const WavForm& form, std::vector<uint8_t> pending)
      : input_(std::move(input)), wav_(form), pending_(std::move(pending)) {
    rate_ = wav_.rate;
    channels_ = wav_.channels;
    if (wav_.bytes == 3) form_ = SampleForm::kInt24;
    if (wav_.bytes == 4) form_ = SampleForm::kFloat;
    if (wav_.data_bytes != kUntilTheEnd) {
      const uint64_t bytes = wav_.data_bytes + pending_.size();
      frames_ = static_cast<int64_t>(bytes / static_cast<size_t>(wav_.bytes * wav_.channels));
      promised_ = frames_;
    }
  }

  size_t Read(std::span<double> interleaved) override {
    const auto channels = static_cast<size_t>(wav_.channels), bytes = static_cast<size_t>(wav_.bytes);
    const size_t frame = channels * bytes, most = interleaved.size() / channels * frame;
    while (pending_.size() < frame && wav_.data_bytes > 0) {
      const size_t had = pending_.size();
      pending_.resize(static_cast<size_t>(std::min<uint64_t>(most, had + wav_.data_bytes)));
      const size_t n = input_->ReadSome(std::span(pending_).subspan(had));
      pending_.resize(had + n);
      wav_.data_bytes -= n;
      if (n == 0) break;
    }
    const size_t samples = std::min(pending_.size(), most) / frame * channels;
    if (samples == 0) End();
    any_ = true;
    for (size_t i = 0; i < samples; ++i) interleaved[i] = WavSample(wav_, &pending_[i * bytes]);
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(samples * bytes));
    return samples / channels;
  }

 private:
  void End() {
    // Reads what follows the samples on standard input, so that the writer of the pipe can finish.
    std::array<uint8_t, 4096> skipped;
    while (input_->fd() == STDIN_FILENO && input_->ReadSome(skipped) > 0) {
    }
    if (SignalNoted()) {
      promised_ = 0;  // the rest may well exist
    } else if (!any_) {
      ThrowNoSamples(input_->name());
    }
  }

  std::unique_ptr<InputFile> input_;
  WavForm wav_;                   // data_bytes: those that are still to be read
  std::vector<uint8_t> pending_;  // read but not delivered yet
  bool any_ = false;              // samples have been delivered
};

}  // namespace

std::unique_ptr<SoundSource> OpenStream(std::unique_ptr<InputFile> input, const WavForm& form,
                                        std::vector<uint8_t> first) {
  return std::make_unique<StreamedSound>(std::move(input), form, std::move(first));
}

}  // namespace vask::command
