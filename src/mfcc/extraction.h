// One frame through the extractor.
#pragma once

#include <vask/mfcc.h>

#include <cstdint>
#include <span>

#include "ecd/environment.h"

namespace vask {

// Turn the powers in m.spec into cepstra in m.cep and, with_dynamics, their derivatives. The frame's log
// energies also go to `history`. True if an output frame is ready.
bool ExtractFrame(mfcc_prm& m, EnvironmentHistory& history, bool with_dynamics);

// y = scale (basis x), one row of the basis for each y. Q16 in, Q30 basis and scale, Q20 out; sums wrap.
void CosineTransform(std::span<const int32_t> x, std::span<int32_t> y, const int32_t* basis_q30,
                     int32_t scale_q30);

}  // namespace vask
