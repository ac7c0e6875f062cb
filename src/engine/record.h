// The engine's state: one record per stream.
#pragma once

#include <vask/buffers.h>
#include <vask/dsp.h>
#include <vask/epd.h>
#include <vask/noise.h>

#include <cstdint>
#include <cstdio>
#include <span>

#include "dsp/sizes.h"

namespace vask {

inline constexpr int32_t kQueueFrames = 88;  // frames that the speech and spectrum queues hold
inline constexpr int32_t kMostEmitted = kQueueFrames * kFrame;  // samples that one frame may emit

// Output modes. Other values are kept, and emit nothing.
inline constexpr int32_t kEnhancedSpeech = 1;
inline constexpr int32_t kSpeechFrames = 2;
inline constexpr int32_t kFeaturesDsr = 3;
inline constexpr int32_t kFeatures = 4;
inline constexpr int32_t kEnergyOnlyRequest = 4097;

// What a frame led to.
inline constexpr int32_t kGoOn = 0;
inline constexpr int32_t kEnded = 1;      // an utterance has been accepted; repeated until the wrap-up
inline constexpr int32_t kRestarted = 2;  // a segment has been rejected

}  // namespace vask

// Field by field, in the order of the interface.
struct epd_engine {
  int32_t mode = vask::kSpeechFrames;
  int16_t frame_len;    // samples a frame: 160
  int32_t fft_order;    // 9
  int16_t* frame_copy;  // the frame after clipping
  int32_t* frame_q15;   // scratch of the DC filter: samples << 15
  fft_tables tables;
  int16_t enhanced[vask::kFrame];  // not used
  int32_t frames_in;               // since the last wrap-up
  int32_t energy;                  // sum of squares of the last clipped frame
  int32_t loudness;                // 0 to 100
  int32_t started;                 // a frame with energy has arrived since the last wrap-up
  int32_t end_latched;             // the end has been reported; cleared by the wrap-up only
  int32_t restarted;               // the detector restarted in the current frame
  int32_t restart_count;           // since the last wrap-up
  int16_t speech_out[20000];       // the first kMostEmitted of them are used
  int16_t block[vask::kFrame];     // not used
  int32_t pcm_log_on;
  FILE* pcm_log_file;
  char pcm_log_dir[128];
  char pcm_log_path[128];
  int32_t pcm_log_count = 1;  // number of the next log file
  int32_t loud_definition = 40;
  int32_t vad_threshold = 50;
  int32_t mode_request = 1;
  wiener_filt wiener;
  energy_epd_prm epd;
  dc_filt dc;
  pre_emph_filt pre;
  sin_buff speech_queue;
  in64_buff spectrum_queue;
  bool has_reported_log_fault;  // since logging was switched on; not a field of the interface
};

namespace vask {

// A record with its initial values, made at run time: no compiler sees through this call.
epd_engine NewEngineRecord();

// What the owner of an engine does as a frame goes through it; all are set.
struct EngineObserver {
  void (*begins)(epd_engine& e, std::span<const int16_t> frame);  // a frame, not clipped yet
  void (*measured)(int32_t energy);                               // of it
  void (*cleaned)(int32_t energy);                                // it has passed the noise reduction
  void (*restarts)(const epd_engine& e);                          // the segment was no utterance
  void (*drained)(epd_engine& e, std::span<const int16_t> speech);
  void (*rejected)(epd_engine& e);  // what was drained of that segment is void
  void (*wrapped_up)(epd_engine& e);
};

// An engine's record, and who looks on. A stream's engine is the record alone.
struct Engine {
  epd_engine& state;
  const EngineObserver* observer = nullptr;
};

}  // namespace vask
