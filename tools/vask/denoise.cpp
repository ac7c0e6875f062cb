#include "denoise.h"

#include <algorithm>

#include "audio_reader.h"
#include "errors.h"
#include "progress.h"
#include "wav_writer.h"

namespace vask::command {
namespace {

// The engine gives a frame when it has heard two more.
constexpr int kDelayFrames = 2;

bool IsSilent(const Frame& frame) {
  return std::all_of(frame.begin(), frame.end(), [](int16_t x) { return x == 0; });
}

}  // namespace

void Denoise(EngineSession& engine, const std::string& input, const std::string& output) {
  AudioReader reader(input);
  WavWriter writer(output);
  Progress progress(input, reader.ExpectedSamples());
  engine.WrapUp();

  int64_t length = 0;  // samples read so far
  const auto write = [&](std::span<const int16_t> samples) {
    // The last frame of the file is filled up with zeros, which are not written.
    const auto rest = static_cast<size_t>(length - writer.samples());
    writer.Write(samples.first(std::min(samples.size(), rest)));
  };

  Frame frame;
  bool started = false;
  for (size_t n = kFrameSamples; n == kFrameSamples;) {
    n = reader.Read(frame);
    if (n == 0) break;
    std::fill(frame.begin() + static_cast<std::ptrdiff_t>(n), frame.end(), int16_t{0});
    length += static_cast<int64_t>(n);
    started = started || !IsSilent(frame);
    if (started) {
      write(engine.Feed(frame).samples);
    } else {
      write(frame);  // the engine skips silence of all zeros before its first frame
    }
    progress.Update(length);
  }
  frame.fill(0);
  for (int t = 0; started && t < kDelayFrames; ++t) write(engine.Feed(frame).samples);
  if (writer.samples() != length) throw FatalError("the engine left out samples: report this as a bug");
  writer.Commit();
}

}  // namespace vask::command
