// The 35-band mel filter bank as a chain of bands.
#pragma once

#include <vask/noise.h>

#include <cstdint>
#include <span>

namespace vask {

inline constexpr int32_t kMelBands = 35;

// Build a chain of `bands` bands (2 or more) from a flat table: for each band its first bin, its number of
// bins and their weights (Q30). On failure (no memory, a table that is too short or has bins out of range)
// the chain is released and false is returned.
bool BuildMelBank(mel_band& first, int32_t bands, std::span<const int32_t> table);

// The same from "mel_filt.txt" in a knowledge-base directory. A failure is reported on the standard output.
bool ReadMelBank(mel_band& first, int32_t bands, const char* base_dir);

void ReleaseMelBank(mel_band& first, int32_t bands);

// Replace the first values of x, one per band, by the weighted sums over the bands' bins; `sums` is scratch
// with one element per band. Gains (int32) keep the low 32 bits of each sum, amplitudes (int64) all of it;
// the bands take bins of `x` alone.
void SumBands(int32_t* x, const mel_band& first, int64_t* sums);
void SumBands(int64_t* x, const mel_band& first, int64_t* sums);
void SumBands(std::span<int64_t> x, const mel_band& first, int64_t* sums);  // faster where all are below 2^31

// The sums alone.
void SumNarrowBands(const int32_t* x, const mel_band& first, int64_t* sums);

}  // namespace vask
