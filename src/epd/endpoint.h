// The endpoint detector, one noise-reduced frame per call.
#pragma once

#include <vask/buffers.h>
#include <vask/dsp.h>
#include <vask/epd.h>

#include "epd/voicing_decision.h"

namespace vask {

// Whether a segment is an utterance: long enough and voiced enough. Both in frames.
bool IsUtterance(int32_t length, int32_t voiced_frames);
bool IsLongEnough(int32_t length);

// Look at the window in prm.win_samples / prm.win_emph (previous frame, current frame), track the segment and
// append its frames, with a leading margin from the history, to the queues. The result is in prm:
// speech_start_flag, end_found (segment accepted), reset_request (segment rejected).
void DetectEndpoint(energy_epd_prm& prm, sin_buff& speech_queue, in64_buff& spectrum_queue,
                    const fft_tables& twiddles, VoicingFeatures wanted);

}  // namespace vask
