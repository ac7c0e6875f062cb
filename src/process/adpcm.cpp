// The coder and the decoder of the process.
#include <vask/adpcm.h>

#include <algorithm>

#include "codec/ima_adpcm.h"

extern "C" {

int32_t short_to_adpcm(const int16_t* in, uint8_t* out, int32_t n) {
  if ((in == nullptr || out == nullptr) && n > 0) return 0;
  return vask::EncodeAdpcm(enc_state, {in, static_cast<size_t>(std::max(n, 0))}, out);
}

int32_t adpcm_to_short(const uint8_t* in, int16_t* out, int32_t m) {
  const int32_t samples = std::max(m, 0) / 2;
  if ((in == nullptr || out == nullptr) && samples > 0) return 0;
  return vask::DecodeAdpcm(dec_state, in, {out, static_cast<size_t>(samples)});
}

void refersh_adpcm_state(void) { enc_state = dec_state = {}; }

}  // extern "C"
