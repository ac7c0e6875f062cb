// Bring an engine up, put it back to its start between utterances, take it down.
#pragma once

#include <cstdint>

#include "engine/record.h"

namespace vask {

// False on failure, which has been reported on the standard output stream; everything is released then. An
// engine that is up is taken down first. The per-utterance fields are left to WrapUp.
bool CreateEngine(epd_engine& e, int32_t mode, const epd_profile& profile);

bool IsUp(const epd_engine& e);

// Ready for a new utterance. Settings stay.
void WrapUp(epd_engine& e);

// Release everything and close the log; harmless when done already.
void ReleaseEngine(epd_engine& e);

}  // namespace vask
