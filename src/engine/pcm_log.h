// The log of detected speech: numbered raw PCM files, one an utterance.
#pragma once

#include <cstdint>
#include <span>

#include "engine/record.h"

namespace vask {

// Switch logging on into `dir` (empty: the current directory). False, with a message and nothing changed, for
// a directory that is null or too long for the files' paths.
bool LogInto(epd_engine& e, const char* dir);

// Open the next file if logging is on and none is open. A failed open is tried again with the next frame,
// under the next number. The first failure to open or write a file since logging was switched on is reported.
void OpenLogIfDue(epd_engine& e);
void WriteLog(epd_engine& e, std::span<const int16_t> samples);
void EmptyLog(epd_engine& e);  // the speech so far was none
void CloseLog(epd_engine& e);

}  // namespace vask
