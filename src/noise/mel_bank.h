// The 35-band mel filter bank as a chain of bands.
#pragma once

#include <vask/noise.h>

#include <cstdint>
#include <span>

#include "dsp/arith.h"

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
// with one element per band. Gains (int32) keep the low 32 bits of each sum, amplitudes (int64) all of it.
template <typename T>
void SumBands(T* x, const mel_band& first, int64_t* sums) {
  size_t bands = 0;
  for (const mel_band* band = &first; band != nullptr; band = band->next, ++bands) {
    const T* values = x + band->start;
    int64_t sum = 0;
    for (int32_t i = 0; i < band->count; ++i) sum = WrapAdd(sum, MulShift<30>(values[i], band->weights[i]));
    sums[bands] = sum;
  }
  for (size_t b = 0; b < bands; ++b) x[b] = static_cast<T>(sums[b]);
}

}  // namespace vask
