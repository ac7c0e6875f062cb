// The part of the noise reduction that comes from the knowledge base.
#include <vask/engine.h>
#include <vask/noise.h>

#include "noise/mel_bank.h"

extern "C" {

int32_t InitMelFBFromFile(mel_band* first, int32_t n) {
  return first != nullptr && vask::ReadMelBank(*first, n, Vask_epd_base_dir) ? 1 : 0;
}

}  // extern "C"
