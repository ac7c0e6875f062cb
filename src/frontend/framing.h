// The front end of a stream: cuts the caller's samples into frames, runs the engine, queues its output.
#pragma once

#include <cstdint>
#include <span>

#include "engine/record.h"

namespace vask {

inline constexpr int32_t kInputCapacity = 160000;   // samples between two resets: 10 s
inline constexpr int32_t kOutputCapacity = 160000;  // entries of either queue

}  // namespace vask

// Field by field, in the order of the interface. Nothing wraps round: positions return to 0 at a reset.
struct frontend {
  int32_t mode;  // 2 until an initialisation sets it
  int16_t input[vask::kInputCapacity];
  int32_t input_len;
  int32_t frame_pos;                        // first sample of the next frame
  int16_t frames[vask::kOutputCapacity];    // modes 1 and 2
  int32_t features[vask::kOutputCapacity];  // modes 3 and 4
  int32_t read_pos;                         // of whichever queue the mode fills
  int32_t write_pos;
  bool told_full;  // of either buffer, since the positions were last reset
};

namespace vask {

inline constexpr int32_t kNoFrame = -1;  // result of a call in which nothing was processed

struct Processed {
  int32_t result = kNoFrame;  // kNoFrame, or that of the last frame; kEnded once the utterance is over
  bool ran_engine = false;    // for at least one frame
};

void ChooseMode(frontend& f, int32_t mode);

// Append the samples to the input and process every complete frame. Clipped samples are written back into
// `samples` if their frame was processed in this call.
Processed ProcessSamples(frontend& f, const Engine& engine, std::span<int16_t> samples);

int32_t AvailableEntries(const frontend& f);

// Move up to dst.size() entries out of the queue; returns how many.
int32_t TakeFrames(frontend& f, std::span<int16_t> dst);
int32_t TakeFeatures(frontend& f, std::span<int32_t> dst);

// Discard buffered input and queued output.
void ResetPositions(frontend& f);

}  // namespace vask
