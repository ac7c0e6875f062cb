#include "listen/span_copy.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <new>
#include <span>

#include "format.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr size_t kBlock = 4096;  // frames

class OriginalCopy : public SpanCopy {
 public:
  explicit OriginalCopy(const SoundInput& input)
      : reader_({input.path, input.options, input.channel > 0 ? input.channel : kAllChannels}) {}

  SoundForm form() const override { return {reader_.rate(), reader_.channels(), reader_.form()}; }

  void Copy(int64_t first, int64_t last, SoundWriter& writer) override {
    const auto channels = static_cast<size_t>(reader_.channels());
    std::vector<double> block(kBlock * channels);
    while (reader_.frames_read() < last) {
      const int64_t at = reader_.frames_read(), edge = at < first ? first : last;
      const auto wanted = static_cast<size_t>(std::min<int64_t>(edge - at, kBlock));
      const size_t frames = reader_.Read(std::span(block).first(wanted * channels));
      if (frames == 0) return;
      if (at >= first) writer.Write(std::span<const double>(block).first(frames * channels));
    }
  }

 private:
  ChannelReader reader_;
};

class HeardCopy : public SpanCopy {
 public:
  HeardCopy(const SoundInput& input, const std::string& gain, const vask_stream_setup& setup)
      : reader_(input), gain_(gain, input) {
    if (setup.options.audio == VASK_STREAM_RAW) return;
    vask_stream_setup all = setup;
    all.options.mode = VASK_STREAM_CONTINUOUS;
    stream_.emplace(all);
    if (!*stream_) throw std::bad_alloc();
  }

  SoundForm form() const override { return {}; }

  void Copy(int64_t first, int64_t last, SoundWriter& writer) override {
    const auto at_16k = [&](int64_t frame) {
      return std::llround(static_cast<double>(frame) * kRateHz / reader_.rate());
    };
    const int64_t begin = at_16k(first), end = at_16k(last);
    while (at_ < end) {
      if (ready_.empty() && !Fill()) return;
      const auto ready = static_cast<int64_t>(ready_.size());
      const int64_t taken = std::min(ready, (at_ < begin ? begin : end) - at_);
      if (at_ >= begin) writer.Write(ready_.first(static_cast<size_t>(taken)));
      ready_ = ready_.subspan(static_cast<size_t>(taken));
      at_ += taken;
    }
  }

 private:
  // The next samples to ready_; false at the end.
  bool Fill() {
    while (ready_.empty()) {
      if (stream_) ready_ = stream_->Read(room_);
      if (!ready_.empty()) return true;
      if (is_over_) return false;
      const size_t n = reader_.ReadSome(block_);
      const auto heard = std::span(block_).first(n);
      gain_.Apply(heard);
      is_over_ = n == 0;
      if (!stream_) {
        ready_ = heard;
      } else if (is_over_ ? stream_->Flush() != 0 : stream_->Write(heard) != static_cast<int32_t>(n)) {
        throw std::bad_alloc();
      }
    }
    return true;
  }

  AudioReader reader_;
  InputGain gain_;
  std::optional<Stream> stream_;  // none for what is raw
  std::array<int16_t, kBlock> block_ = {}, room_ = {};
  std::span<const int16_t> ready_;  // in one of these
  int64_t at_ = 0;                  // of ready_, at 16 kHz
  bool is_over_ = false;
};

}  // namespace

void CheckCanBeReadAgain(const SoundInput& input, const char* what) {
  std::error_code error;
  if (std::filesystem::is_regular_file(input.path, error)) return;
  throw FileError(input.path == "-" ? "standard input" : input.path,
                  std::string("cannot be read twice, as ") + what + " does", "give a file");
}

std::unique_ptr<SpanCopy> CopyOriginal(const SoundInput& input) {
  return std::make_unique<OriginalCopy>(input);
}

std::unique_ptr<SpanCopy> CopyHeard(const SoundInput& input, const std::string& gain,
                                    const vask_stream_setup& setup) {
  return std::make_unique<HeardCopy>(input, gain, setup);
}

}  // namespace vask::command
