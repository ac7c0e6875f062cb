#include "jobs/selftest/stages.h"

#include <vask/adpcm.h>
#include <vask/ecd.h>
#include <vask/engine.h>
#include <vask/frontend.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vask/stream.hpp>
#include <vector>

#include "dsp/float_fft.h"
#include "engine/cleaning.h"
#include "jobs/selftest/scene.h"
#include "library/engine_session.h"
#include "library/extractor.h"
#include "library/transform.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr const char* kNoMemory = "there is no memory";

// The frames of the scene; what follows the last whole one is left out.
template <typename Take>
void ForEachFrame(const Take& take) {
  const std::vector<int16_t> scene = Scene(kRateHz);
  for (size_t at = 0; at + kFrameSamples <= scene.size(); at += kFrameSamples) {
    Frame frame;
    std::copy_n(scene.begin() + static_cast<ptrdiff_t>(at), kFrameSamples, frame.begin());
    take(frame);
  }
}

void IntegerTransform(Digest& digest) {
  std::array<int64_t, kTransformPoints> x = {};
  ForEachFrame([&](const Frame& frame) {
    std::fill(std::copy(frame.begin(), frame.end(), x.begin()), x.end(), 0);
    for (int64_t& value : x) value *= 1 << 10;
    Transform(x);
    digest.AddAll(std::span(x));
  });
}

void FloatTransform(Digest& digest) {
  const auto spectrum = std::make_unique<FloatSpectrum>();
  FloatSamples samples = {};
  ForEachFrame([&](const Frame& frame) {
    std::fill(std::copy(frame.begin(), frame.end(), samples.begin()), samples.end(), 0.0f);
    ForwardFft(samples, *spectrum);
    digest.AddAll(std::span(spectrum->re).first(kSpectrumBins));
    digest.AddAll(std::span(spectrum->im).first(kSpectrumBins));
    InverseFft(*spectrum, samples);
    digest.AddAll(std::span(samples));
  });
}

void Adpcm(Digest& digest) {
  adpcm_state encoder = {}, decoder = {};
  ForEachFrame([&](Frame& frame) {
    std::array<uint8_t, kFrameSamples / 2> codes;
    adpcm_coder(frame.data(), codes.data(), kFrameSamples, &encoder);
    adpcm_decoder(codes.data(), frame.data(), kFrameSamples, &decoder);
    digest.AddAll(std::span(codes));
    digest.AddAll(std::span(frame));
  });
}

void NoiseReduction(Digest& digest) {
  const auto cleaner = std::make_unique<Cleaner>();
  if (!cleaner->Open()) throw FatalError(kNoMemory);
  ForEachFrame([&](const Frame& frame) { digest.AddAll(cleaner->Filter(frame)); });
  cleaner->Close();
}

void Mfcc(Digest& digest) {
  Extractor extractor;
  ForEachFrame([&](const Frame& frame) {
    const bool is_ready = extractor.Feed(frame, true);
    digest.AddAll(std::span<const float>(extractor.LogEnergies()));
    if (is_ready) digest.AddAll(std::span<const float>(extractor.Output(true)));
  });
}

// The engine and the extractor over the same frames, then the verdict.
void EnvironmentCheck(Digest& digest) {
  EngineSession engine({});
  Extractor extractor;
  engine.WrapUp();
  Vask_epd_ecd_reset();
  ForEachFrame([&](const Frame& frame) {
    engine.Feed(frame);
    extractor.Feed(frame, false);
  });
  int32_t first = 0, last = 0, count = 0;
  EnvChangeValue(&first, &last, &count);
  for (const int32_t value : {first, last, count, Vask_epd_ecd()}) digest.Add(value);
  int16_t lowest = 0, highest = 0;
  digest.Add(Vask_epd_ecd_snr(&lowest, &highest));
  digest.Add(lowest);
  digest.Add(highest);
}

