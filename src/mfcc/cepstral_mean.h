// The cepstral mean, Q20: learned from utterances, kept in the file "global_cms" of a knowledge base.
#pragma once

#include <vask/mfcc.h>

#include <cstdint>
#include <cstdio>
#include <span>

namespace vask {

inline constexpr size_t kLineBytes = 256;  // of the longest line of a mean file, with its line end

// The first word of the next line that is neither a comment (echoed), nor empty, nor begins with a space.
// Anything after the first 255 bytes of a line is ignored. False at the end of the file.
bool ReadWord(FILE* file, std::span<char, kLineBytes> word);

// Read the file into m.cms; false, with a message, if it is missing or holds fewer than 13 numbers; those
// that were read are kept.
bool ReadMean(mfcc_prm& m, const char* base_dir);

// Replace the file in one step; false, with a message, if it cannot be written, and the old one is kept.
bool WriteMean(std::span<const int32_t> mean_q20, const char* base_dir);

// Fold the mean of the frames since the last update into m.cms. `updates` counts up to 3; every third update
// writes the file.
void UpdateMean(mfcc_prm& m, int32_t& updates, const char* base_dir);

}  // namespace vask
