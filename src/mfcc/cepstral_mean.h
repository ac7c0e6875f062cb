// The cepstral mean, Q20: learned over utterances, kept in the file "global_cms" of a knowledge base.
#pragma once

#include <vask/mfcc.h>

#include <cstdint>
#include <cstdio>
#include <span>

namespace vask {

inline constexpr size_t kLineBytes = 256;  // what a line of a mean file may hold, with its end

// The first word of the next line that is neither a comment (echoed), nor empty, nor begins with a space.
// What stands behind the first 255 bytes of a line is left out. False at the end of the file.
bool ReadWord(FILE* file, std::span<char, kLineBytes> word);

// Read the file into m.cms; false, with a message, if it is missing or gives less than 13 numbers: what was
// read stays.
bool ReadMean(mfcc_prm& m, const char* base_dir);

// Replace the file, at once; false, with a message, if it cannot be written: the old one stays.
bool WriteMean(std::span<const int32_t> mean_q20, const char* base_dir);

// Fold the mean of the frames since the last update into m.cms. `updates` counts to 3, and the third writes
// the file.
void UpdateMean(mfcc_prm& m, int32_t& updates, const char* base_dir);

}  // namespace vask