// The queue of the front end and, for each utterance that ends, its length. Silence ends the last one.
template <int32_t kMode>
void FrontEnd(Digest& digest) {
  struct Stop {
    ~Stop() { android_stop_frontend(); }
  } stop;
  if (android_init_frontend(".", kMode) != 1) throw FatalError("the front end does not start");
  android_wrapup_frontend();
  android_reset_frontend();
  std::array<int16_t, 1600> out;
  const auto take = [&](int32_t result) {
    digest.Add(result);
    digest.Add(android_get_available_frames());
    if (kMode > 1 && result != 1) return;
    for (int32_t n; (n = android_get_frames(static_cast<int32_t>(out.size()), out.data())) > 0;)
      digest.AddAll(std::span(out).first(static_cast<size_t>(n)));
  };
  ForEachFrame([&](Frame& frame) { take(android_process_frame(kFrameSamples, frame.data())); });
  for (int32_t t = 0; t < 150; ++t) {
    Frame silence = {};
    take(android_process_frame(kFrameSamples, silence.data()));
  }
}

// What a stream measures and delivers, frame by frame.
void StreamOf(const vask_stream_setup& setup, int32_t rate, Digest& digest) {
  Stream stream(setup);
  if (!stream) throw FatalError(kNoMemory);
  std::array<int16_t, 1000> out;
  const auto take = [&] {
    const vask_stream_measures measures = stream.Measures();
    digest.Add(measures.heard);
    for (const float value : {measures.level_db, measures.energy_db, measures.noise_db}) digest.Add(value);
    for (const int32_t value : {measures.speech, measures.voiced, measures.open}) digest.Add(value);
    if (const auto hearing = stream.Hearing()) {
      for (const float value : {hearing->speech, hearing->speech_100ms_ago, hearing->speech_200ms_ago,
                                hearing->utterance, hearing->music, hearing->high_gain})
        digest.Add(value);
    }
    while (stream.Next()) {
    }
    for (auto got = stream.Read(out); !got.empty(); got = stream.Read(out)) digest.AddAll(got);
  };
  const std::vector<int16_t> scene = Scene(rate);
  for (std::span<const int16_t> rest(scene); !rest.empty();) {
    const auto piece = rest.first(std::min(rest.size(), size_t{kFrameSamples}));
    if (stream.Write(piece) != static_cast<int32_t>(piece.size())) throw FatalError(kNoMemory);
    rest = rest.subspan(piece.size());
    take();
  }
  if (stream.Flush() != 0) throw FatalError(kNoMemory);
  take();
}

void Detector(int32_t detector, Digest& digest) {
  StreamSetup setup;
  setup.detector = detector;
  setup.options.audio = VASK_STREAM_NO_AUDIO;
  StreamOf(setup, kRateHz, digest);
}

void Listening(Digest& digest) {
  StreamSetup setup;
  setup.options.mode = VASK_STREAM_CONTINUOUS;
  setup.options.audio = VASK_STREAM_LISTENING;
  StreamOf(setup, kRateHz, digest);
}

// To 16 kHz and back.
void Resampler(int32_t rate, Digest& digest) {
  StreamSetup setup;
  setup.detector = VASK_STREAM_ENERGY;
  setup.options.mode = VASK_STREAM_CONTINUOUS;
  setup.options.audio = VASK_STREAM_RAW;
  setup.input_rate = setup.audio_rate = rate;
  StreamOf(setup, rate, digest);
}

std::vector<Stage> MakeStages() {
  std::vector<Stage> stages = {
      {"integer transform", false, IntegerTransform},
      {"float transform", false, FloatTransform},
      {"ADPCM", false, Adpcm},
      {"noise reduction", false, NoiseReduction},
      {"MFCC", false, Mfcc},
      {"energy detector", false, [](Digest& digest) { Detector(VASK_STREAM_ENERGY, digest); }},
      {"learned detector", true, [](Digest& digest) { Detector(VASK_STREAM_LEARNED, digest); }},
      {"listening", true, Listening},
      {"front end, mode 2", false, FrontEnd<2>},
      {"front end, mode 3", false, FrontEnd<3>},
      {"front end, mode 4", false, FrontEnd<4>},
      {"front end, mode 1", false, FrontEnd<1>},  // last: the next run reports what it rejects
      {"environment check", false, EnvironmentCheck},
  };
  for (const int32_t rate : {8000, 11025, 12000, 22050, 24000, 32000, 44100, 48000}) {
    stages.push_back({"resampler, " + std::to_string(rate) + " Hz", false,
                      [rate](Digest& digest) { Resampler(rate, digest); }});
  }
  return stages;
}

}  // namespace

std::span<const Stage> Stages() {
  static const std::vector<Stage> stages = MakeStages();
  return stages;
}

}  // namespace vask::command
