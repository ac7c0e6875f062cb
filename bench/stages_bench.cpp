// The stages of a frame, one by one, over speech. Their inputs are recorded beforehand from a run of the
// noise reduction and of the endpoint detector, so that each stage sees what it sees in the engine.
#include <benchmark/benchmark.h>
#include <vask/vask.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>

#include "benchmarks.h"
#include "dsp/fft.h"
#include "listening/listening.h"
#include "per_frame.h"
#include "signals.h"

namespace vask::bench {
namespace {

constexpr int32_t kWindowLength = 2 * kFrameLength;  // of the endpoint detector
constexpr int32_t kSpectrumBins = 257;
constexpr int32_t kSmoothedBins = 129;
constexpr int32_t kBands = 35;
constexpr int32_t kFftPoints = 512, kFftOrder = 9;
constexpr int32_t kMinLag = 32, kMaxLag = 267;  // samples

const fft_tables& Twiddles() {
  static fft_tables tables;
  if (tables.cc1 == nullptr && !BuildTwiddles(tables, kFftOrder)) {
    throw std::runtime_error("no memory for the twiddle factors");
  }
  return tables;
}

// The noise reduction with its history of four frames.
class NoiseReduction {
 public:
  NoiseReduction() {
    if (init_wiener_filt(&record_) != 1) throw std::runtime_error("no memory for the noise reduction");
    wiener_filt_setting(&record_);
  }
  ~NoiseReduction() { close_wiener_filt(&record_); }
  NoiseReduction(const NoiseReduction&) = delete;
  NoiseReduction& operator=(const NoiseReduction&) = delete;

  void Push(const Frame& frame) {
    std::copy_n(record_.sig_hist + kFrameLength, 3 * kFrameLength, record_.sig_hist);
    std::ranges::copy(frame, record_.sig_hist + 3 * kFrameLength);
    if (++record_.frame_count < 3) return;
    WienerFiltering(&record_, &record_.mel_fb, twiddles_.cc1, twiddles_.ss1, twiddles_.cc3, twiddles_.ss3);
  }

  wiener_filt& record() { return record_; }

 private:
  const fft_tables& twiddles_ = Twiddles();  // built before a frame is counted
  wiener_filt record_{};
};

// The endpoint detector with its output queues, which are emptied as in the engine.
class Detector {
 public:
  Detector() {
    if (init_energy_epd_prm(&record_, kFrameLength) != 1 ||
        init_sin_buff(&samples_, kQueueFrames * kFrameLength) != 1 ||
        init_in64_buff(&spectra_, kQueueFrames * kSpectrumBins) != 1) {
      throw std::runtime_error("no memory for the endpoint detector");
    }
    energy_epd_setting(&record_);
    InitPreEmphFilt(&pre_emphasis_);
  }
  ~Detector() {
    close_energy_epd_prm(&record_);
    close_sin_buff(&samples_);
    close_in64_buff(&spectra_);
  }
  Detector(const Detector&) = delete;
  Detector& operator=(const Detector&) = delete;

  void Push(const Frame& frame) {
    std::copy_n(record_.win_samples + kFrameLength, kFrameLength, record_.win_samples);
    std::copy_n(record_.win_emph + kFrameLength, kFrameLength, record_.win_emph);
    std::ranges::copy(frame, record_.win_samples + kFrameLength);
    PreEmphasis(&pre_emphasis_, frame.data(), record_.win_emph + kFrameLength, kFrameLength);
    if (++record_.engine_frames < 2) return;
    epd_based_on_energy_feature(&record_, &samples_, &spectra_, twiddles_.cc1, twiddles_.ss1, twiddles_.cc3,
                                twiddles_.ss3);
    record_.speech_start_flag = 0;
    if (record_.reset_request == 1 || record_.end_found == 1) {
      record_.reset_request == 1 ? energy_epd_resetting(&record_) : energy_epd_setting(&record_);
      record_.reset_request = record_.end_found = 0;
      sin_buff_setting(&samples_);
      in64_buff_setting(&spectra_);
    }
    Frame drained;
    while (ReadFromSIn_Buff(&samples_, drained.data(), kFrameLength, kFrameLength) == 1) {
    }
  }

  const energy_epd_prm& record() const { return record_; }

