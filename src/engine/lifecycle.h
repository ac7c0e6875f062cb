// Bring a stream's engine up, put it back to its start between utterances, take it down.
#pragma once

#include <cstdint>

#include "engine/record.h"

namespace vask {

// False on failure, which has been reported on the standard output stream; everything is released then. An
// engine that is up is taken down first. The per-utterance fields are left to WrapUp.
bool StartEngine(Engine& engine, int32_t mode, const epd_profile& profile);

// The same for the stages alone, without the environment check: all that frames in modes 1 and 2 need. The
// record is to be down.
bool StartStages(epd_engine& state, const epd_profile& profile);
void StopStages(epd_engine& state);

bool IsUp(const epd_engine& state);

// Ready for a new utterance. Settings, sample extremes and environment histories stay.
void WrapUp(epd_engine& state);

// Release everything; harmless when done already.
void StopEngine(Engine& engine);

}  // namespace vask
