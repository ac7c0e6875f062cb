// The stand-alone endpoint record and VAD counters, for an application's own use; the engine uses neither.
#include <vask/epd.h>

#include "dsp/ring.h"
#include "epd/endpoint_tracker.h"

namespace {

constexpr int32_t kFixedHangover = 40;  // frames; the compact tracker has no profile

}  // namespace

extern "C" {

void epd_prm_setting(short_epd_prm* rec) {
  if (rec == nullptr) return;
  *rec = {.state = 0, .end_flag = 0, .start_frame = -1, .end_frame = -1, .count = 0, .prev_flag = 0};
}

void short_EPD(short_epd_prm* rec, int32_t flag, int32_t frame) {
  if (rec == nullptr) return;
  vask::TrackEndpoints<int32_t>(
      {rec->state, rec->end_flag, rec->start_frame, rec->end_frame, rec->count, rec->prev_flag}, flag, frame,
      kFixedHangover);
}

void vad_prm_setting(short_vad_prm* rec) {
  if (rec == nullptr) return;
  rec->silence_run = 1;
  rec->speech_run = rec->onset_count = rec->hangover_count = 0;
  vask::ClearRing(rec->hist);
}

}  // extern "C"
