// `vask denoise`: a recording with its background noise reduced.
#ifndef TOOLS_VASK_JOBS_DENOISE_H_
#define TOOLS_VASK_JOBS_DENOISE_H_

#include <string>

namespace vask::command {

// Writes `input` without its noise to `output`: as long as the input at 16 kHz and in step with it.
// Throws FileError, FatalError.
void Denoise(const std::string& input, const std::string& output);

}  // namespace vask::command

#endif  // TOOLS_VASK_JOBS_DENOISE_H_
