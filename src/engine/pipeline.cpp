// measure, clip -> noise reduction (two frames later) -> DC notch, pre-emphasis -> endpoint detector ->
// speech queue -> output. In: 160 samples a call. Out: the noise-reduced frame (mode 1) or the detected
// speech in whole frames (mode 2).
#include "engine/pipeline.h"

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/filters.h"
#include "dsp/message.h"
#include "dsp/queue.h"
#include "engine/lifecycle.h"
#include "engine/measures.h"
#include "engine/pcm_log.h"
#include "epd/endpoint.h"
#include "epd/records.h"
#include "noise/wiener_filter.h"
#include "noise/wiener_state.h"

namespace vask {
namespace {

// The newest frame goes behind the three before it.
void EnterHistory(epd_engine& e) {
  e.started = 1;
  CountUp(e.wiener.frame_count);
  std::copy_n(e.frame_copy, kFrame, e.wiener.sig_hist + 3 * kFrame);
}

void ShiftHistory(wiener_filt& wf) { std::copy_n(wf.sig_hist + kFrame, 3 * kFrame, wf.sig_hist); }

void RemoveDcFromOutput(epd_engine& e) {
  const std::span<int32_t> x(e.frame_q15, kFrame);
  std::transform(e.wiener.out_frame, e.wiener.out_frame + kFrame, x.begin(),
                 [](int16_t s) { return s * 32768; });
  RemoveDc(x, e.dc);
  std::transform(x.begin(), x.end(), e.wiener.out_frame, [](int32_t v) { return Low16(v >> 15); });
}

// The detector's window is the previous frame and this one, plain and pre-emphasised.
void EnterDetectorWindow(epd_engine& e) {
  CountUp(e.epd.engine_frames);
  const std::span<const int16_t> frame(e.wiener.out_frame, kFrame);
  Emphasize(e.pre, frame, e.epd.win_emph + kFrame);
  std::copy(frame.begin(), frame.end(), e.epd.win_samples + kFrame);
  std::copy(frame.begin(), frame.end(), e.enhanced);
}

void ShiftDetectorWindow(energy_epd_prm& prm) {
  std::copy_n(prm.win_samples + kFrame, kFrame, prm.win_samples);
  std::copy_n(prm.win_emph + kFrame, kFrame, prm.win_emph);
}

// A rejected segment: forget it, keep what was learned of the noise.
void RestartIfRequested(Engine& engine) {
  epd_engine& e = engine.state;
  if (e.epd.reset_request != 1) return;
  e.restarted = 1;
  if (engine.tells_restarts) Say(stderr, "EPD RESET(%d, f=%d) ", e.restart_count, e.frames_in);
  CountUp(e.restart_count);
  ResetWiener(e.wiener);
  ResetDetector(e.epd);
  ClearQueue(e.speech_queue);
  ClearQueue(e.spectrum_queue);
  EmptyHistories(engine.history);
}

void FilterAndDetect(Engine& engine) {
  epd_engine& e = engine.state;
  FilterFrame(e.wiener, e.wiener.mel_fb, e.tables);
  RemoveDcFromOutput(e);
  EnterDetectorWindow(e);
  NoteLogEnergy(engine.history, e.energy);
  if (e.epd.engine_frames > 1) DetectEndpoint(e.epd, e.speech_queue, e.spectrum_queue, e.tables);
  ShiftDetectorWindow(e.epd);
  e.epd.speech_start_flag = 0;
  RestartIfRequested(engine);
}

// Whole frames from the speech queue into speech_out; at most as many as the queue holds.
std::span<const int16_t> DrainSpeech(epd_engine& e) {
  int32_t drained = 0;
  if (e.mode == kSpeechFrames || e.pcm_log_on != 0) {
    while (drained < kQueueFrames * kFrame &&
           ReadQueue(e.speech_queue, e.block, kFrame, kFrame) == QueueRead::kRead) {
      std::copy_n(e.block, kFrame, e.speech_out + drained);
      drained += kFrame;
    }
  }
  return {e.speech_out, static_cast<size_t>(drained)};
}

void Emit(std::span<const int16_t> samples, int16_t* out, int32_t& count) {
  if (out == nullptr) return;
  std::copy(samples.begin(), samples.end(), out);
  count = static_cast<int32_t>(samples.size());
}

void LatchEnd(epd_engine& e) {
  if (e.epd.end_found != 1) return;
  e.epd.end_found = 0;
  e.end_latched = 1;
}

}  // namespace

int32_t ProcessFrameInMode(Engine& engine, int32_t mode, int16_t* frame, int16_t* out, int32_t& count) {
  engine.state.mode = mode;
  engine.compute_dynamic_feature = mode == kFeatures ? 1 : 0;
  return ProcessFrame(engine, frame, out, count);
}

int32_t ProcessFrame(Engine& engine, int16_t* frame, int16_t* out, int32_t& count) {
  epd_engine& e = engine.state;
  count = 0;
  if (!IsUp(e) || frame == nullptr) return kGoOn;

  OpenLogIfDue(e);
  MeasureAndClip(engine, {frame, kFrame});
  CountUp(e.frames_in);
  const bool is_leading_silence = e.started == 0 && e.energy == 0;
  if (!is_leading_silence) {
    EnterHistory(e);
    if (e.wiener.frame_count > 2) {
      FilterAndDetect(engine);
      if (e.mode == kEnhancedSpeech) Emit(e.enhanced, out, count);
    }
    ShiftHistory(e.wiener);
    if (e.mode == kEnhancedSpeech) return kGoOn;
  }

  const std::span<const int16_t> speech = DrainSpeech(e);
  WriteLog(e, speech);
  LatchEnd(e);
  if (e.restarted == 1) {
    EmptyLog(e);
    e.restarted = 0;
    return kRestarted;
  }
  if (e.mode == kSpeechFrames) Emit(speech, out, count);
  return e.end_latched == 1 ? kEnded : kGoOn;
}

}  // namespace vask
