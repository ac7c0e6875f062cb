// The extractor's record: set-up from table files or built-in tables, start of an utterance, release.
#pragma once

#include <vask/mfcc.h>

#include <cstdint>

namespace vask {

// False on failure, which is reported on the standard output; nothing is kept then. The mean starts at zero.
// The transform must have 512 points.
bool CreateExtractor(mfcc_prm& m, int32_t points, const char* base_dir);
bool CreateExtractor(mfcc_prm& m);  // from the built-in tables

bool IsUp(const mfcc_prm& m);

// Before an utterance: prime the derivatives again, count frames from 0.
void StartUtterance(mfcc_prm& m);

// Release everything; harmless if already done.
void ReleaseExtractor(mfcc_prm& m);

}  // namespace vask
