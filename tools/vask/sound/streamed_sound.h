// A recording that is read once from its start to its end, its samples delivered as soon as they arrive.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "files/input_file.h"
#include "sound/sound_source.h"
#include "sound/wav_header.h"

namespace vask::command {

// What follows a WAV header, or has none; `first` are samples that have been read from `input` already and
// that form.data_bytes does not count.
std::unique_ptr<SoundSource> OpenStream(std::unique_ptr<InputFile> input, const WavForm& form,
                                        std::vector<uint8_t> first = {});

}  // namespace vask::command