 private:
  const fft_tables& twiddles_ = Twiddles();
  static constexpr int32_t kQueueFrames = 88;
  energy_epd_prm record_{};
  sin_buff samples_{};
  in64_buff spectra_{};
  pre_emph_filt pre_emphasis_{};
};

// Removes the DC offset from a frame, in place.
void RemoveOffset(dc_filt& filter, Frame& frame) {
  std::array<int32_t, kFrameLength> wide;
  std::ranges::transform(frame, wide.begin(), [](int32_t sample) { return sample * 32768; });
  DCOffsetFil(wide.data(), &filter, kFrameLength);
  std::ranges::transform(wide, frame.begin(), [](int32_t x) { return static_cast<int16_t>(x >> 15); });
}

// The speech as it reaches the endpoint detector.
const Signal& CleanedSpeech() {
  static const Signal cleaned = [] {
    Signal recorded;
    NoiseReduction reduction;
    dc_filt offset;
    init_dc_filt(&offset);
    for (const Frame& frame : Speech()) {
      reduction.Push(frame);
      if (reduction.record().frame_count < 3) continue;
      std::copy_n(reduction.record().out_frame, kFrameLength, recorded.emplace_back().begin());
      RemoveOffset(offset, recorded.back());
    }
    return recorded;
  }();
  return cleaned;
}

// What the inner stages of the noise reduction get for a frame.
struct NoiseReductionInput {
  std::array<int16_t, 400> window;
  std::array<int64_t, kSmoothedBins> power, mean_power;
  std::array<int64_t, kBands> band_amplitude;
  uint16_t speech;  // the detector's decision
};

const std::vector<NoiseReductionInput>& NoiseReductionInputs() {
  static const std::vector<NoiseReductionInput> inputs = [] {
    std::vector<NoiseReductionInput> recorded;
    NoiseReduction reduction;
    const wiener_filt& record = reduction.record();
    for (const Frame& frame : Speech()) {
      reduction.Push(frame);
      if (record.frame_count < 3) continue;
      NoiseReductionInput& input = recorded.emplace_back();
      std::copy_n(record.sig_hist + record.win_offset, input.window.size(), input.window.begin());
      std::copy_n(record.mel_amp, kBands, input.band_amplitude.begin());
      const auto square = [](int64_t root) { return root * root; };  // the filter leaves the roots there
      std::transform(record.psd_cur, record.psd_cur + kSmoothedBins, input.power.begin(), square);
      std::transform(record.psd_mean, record.psd_mean + kSmoothedBins, input.mean_power.begin(), square);
      input.speech = record.vad.vad_flag;
    }
    return recorded;
  }();
  return inputs;
}

// What the inner stages of the endpoint detector get for a frame.
struct DetectorInput {
  std::array<int16_t, kWindowLength> window;
  std::array<int32_t, kWindowLength> shifted;    // window << 16
  std::array<int32_t, kWindowLength> magnitude;  // of shifted
  std::array<int32_t, kSpectrumBins> power;
};

const std::vector<DetectorInput>& DetectorInputs() {
  static const std::vector<DetectorInput> inputs = [] {
    std::vector<DetectorInput> recorded;
    Detector detector;
    for (const Frame& frame : CleanedSpeech()) {
      detector.Push(frame);
      DetectorInput& input = recorded.emplace_back();
      std::copy_n(detector.record().win_samples, kWindowLength, input.window.begin());
      std::copy_n(detector.record().power_spec, kSpectrumBins, input.power.begin());
      std::ranges::transform(input.window, input.shifted.begin(), [](int32_t s) { return s * 65536; });
      std::ranges::transform(input.shifted, input.magnitude.begin(), epd_abs_s);
    }
    return recorded;
  }();
  return inputs;
}

// ---- noise reduction ----

void WindowAndFft(benchmark::State& state) {
  std::array<int32_t, 400> hanning;
  init_hanning_wind(hanning.data(), 400);
  const fft_tables& t = Twiddles();
  std::array<int64_t, kFftPoints> x;
  PerFrameWithoutAllocation(state, NoiseReductionInputs(), [&](const NoiseReductionInput& input) {
    windowing(input.window.data(), hanning.data(), x.data(), 400, kFftPoints);
    rfft(x.data(), kFftPoints, kFftOrder, t.cc1, t.ss1, t.cc3, t.ss3);
    benchmark::DoNotOptimize(x.data());
  });
}

void WholeNoiseReduction(benchmark::State& state) {
  NoiseReduction reduction;
  PerFrameWithoutAllocation(state, Speech(), [&](const Frame& frame) { reduction.Push(frame); });
}

// Told every second frame, in turns of a second, that somebody speaks and that nobody does.
void WholeListening(benchmark::State& state) {
  Listening listening;
  if (!listening.Open(-15, 1)) throw std::runtime_error("no memory for the listening path");
  int32_t t = 0;
  PerFrameWithoutAllocation(state, Speech(), [&](const Frame& frame) {
    Frame out;
    listening.Filter(frame, out);
    benchmark::DoNotOptimize(out.data());
    if (++t % 2 == 0) listening.LearnNoise(t % 200 < 100 ? 0 : 32767);
  });
  listening.Close();
}

void GainDesign(benchmark::State& state) {
  NoiseReduction owner;
  wiener_filt& record = owner.record();
  PerFrameWithoutAllocation(state, NoiseReductionInputs(), [&](const NoiseReductionInput& input) {
    std::ranges::copy(input.power, record.psd_cur);
    std::ranges::copy(input.mean_power, record.psd_mean);
    ++record.vad.frame_count;
    record.vad.vad_flag = input.speech;
    FilterCalc(record.psd_cur, record.noise, record.den_prev, record.psd_mean, record.gain, &record.vad,
               kSmoothedBins);
  });
}

void SpeechAbsenceDetector(benchmark::State& state) {
  NoiseReduction owner;
  wiener_filt& record = owner.record();
  PerFrameWithoutAllocation(state, NoiseReductionInputs(), [&](const NoiseReductionInput& input) {
    VAD_BasedOnGSAP(&record.vad, &record.spectrum, &record.gsap_data, input.band_amplitude.data(), kBands);
  });
}

// ---- between the two ----

void DcOffsetAndPreEmphasis(benchmark::State& state) {
  dc_filt offset;
  init_dc_filt(&offset);
  pre_emph_filt pre_emphasis;
  InitPreEmphFilt(&pre_emphasis);
  std::array<int32_t, kFrameLength> emphasised;
  PerFrameWithoutAllocation(state, Speech(), [&](const Frame& frame) {
    Frame corrected = frame;
    RemoveOffset(offset, corrected);
    PreEmphasis(&pre_emphasis, corrected.data(), emphasised.data(), kFrameLength);
    benchmark::DoNotOptimize(emphasised.data());
  });
}

// ---- endpoint detector ----

void WholeDetector(benchmark::State& state) {
  Detector detector;
  PerFrameWithoutAllocation(state, CleanedSpeech(), [&](const Frame& frame) { detector.Push(frame); });
}

void FrameEnergy(benchmark::State& state) {
  PerFrameWithoutAllocation(state, DetectorInputs(), [](const DetectorInput& input) {
    benchmark::DoNotOptimize(
        quantized_energy(noise_robust_band_energy_16kHz(input.power.data(), kSpectrumBins), 0, 0, 0));
  });
}

void VoicingFeatures(benchmark::State& state) {
  uv_prm features{};
  PerFrameWithoutAllocation(state, DetectorInputs(), [&](const DetectorInput& input) {
    uv_feat_ext(input.window.data(), kWindowLength, input.power.data(), kSpectrumBins, &features);
  });
}

void Yin(benchmark::State& state) {
  PerFrameWithoutAllocation(state, DetectorInputs(), [](const DetectorInput& input) {
    benchmark::DoNotOptimize(VoicingProEst_YIN(input.shifted.data(), kMinLag, kMaxLag, kWindowLength));
  });
}

void Amdf(benchmark::State& state) {
  PerFrameWithoutAllocation(state, DetectorInputs(), [](const DetectorInput& input) {
    benchmark::DoNotOptimize(AMDF_MinimumEst(input.shifted.data(), kWindowLength, kMinLag, kMaxLag));
  });
}

void Autocorrelation(benchmark::State& state) {
  std::array<int32_t, kMaxLag + 1> r;
  PerFrameWithoutAllocation(state, DetectorInputs(), [&](const DetectorInput& input) {
    NormalizedAutocorrelationEst(input.magnitude.data(), r.data(), kWindowLength, kMinLag, kMaxLag);
    benchmark::DoNotOptimize(r.data());
  });
}

}  // namespace

void RegisterStages() {
  struct Stage {
    const char* name;
    void (*run)(benchmark::State&);
  };
  constexpr Stage kStages[] = {
      {"noise_reduction", WholeNoiseReduction},
      {"noise_reduction/window_and_fft", WindowAndFft},
      {"noise_reduction/speech_absence", SpeechAbsenceDetector},
      {"noise_reduction/gain_design", GainDesign},
      {"listening", WholeListening},
      {"dc_offset_and_pre_emphasis", DcOffsetAndPreEmphasis},
      {"endpoint_detector", WholeDetector},
      {"endpoint_detector/frame_energy", FrameEnergy},
      {"endpoint_detector/voicing_features", VoicingFeatures},
      {"endpoint_detector/voicing_features/yin", Yin},
      {"endpoint_detector/voicing_features/amdf", Amdf},
      {"endpoint_detector/voicing_features/autocorrelation", Autocorrelation},
  };
  for (const Stage& stage : kStages) {
    benchmark::RegisterBenchmark((std::string("stage/") + stage.name).c_str(), stage.run)
        ->Unit(benchmark::kMicrosecond);
  }
}

}  // namespace vask::bench
