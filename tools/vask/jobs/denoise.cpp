#include "jobs/denoise.h"

#include <algorithm>
#include <array>
#include <new>
#include <vask/stream.hpp>

#include "sound/audio_reader.h"
#include "sound/wav_writer.h"
#include "terminal/errors.h"
#include "terminal/progress.h"

namespace vask::command {

void Denoise(const std::string& input, const std::string& output) {
  AudioReader reader(input);
  WavWriter writer(output);
  Progress progress(input, reader.ExpectedSamples());
  StreamOptions options;
  options.mode = VASK_STREAM_CONTINUOUS;
  Stream stream(options);
  if (!stream) throw std::bad_alloc();

  std::array<int16_t, 4096> block, room;
  const auto write = [&] {
    for (;;) {
      const std::span<const int16_t> samples = stream.Read(room);
      if (samples.empty()) return;
      writer.Write(samples);
    }
  };
  int64_t length = 0;
  for (size_t n = 0; (n = reader.ReadSome(block)) > 0;) {
    if (stream.Write(std::span(block).first(n)) != static_cast<int32_t>(n)) throw std::bad_alloc();
    length += static_cast<int64_t>(n);
    write();
    progress.Update(length);
  }
  if (stream.Flush() != 0) throw std::bad_alloc();
  write();
  if (writer.samples() != length) throw FatalError("the stream left out samples: report this as a bug");
  writer.Commit();
}

}  // namespace vask::command
