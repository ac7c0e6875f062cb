// `vask denoise`: a file with its background noise reduced.
#ifndef TOOLS_VASK_DENOISE_H_
#define TOOLS_VASK_DENOISE_H_

#include <string>

#include "engine_session.h"

namespace vask::command {

// Writes `input` without its noise to `output`: as long as the input at 16 kHz and in step with it.
// Throws FileError, FatalError.
void Denoise(EngineSession& engine, const std::string& input, const std::string& output);

}  // namespace vask::command

#endif  // TOOLS_VASK_DENOISE_H_
