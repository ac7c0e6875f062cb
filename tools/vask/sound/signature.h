// What kind of sound the first bytes of a stream announce, and who can read it without going back.
#pragma once

#include <cstdint>

#include "files/input_file.h"

#include <vector>

namespace vask::command {

enum class Signature {
  kNone,       // samples, or nothing that is known
  kRiff,       // WAV, or another kind of the same container
  kForward,    // libsndfile reads it from its start to its end
  kElsewhere,  // it goes back in it, reads it wrongly if it cannot, or does not know it
};

// Reads no more of `input` than it needs and adds it to `seen`.
Signature FindSignature(InputFile& input, std::vector<uint8_t>& seen);

}  // namespace vask::command
