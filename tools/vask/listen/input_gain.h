// What the energy detector hears of a quiet recording: louder, and with dither where there is nothing.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "format.h"
#include "sound/sound_input.h"

namespace vask::command {

class InputGain {
 public:
  // `gain`: a number of dB, "auto", or empty: none, and no dither. "auto" reads the recording once to its end
  // and brings the level that 95 % of its frames stay below to -20 dB full scale, by 0 to 40 dB. Throws
  // FileError for what is not a regular file, and what AudioReader throws.
  InputGain(const std::string& gain, const SoundInput& input);

  // Amplifies in place, limited to full scale; from the 17th zero in a row on, zeros become -1, 0 or 1.
  void Apply(std::span<int16_t> samples);

  // The loudest sample so far, before the gain: dB full scale; none if all were 0.
  std::optional<double> PeakDb() const;

 private:
  int32_t Dither();

  bool is_on_;
  double factor_ = 1;
  int32_t peak_ = 0, zeros_ = 0;
  uint32_t random_ = 1;
};

// Says that nothing was found in a recording, and what might help: without its name.
std::string NothingFound(const InputGain& gain, bool suggests_gain);

}  // namespace vask::command
