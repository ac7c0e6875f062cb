// Frame-level voice activity: adaptive energy decision, then onset and hangover.
#pragma once

#include <vask/epd.h>

#include <cstdint>

namespace vask {

// Decide on the frame whose log energy is in vad.log_energy, learn the noise level, smooth the decision over
// seven frames. The smoothed decision is returned and stored in vad.vad_flag.
int32_t DecideOnEnergy(energy_vad_prm& vad, const energy_epd_prm& prm);

// Delay the onset of `smoothed` decisions, extend their end, end long segments without voice; the result is
// prm.vad.vad_flag.
void ApplyOnsetAndHangover(int32_t smoothed, energy_epd_prm& prm);

}  // namespace vask
