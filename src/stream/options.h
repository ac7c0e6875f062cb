// The options of a stream: defaults, the preset for noisy rooms, and what is wrong with a caller's own.
#pragma once

#include <vask/stream.h>

namespace vask {

vask_stream_options DefaultOptions();
void MakeRobust(vask_stream_options& options);

// The profile that a stream gives its detector: the run of unvoiced frames that ends an utterance is longer
// than the hangover. `hangover_frames` must be within its limits.
epd_profile ProfileInForce(epd_profile profile);

// A constant text, or null.
const char* ComplaintAbout(const vask_stream_options& options);

// The most samples after the detected end that are emitted.
int32_t LongestPadEnd(const vask_stream_options& options);

}  // namespace vask
