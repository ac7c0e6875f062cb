// measure, clip -> noise reduction (two frames later) -> DC notch, pre-emphasis -> endpoint detector ->
// speech queue -> output. In: 160 samples per call. Out: the noise-reduced frame (mode 1) or the detected
// speech in whole frames (mode 2).
#include "engine/pipeline.h"

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/filters.h"
#include "dsp/queue.h"
#include "engine/cleaning.h"
#include "engine/lifecycle.h"
#include "engine/measures.h"
#include "epd/detector_lifecycle.h"
#include "epd/endpoint.h"
#include "epd/voicing_decision.h"
#include "noise/wiener_filter.h"
#include "noise/wiener_lifecycle.h"

namespace vask {
namespace {

// The detector's window is the previous frame and this one, plain and pre-emphasised.
void EnterDetectorWindow(epd_engine& e) {
  CountUp(e.epd.engine_frames);
  const std::span<const int16_t> frame(e.wiener.out_frame, kFrame);
  Emphasize(e.pre, frame, e.epd.win_emph + kFrame);
  std::copy(frame.begin(), frame.end(), e.epd.win_samples + kFrame);
}

void ShiftDetectorWindow(energy_epd_prm& prm) {
  std::copy_n(prm.win_samples + kFrame, kFrame, prm.win_samples);
  std::copy_n(prm.win_emph + kFrame, kFrame, prm.win_emph);
}

// A rejected segment: forget it, keep what was learned about the noise.
void RestartIfRequested(const Engine& engine) {
  epd_engine& e = engine.state;
  if (e.epd.reset_request != 1) return;
  e.restarted = 1;
  if (engine.observer != nullptr) engine.observer->restarts(e);
  CountUp(e.restart_count);
  ForgetSegment(e.wiener);
  ForgetSegment(e.epd);
  ClearQueue(e.speech_queue);
  ClearQueue(e.spectrum_queue);
}

void FilterAndDetect(const Engine& engine) {
  epd_engine& e = engine.state;
  FilterFrame(e.wiener, e.wiener.mel_fb, e.tables);
  RemoveDcFromOutput(e.wiener, e.frame_q15, e.dc);
  EnterDetectorWindow(e);
  if (engine.observer != nullptr) engine.observer->cleaned(e.energy);
  if (e.epd.engine_frames > 1) {
    DetectEndpoint(e.epd, e.speech_queue, e.spectrum_queue, e.tables, VoicingFeatures::kDeciding);
  }
  ShiftDetectorWindow(e.epd);
  e.epd.speech_start_flag = 0;
  RestartIfRequested(engine);
}

// Whole frames from the speech queue into speech_out; at most as many as the queue holds.
std::span<const int16_t> DrainSpeech(epd_engine& e) {
  int32_t drained = 0;
  if (e.mode == kSpeechFrames || e.pcm_log_on != 0) {
    while (drained < kMostEmitted &&
           ReadQueue(e.speech_queue, e.speech_out + drained, kFrame, kFrame) == QueueRead::kRead) {
      drained += kFrame;
    }
  }
  return {e.speech_out, static_cast<size_t>(drained)};
}

void LatchEnd(epd_engine& e) {
  if (e.epd.end_found != 1) return;
  e.epd.end_found = 0;
  e.end_latched = 1;
}

}  // namespace

Step ProcessFrame(const Engine& engine, std::span<int16_t, kFrame> frame) {
  epd_engine& e = engine.state;
  if (!IsUp(e)) return {};

  MeasureAndClip(engine, frame);
  CountUp(e.frames_in);
  const bool is_leading_silence = e.started == 0 && e.energy == 0;
  if (!is_leading_silence) {
    e.started = 1;
    EnterHistory(e.wiener, e.frame_copy);
    const bool is_full = IsHistoryFull(e.wiener);
    if (is_full) FilterAndDetect(engine);
    ShiftHistory(e.wiener);
    if (e.mode == kEnhancedSpeech) return {kGoOn, {e.wiener.out_frame, is_full ? size_t{kFrame} : 0}};
  }

  const std::span<const int16_t> speech = DrainSpeech(e);
  if (engine.observer != nullptr) engine.observer->drained(e, speech);
  LatchEnd(e);
  if (e.restarted == 1) {
    if (engine.observer != nullptr) engine.observer->rejected(e);
    e.restarted = 0;
    return {kRestarted};
  }
  return {e.end_latched == 1 ? kEnded : kGoOn, speech.first(e.mode == kSpeechFrames ? speech.size() : 0)};
}

}  // namespace vask
