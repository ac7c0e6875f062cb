// The endpoint detector's records: create, clear (all, or the segment alone), release.
#pragma once

#include <vask/epd.h>

#include <cstdint>

namespace vask {

inline constexpr int32_t kHistoryFrames = 70;  // frames of audio, spectra and voicing decisions

// False on failure, which has been reported on the standard output stream.
bool CreateDetector(energy_epd_prm& prm, int32_t frame_shift, const epd_profile& profile);
bool CreateVad(energy_vad_prm& vad, int32_t threshold);
bool CreateVoicing(uv_prm& uv, int32_t history_frames);

// Forget everything adaptive: at the start and between utterances.
void ClearDetector(energy_epd_prm& prm);
void ClearVad(energy_vad_prm& vad);
void ClearVoicing(uv_prm& uv);

// Forget the segment alone, after a rejected one. Noise level, frame count and histories are kept.
void ForgetSegment(energy_epd_prm& prm);
void ForgetSegment(energy_vad_prm& vad);

// Release; harmless when done already.
void ReleaseDetector(energy_epd_prm& prm);
void ReleaseVad(energy_vad_prm& vad);
void ReleaseVoicing(uv_prm& uv);

}  // namespace vask
