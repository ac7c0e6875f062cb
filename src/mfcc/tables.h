// The tables of the extractor, from the text files of a knowledge base. A table that is missing, short or
// malformed is reported on the standard output.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

inline constexpr int32_t kMelChannels = 23;
inline constexpr int32_t kCepstra = 13;

bool HasPreEmphasisFile(const char* base_dir);

// Read as many values as the spans hold.
bool ReadChannels(const char* base_dir, std::span<int32_t> lo_chan, std::span<int32_t> weights_q30);
bool ReadCepstrumBasis(const char* base_dir, std::span<int32_t> basis_q30);

// Bin `bin`, counted from 1, on the mel scale; `resolution` is a bin's width in units of 700 Hz.
float MelOfBin(int32_t bin, float resolution);

}  // namespace vask
