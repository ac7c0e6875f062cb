// The log of detected speech: numbered raw PCM files, one per utterance.
#pragma once

#include <cstdint>
#include <span>

#include "engine/record.h"

namespace vask {

// Switch on logging into `dir` (empty: the current directory). False, with a message and nothing changed, for
// a directory that is null or too long for the files' paths.
bool LogInto(epd_engine& e, const char* dir);

// Open the next file if logging is on and none is open. A failed open is retried with the next frame and the
// next number. The first failure to open or write a file since logging was switched on is reported.
void OpenLogIfDue(epd_engine& e);
void WriteLog(epd_engine& e, std::span<const int16_t> samples);
void EmptyLog(epd_engine& e);  // what was written was not an utterance
void CloseLog(epd_engine& e);

}  // namespace vask
