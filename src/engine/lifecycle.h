// Create an engine, reset it between utterances, release it.
#pragma once

#include <cstdint>

#include "engine/record.h"

namespace vask {

// False on failure, which is reported on the standard output; everything is released then. An engine that is
// up is released first. The per-utterance fields are left to WrapUp.
bool CreateEngine(epd_engine& e, int32_t mode, const epd_profile& profile);

bool IsUp(const epd_engine& e);

// Get ready for a new utterance. Settings are kept.
void WrapUp(epd_engine& e);
void WrapUp(const Engine& engine);  // and tell the observer

// Release everything; harmless if already done.
void ReleaseEngine(epd_engine& e);

}  // namespace vask
