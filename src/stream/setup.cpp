// Seconds become steps of 20 ms or samples, probabilities Q15: all comparisons are between integers. The
// conversions are exact but for the last rounding, since floats of 24 bits fit into doubles with room to
// spare.
#include "stream/setup.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "gate/model.h"
#include "stream/options.h"

namespace vask {
namespace {

constexpr int32_t kStepSamples = kGateStepFrames * kFrame;
constexpr double kStepsPerSecond = 50, kSamplesPerSecond = 16000;
constexpr int32_t kEngineRate = 16000;    // Hz
constexpr float kMostSeconds = 10;        // of a pause, a margin and a shortest length
constexpr int32_t kLeastLongest = 24000;  // samples after the margin
constexpr int32_t kQueueSlack = 48000;    // 2 s where a split is searched, and the look-backs

constexpr vask_stream_rules kRules = {.open_probability = 0.7f,
                                      .open = 0.06f,
                                      .open_look_back = 0.2f,
                                      .start_probability = 0.3f,
                                      .close_probability = 0.4f,
                                      .pause = 0.08f,
                                      .close_look_back = 0.4f,
                                      .shortest = 0.2f,
                                      .mean_probability = 0.7f,
                                      .margin_start = 0.10f,
                                      .margin_end = 0.25f};
// Up to listening_mix.
constexpr size_t kFirstSize = offsetof(vask_stream_setup, input_rate);

constexpr float kListeningFloorDb = -18;
constexpr float kListeningMix = 1;

int32_t Rounded(double value) { return static_cast<int32_t>(std::lround(value)); }
int32_t Steps(float seconds) { return Rounded(double{seconds} * kStepsPerSecond); }
int32_t Samples(float seconds) { return Rounded(double{seconds} * kSamplesPerSecond); }
int16_t Q15Of(float probability) {
  return static_cast<int16_t>(std::min(Rounded(double{probability} * 32768), 32767));
}

// False for what is not a number.
bool IsIn(float value, float least, float most) { return value >= least && value <= most; }

bool IsLookBack(float seconds, bool may_be_utterance) {
  if (!IsIn(seconds, 0, 0.4f)) return false;
  const int32_t steps = Steps(seconds);
  return steps == 0 || steps == 5 || steps == 10 || (steps == kMostLookBack && may_be_utterance);
}

const char* ComplaintAboutRules(const vask_stream_rules& rules) {
  if (!IsIn(rules.open_probability, 0, 1)) return "open_probability is not 0 to 1";
  if (!IsIn(rules.open, 0.02f, 1)) return "open is not 0.02 to 1 s";
  if (!IsLookBack(rules.open_look_back, false)) return "open_look_back is not 0, 0.1 or 0.2 s";
  if (!IsIn(rules.start_probability, 0, 1)) return "start_probability is not 0 to 1";
  if (!IsIn(rules.close_probability, 0, 1)) return "close_probability is not 0 to 1";
  if (!IsIn(rules.pause, 0.02f, kMostSeconds)) return "pause is not 0.02 to 10 s";
  if (!IsLookBack(rules.close_look_back, true)) return "close_look_back is not 0, 0.1, 0.2 or 0.4 s";
  if (!IsIn(rules.shortest, 0, kMostSeconds)) return "shortest is not 0 to 10 s";
  if (!IsIn(rules.mean_probability, 0, 1)) return "mean_probability is not 0 to 1";
  if (!IsIn(rules.margin_start, 0, kMostSeconds)) return "margin_start is not 0 to 10 s";
  if (!IsIn(rules.margin_end, 0, kMostSeconds)) return "margin_end is not 0 to 10 s";
  return nullptr;
}

// Of the options, those that hold for the learned detector too.
const char* ComplaintAboutOutput(const vask_stream_setup& setup) {
  const vask_stream_rules& rules = setup.rules;
  vask_stream_options options = DefaultOptions();
  options.mode = setup.options.mode;
  options.max_samples = setup.options.max_samples;
  options.queue_samples = setup.options.queue_samples;
  if (setup.options.audio < VASK_STREAM_CLEAN || setup.options.audio > VASK_STREAM_LISTENING) {
    return "audio is not 0 to 3";
  }
  if (const char* complaint = ComplaintAbout(options)) return complaint;
  const int32_t start = Samples(rules.margin_start), end = Samples(rules.margin_end);
  if (options.max_samples != 0 && options.max_samples < kLeastLongest + start) {
    return "max_samples is under 1.5 s and margin_start";
  }
  const int32_t least_queue = kQueueSlack + Samples(rules.open) + Samples(rules.pause) + start + end;
  if (options.queue_samples != 0 && options.queue_samples < least_queue) {
    return "queue_samples is under 3 s, open, pause and the margins";
  }
  return nullptr;
}

bool IsRate(int32_t rate) {
  constexpr std::array kRates = {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};
  return std::find(kRates.begin(), kRates.end(), RateOf(rate)) != kRates.end();
}

const char* ComplaintAboutRates(const vask_stream_setup& setup) {
  if (!IsRate(setup.input_rate)) {
    return "input_rate is not one of 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100 and 48000 Hz";
  }
  if (!IsRate(setup.audio_rate)) {
    return "audio_rate is not one of 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100 and 48000 Hz";
  }
  return nullptr;
}

const char* ComplaintAboutConversation(const vask_stream_setup& setup) {
  const float may_end = setup.may_end_after, start = setup.start_within;
  if (may_end != 0 && !IsIn(may_end, 0.02f, kMostSeconds)) return "may_end_after is not 0 or 0.02 to 10 s";
  if (start != 0 && !IsIn(start, 0.1f, 3600)) return "start_within is not 0 or 0.1 to 3600 s";
  return nullptr;
}

const char* ComplaintAboutListening(const vask_stream_setup& setup) {
  if (!IsIn(setup.listening_floor_db, -60, 0)) return "listening_floor_db is not -60 to 0";
  if (!IsIn(setup.listening_mix, 0, 1)) return "listening_mix is not 0 to 1";
  return nullptr;
}

}  // namespace

vask_stream_setup DefaultSetup() {
  return {.size = sizeof(vask_stream_setup),
          .detector = VASK_STREAM_ENERGY,
          .options = DefaultOptions(),
          .rules = kRules,
          .model = nullptr,
          .listening_floor_db = kListeningFloorDb,
          .listening_mix = kListeningMix,
          .input_rate = kEngineRate,
          .audio_rate = kEngineRate,
          .may_end_after = 0,
          .start_within = 0};
}

vask_stream_setup Completed(const vask_stream_setup& given) {
  vask_stream_setup setup = DefaultSetup();
  if (given.size == kFirstSize || given.size == sizeof setup) {
    std::memcpy(&setup, &given, given.size);
    setup.size = sizeof setup;
  } else {
    setup.size = 0;
  }
  return setup;
}

const char* ComplaintAbout(const vask_stream_setup& setup) {
  if (setup.size != sizeof setup) return "size is not that of a vask_stream_setup";
  if (const char* complaint = ComplaintAboutRates(setup)) return complaint;
  if (const char* complaint = ComplaintAboutConversation(setup)) return complaint;
  if (setup.detector == VASK_STREAM_ENERGY) {
    if (setup.options.audio == VASK_STREAM_LISTENING) return "audio 3 needs the learned detector";
    return ComplaintAbout(setup.options);
  }
  if (setup.detector != VASK_STREAM_LEARNED) return "detector is not 0 or 1";
  if (const char* complaint = ComplaintAboutRules(setup.rules)) return complaint;
  if (const char* complaint = ComplaintAboutOutput(setup)) return complaint;
  if (const char* complaint = ComplaintAboutListening(setup)) return complaint;
  return ModelOf(setup.model) != nullptr ? nullptr : "there is no built-in model, and none is given";
}

int32_t RateOf(int32_t rate) { return rate != 0 ? rate : kSampleRate; }

TrackerRules TrackerRulesOf(const vask_stream_rules& rules) {
  return {.open_q15 = Q15Of(rules.open_probability),
          .start_q15 = Q15Of(rules.start_probability),
          .open_steps = Steps(rules.open),
          .open_back = Steps(rules.open_look_back),
          .close_q15 = Q15Of(rules.close_probability),
          .pause_steps = Steps(rules.pause),
          .close_back = Steps(rules.close_look_back),
          .margin_steps = (Samples(rules.margin_end) + kStepSamples - 1) / kStepSamples};
}

SegmentRules SegmentRulesOf(const vask_stream_setup& setup) {
  const vask_stream_rules& rules = setup.rules;
  return {.has_audio = setup.options.audio != VASK_STREAM_NO_AUDIO,
          .margin_start = Samples(rules.margin_start),
          .margin_end = Samples(rules.margin_end),
          .longest = setup.options.max_samples,
          .shortest = Steps(rules.shortest) * kGateStepFrames * kFrame,
          .least_voiced = 0,
          .most_tones = 100,
          .least_speech = Q15Of(rules.mean_probability),
          .counts_margins = false};
}

}  // namespace vask

extern "C" {

void vask_stream_setup_defaults(vask_stream_setup* setup, uint32_t size) {
  if (setup == nullptr) return;
  vask_stream_setup defaults = vask::DefaultSetup();
  defaults.size = size;
  std::memcpy(setup, &defaults, std::min<size_t>(size, sizeof defaults));
}

const char* vask_stream_setup_complaint(const vask_stream_setup* setup) {
  return setup != nullptr ? vask::ComplaintAbout(vask::Completed(*setup)) : "there is no setup";
}

}  // extern "C"
