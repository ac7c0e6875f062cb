// Standard input as a recording: samples are given as soon as they arrive, and a signal is its end.
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

#include "format.h"
#include "sound/sound_source.h"
#include "sound/wav_header.h"
#include "terminal/errors.h"
#include "terminal/signals.h"

namespace vask::command {
namespace {

const std::string kName = "standard input";
constexpr int kLookForSignals = 100;  // ms: another thread may have got it
constexpr WavForm kRaw = {kRateHz, 1, 2, false, kUntilTheEnd};

// Waits for bytes and gives what is there; 0 at the end.
size_t ReadSome(std::span<uint8_t> out) {
  while (!SignalNoted()) {
    struct pollfd input = {STDIN_FILENO, POLLIN, 0};
    const int ready = poll(&input, 1, kLookForSignals);
    if (ready == 0 || (ready < 0 && errno == EINTR)) continue;
    const ssize_t n = ready < 0 ? -1 : read(STDIN_FILENO, out.data(), out.size());
    if (n >= 0) return static_cast<size_t>(n);
    if (errno != EINTR && errno != EAGAIN) {
      throw FileError(kName, std::string("cannot be read (") + std::strerror(errno) + ")",
                      "send samples into it");
    }
  }
  return 0;
}

size_t ReadAll(std::span<uint8_t> out) {
  size_t done = 0;
  for (size_t n = 1; done < out.size() && n > 0; done += n) n = ReadSome(out.subspan(done));
  return done;
}

class StandardInput : public SoundSource {
 public:
  StandardInput() {
    std::array<uint8_t, 4> first;
    pending_.assign(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(ReadAll(first)));
    if (pending_.size() < 2 && !SignalNoted()) ThrowNoSamples();
    if (pending_.size() == first.size()) LookAt(first);
    rate_ = form_.rate;
    channels_ = form_.channels;
    if (form_.data_bytes != kUntilTheEnd) {
      frames_ = static_cast<int64_t>(form_.data_bytes / static_cast<size_t>(form_.bytes * form_.channels));
    }
  }

  size_t Read(std::span<double> interleaved) override {
    const auto channels = static_cast<size_t>(form_.channels), bytes = static_cast<size_t>(form_.bytes);
    const size_t frame = channels * bytes, most = interleaved.size() / channels * frame;
    while (pending_.size() < frame && form_.data_bytes > 0) {
      const size_t had = pending_.size();
      pending_.resize(static_cast<size_t>(std::min<uint64_t>(most, had + form_.data_bytes)));
      const size_t n = ReadSome(std::span(pending_).subspan(had));
      pending_.resize(had + n);
      form_.data_bytes -= n;
      if (n == 0) break;
    }
    const size_t samples = std::min(pending_.size(), most) / frame * channels;
    if (samples == 0) SkipRest();
    if (samples == 0 && !any_ && !SignalNoted()) ThrowNoSamples();
    any_ = true;
    for (size_t i = 0; i < samples; ++i) interleaved[i] = WavSample(form_, &pending_[i * bytes]);
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(samples * bytes));
    return samples / channels;
  }

 private:
  [[noreturn]] static void ThrowNoSamples() {
    throw FileError(kName, "holds no samples", "send some into it");
  }

  void LookAt(const std::array<uint8_t, 4>& first) {
    const std::string_view tag(reinterpret_cast<const char*>(first.data()), first.size());
    if (tag == "RIFF") {
      form_ = ReadWavHeader(kName, [](std::span<uint8_t> out) { return ReadAll(out) == out.size(); });
      pending_.clear();
    } else if (tag == "fLaC" || tag == "OggS" || tag == "RF64" || tag == "RIFX" || tag == "FORM" ||
               tag == "caff" || tag == ".snd" || tag.substr(0, 3) == "ID3") {
      throw FileError(kName, "is neither WAV nor raw samples", "convert it to WAV, or give the file's name");
    }
  }

  // What stands behind the samples, so that the writer of the pipe can end well.
  static void SkipRest() {
    std::array<uint8_t, 4096> skipped;
    while (ReadSome(skipped) > 0) {
    }
  }

  WavForm form_ = kRaw;           // data_bytes: those that are still to be read
  std::vector<uint8_t> pending_;  // read, and not given yet
  bool any_ = false;              // samples have been given
};

}  // namespace

std::unique_ptr<SoundSource> OpenStandardInput() { return std::make_unique<StandardInput>(); }

}  // namespace vask::command
