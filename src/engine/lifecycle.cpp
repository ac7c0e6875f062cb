#include "engine/lifecycle.h"

#include "dsp/fft.h"
#include "dsp/filters.h"
#include "dsp/memory.h"
#include "dsp/message.h"
#include "dsp/queue.h"
#include "epd/detector_lifecycle.h"
#include "noise/wiener_lifecycle.h"

namespace vask {
namespace {

bool AllocateBuffers(epd_engine& e) {
  e.frame_q15 = NewZeroed<int32_t>(e.frame_len);
  e.frame_copy = NewZeroed<int16_t>(e.frame_len);
  const bool samples = MakeQueue(e.speech_queue, kQueueFrames * e.frame_len);
  const bool spectra = MakeQueue(e.spectrum_queue, kQueueFrames * e.wiener.num_bins);
  return e.frame_q15 != nullptr && e.frame_copy != nullptr && samples && spectra;
}

bool CreateStages(epd_engine& e, const epd_profile& profile) {
  if (!CreateWiener(e.wiener)) {
    Say(Message::kFailure, "ERROR: can't init. Wiener filter parameters\n");
    return false;
  }
  e.frame_len = e.wiener.frame_len;
  e.fft_order = e.wiener.fft_order;
  ClearDcFilter(e.dc);
  ClearPreEmphasis(e.pre);
  if (!CreateDetector(e.epd, e.frame_len, profile)) return false;
  if (!AllocateBuffers(e) || !BuildTwiddles(e.tables, e.fft_order)) {
    Say(Message::kFailure, "ERROR: can't init. engine buffers\n");
    return false;
  }
  ClearDetector(e.epd);
  ClearWiener(e.wiener);
  return true;
}

}  // namespace

bool CreateEngine(epd_engine& e, int32_t mode, const epd_profile& profile) {
  ReleaseEngine(e);
  if (!CreateStages(e, profile)) {
    ReleaseEngine(e);
    return false;
  }
  e.mode = mode;
  return true;
}

bool IsUp(const epd_engine& e) { return e.tables.ss3 != nullptr; }

void WrapUp(epd_engine& e) {
  e.end_latched = 0;
  e.restart_count = 0;
  ClearDetector(e.epd);
  ClearWiener(e.wiener);
  ClearPreEmphasis(e.pre);
  ClearDcFilter(e.dc);
  e.started = 0;
  ClearQueue(e.speech_queue);
  ClearQueue(e.spectrum_queue);
  e.frames_in = 0;
}

void WrapUp(const Engine& engine) {
  if (engine.observer != nullptr) engine.observer->wrapped_up(engine.state);
  WrapUp(engine.state);
}

void ReleaseEngine(epd_engine& e) {
  ReleaseWiener(e.wiener);
  Release(e.frame_q15);
  Release(e.frame_copy);
  ReleaseTwiddles(e.tables, e.fft_order);
  ReleaseDetector(e.epd);
  Release(e.speech_queue.data);
  Release(e.spectrum_queue.data);
}

}  // namespace vask
