// The noise reduction's records: create, clear (all, or the segment alone), release.
#pragma once

#include <vask/noise.h>

#include <cstdint>
#include <span>

namespace vask {

inline constexpr int32_t kSupportedRate = 16000;  // Hz
inline constexpr int32_t kGsapAbsent = 65536;     // speech-absence probability 1.0, Q16

// False on failure, which is reported on the standard output.
bool CreateWiener(wiener_filt& wf);  // with the built-in mel filter bank
bool CreateWienerParameters(wiener_filt& wf, int32_t rate);
bool CreateSpectrum(wiener_spectrum& spectrum, int32_t bands);
bool CreateGsapData(wiener_gsap_data& data, int32_t bands);

// Forget everything adaptive: at the start and between utterances.
void ClearWiener(wiener_filt& wf);
void ClearWienerParameters(wiener_filt& wf);
void ClearSpectrum(wiener_spectrum& spectrum, int32_t bands);
void ClearGsapData(wiener_gsap_data& data);
void ClearVad(wiener_vad& vad);

// Forget only the segment, after it was rejected, while input continues: history, spectra and noise estimate
// are kept; the detector's band noise is seeded from its last 20 frames.
void ForgetSegment(wiener_filt& wf);
void ForgetSegment(wiener_vad& vad);
void SeedBandNoise(wiener_spectrum& spectrum, int32_t bands);

// Release; harmless if already done.
void ReleaseWiener(wiener_filt& wf);
void ReleaseWienerParameters(wiener_filt& wf);
void ReleaseSpectrum(wiener_spectrum& spectrum);
void ReleaseGsapData(wiener_gsap_data& data);

}  // namespace vask
