#include "epd/ignored_options.h"

#include <vask/epd.h>

#include "dsp/arith.h"
#include "dsp/message.h"

namespace vask {

int32_t ReportTrailingSilence(int32_t frames) {
  Say(Message::kInformation, "  Vask EPD trailing silence (1) = %d (ms)\n", WrapMul(frames, 10));
  return 0;
}

}  // namespace vask

extern "C" {

int32_t set_energy_hangover(int32_t frames) { return vask::ReportTrailingSilence(frames); }
int32_t set_vad_threshold(void) { return 0; }
void set_EPD_control_Narrorband(void) {}

}  // extern "C"
