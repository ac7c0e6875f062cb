// The life of the noise reduction's records: creation, the two kinds of clearing, release.
#pragma once

#include <vask/noise.h>

#include <cstdint>
#include <span>

namespace vask {

inline constexpr int32_t kSupportedRate = 16000;  // Hz
inline constexpr int32_t kGsapAbsent = 65536;     // speech-absence probability 1.0, Q16

// Creation. False on failure, which has been reported on the standard output stream.
bool CreateWiener(wiener_filt& wf);  // with the built-in mel filter bank
bool CreateWienerParameters(wiener_filt& wf, int32_t rate);
bool CreateSpectrum(wiener_spectrum& spectrum, int32_t bands);
bool CreateGsapData(wiener_gsap_data& data, int32_t bands);

// A fresh start: everything adaptive is forgotten.
void SetWiener(wiener_filt& wf);
void SetWienerParameters(wiener_filt& wf);
void SetSpectrum(wiener_spectrum& spectrum, int32_t bands);
void SetGsapData(wiener_gsap_data& data);
void SetVad(wiener_vad& vad);

// After a rejected segment, while the input keeps flowing: history, spectra and noise estimate are kept, the
// detector's band noise is seeded from its last 20 frames.
void ResetWiener(wiener_filt& wf);
void ResetSpectrum(wiener_spectrum& spectrum, int32_t bands);
void ResetVad(wiener_vad& vad);

// Release; harmless when done already.
void ReleaseWiener(wiener_filt& wf);
void ReleaseWienerParameters(wiener_filt& wf);
void ReleaseSpectrum(wiener_spectrum& spectrum);
void ReleaseGsapData(wiener_gsap_data& data);

}  // namespace vask
