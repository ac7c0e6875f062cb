// The sound of spans of a recording, which is read a second time for it: beyond what a stream delivers, or as
// it is in the file.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vask/stream.hpp>
#include <vector>

#include "listen/input_gain.h"
#include "sound/audio_reader.h"
#include "sound/channel_reader.h"
#include "sound/sound_writer.h"

namespace vask::command {

// Throws FileError for what cannot be read twice.
void CheckCanBeReadAgain(const SoundInput& input, const char* what);

// Copies spans in their order; none may begin before the end of the one before.
class SpanCopy {
 public:
  virtual ~SpanCopy() = default;
  virtual SoundForm form() const = 0;
  // Samples of the recording's own rate, [first, last), to a writer of that form.
  virtual void Copy(int64_t first, int64_t last, SoundWriter& writer) = 0;
};

// With the rate, the channels and the samples of the recording.
std::unique_ptr<SpanCopy> CopyOriginal(const SoundInput& input);

// As streams deliver it: 16 kHz, mono, after the gain and the noise reduction of that setup, which runs
// through all of the recording, what lies between the spans too.
std::unique_ptr<SpanCopy> CopyHeard(const SoundInput& input, const std::string& gain,
                                    const vask_stream_setup& setup);

}  // namespace vask::command
